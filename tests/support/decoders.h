// The block decoders by name, each with the kernel and the model that must agree.
#pragma once

#include <span>
#include <vector>

#include "blocks/kernels.h"
#include "tests/model/blockModel.h"

namespace testing_support {

using Tile = model::Tile;

struct Decoder {
    const char* name;
    kpx::BlockKernel kernel;
    std::size_t blockBytes, texelBytes;
    Tile (*model)(std::span<const unsigned char> block);
};

// In the order of BlockKernel, without its first value, none.
inline const std::vector<Decoder> decoders = [] {
    std::vector<Decoder> all;
    for (const model::BlockFormat& format : model::blockFormats()) {
        const auto kernel = static_cast<kpx::BlockKernel>(all.size() + 1);
        all.push_back({format.name, kernel, format.blockBytes, format.texelBytes, format.decode});
    }
    return all;
}();

}  // namespace testing_support
