// The decoders of blocks by name, each with the kernel and the model that must do the same.
#pragma once

#include <cstring>
#include <span>
#include <vector>

#include "blocks/kernels.h"
#include "tests/model/blockModel.h"

namespace testing_support {

using Tile = std::vector<unsigned char>;  // 16 texels, row by row

template <typename Texels>
Tile bytesOf(const Texels& texels) {
    Tile tile(sizeof texels);
    std::memcpy(tile.data(), texels.data(), sizeof texels);
    return tile;
}

struct Decoder {
    const char* name;
    kpx::BlockKernel kernel;
    std::size_t blockBytes, texelBytes;
    Tile (*model)(std::span<const unsigned char> block);
};

using AnyBlock = std::span<const unsigned char>;

inline const Decoder decoders[] = {
    {"bc1", kpx::BlockKernel::bc1, 8, 4, [](AnyBlock b) { return bytesOf(model::decodeBC1(b.first<8>(), true)); }},
    {"bc2", kpx::BlockKernel::bc2, 16, 4, [](AnyBlock b) { return bytesOf(model::decodeBC2(b.first<16>(), false)); }},
    {"bc2Premultiplied", kpx::BlockKernel::bc2Premultiplied, 16, 4,
     [](AnyBlock b) { return bytesOf(model::decodeBC2(b.first<16>(), true)); }},
    {"bc3", kpx::BlockKernel::bc3, 16, 4, [](AnyBlock b) { return bytesOf(model::decodeBC3(b.first<16>(), false)); }},
    {"bc3Premultiplied", kpx::BlockKernel::bc3Premultiplied, 16, 4,
     [](AnyBlock b) { return bytesOf(model::decodeBC3(b.first<16>(), true)); }},
    {"bc4Unsigned", kpx::BlockKernel::bc4Unsigned, 8, 4,
     [](AnyBlock b) { return bytesOf(model::decodeBC4(b.first<8>(), false)); }},
    {"bc4Signed", kpx::BlockKernel::bc4Signed, 8, 4,
     [](AnyBlock b) { return bytesOf(model::decodeBC4(b.first<8>(), true)); }},
    {"bc5Unsigned", kpx::BlockKernel::bc5Unsigned, 16, 4,
     [](AnyBlock b) { return bytesOf(model::decodeBC5(b.first<16>(), false)); }},
    {"bc5Signed", kpx::BlockKernel::bc5Signed, 16, 4,
     [](AnyBlock b) { return bytesOf(model::decodeBC5(b.first<16>(), true)); }},
    {"bc6hUnsigned", kpx::BlockKernel::bc6hUnsigned, 16, 16,
     [](AnyBlock b) { return bytesOf(model::decodeBC6H(b.first<16>(), false)); }},
    {"bc6hSigned", kpx::BlockKernel::bc6hSigned, 16, 16,
     [](AnyBlock b) { return bytesOf(model::decodeBC6H(b.first<16>(), true)); }},
    {"bc7", kpx::BlockKernel::bc7, 16, 4, [](AnyBlock b) { return bytesOf(model::decodeBC7(b.first<16>())); }},
};

inline const Decoder& decoderOf(kpx::BlockKernel kernel) {
    return decoders[static_cast<std::size_t>(kernel) - 1];  // in the order of the kernels, of which the first is none
}

}  // namespace testing_support
