// Mutates DDS files: header fields get plausible values.
#include "fuzz/target.h"

#include <algorithm>
#include <cstring>

#include "dds/ddsFile.h"
#include "dds/formatTable.h"
#include "tests/model/randomBlocks.h"

namespace fuzz {
namespace {

constexpr std::uint32_t interesting[] = {
    0,    1,     2,       3,          4,          5,        7,      8,          15,         16,     24,     32,
    33,   63,    64,      65,         255,        256,      0xFFFF, 0x7FFFFFFF, 0x80000000, 0xFF00, 0xF800, 0x7E0,
    0x1F, 0x3FF, 0xFFC00, 0x3FF00000, 0xC0000000, 0xFF0000, 0xFF,   0x1000,     128,        99,     100};

// Returns a value that is plausible for the header field at an offset.
std::uint32_t fieldValue(model::Random& random, std::size_t offset) {
    const auto any = static_cast<std::uint32_t>(random.next());
    const auto formats = kpx::formatTable();
    const kpx::Format& format = formats[random.next() % formats.size()];
    if (offset == 8) return any & kpx::DDSD_LINEARSIZE;
    if (offset == 80) return any & (random.below(2) == 0 ? 0x7F : 0x2007F);
    if (offset == 84) return random.below(3) == 0 ? kpx::fourCC("DX10") : format.code;
    if (offset == 128) return random.below(4) == 0 ? any % 140 : format.id;
    return random.below(8) == 0 ? any : interesting[random.next() % std::size(interesting)];
}

}  // namespace

std::size_t mutateDds(unsigned char* bytes, std::size_t size, std::size_t most, std::uint64_t seed) {
    model::Random random(seed);
    constexpr std::size_t headerBytes = 148;
    constexpr std::size_t fields[] = {8, 12, 16, 20, 80, 84, 88, 92, 96, 100, 104, 128, 144};
    for (int changes = 1 + random.below(4); changes > 0; --changes) {
        const int kind = random.below(10);
        if (kind < 6 && size >= headerBytes) {
            const std::size_t offset = fields[random.next() % std::size(fields)];
            const std::uint32_t value = fieldValue(random, offset);
            std::memcpy(bytes + offset, &value, sizeof value);
        } else if (kind < 8 && size > 0) {
            bytes[random.next() % size] = static_cast<unsigned char>(random.next());
        } else if (kind == 8 && size > 0) {
            size = random.next() % size + 1;
        } else {
            const std::size_t added = std::min(most - std::min(size, most), static_cast<std::size_t>(random.below(64)));
            for (std::size_t i = 0; i < added; ++i) bytes[size + i] = static_cast<unsigned char>(random.next());
            size += added;
        }
    }
    return std::min(size, most);
}

}  // namespace fuzz
