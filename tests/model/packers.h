// Packers of BC6H and BC7 blocks from their fields: the inverse of the decoders' unpacking.
#pragma once

#include <array>
#include <cstdint>

namespace model {

using PackedBlock = std::array<unsigned char, 16>;

// Every field is stored at its own width: bits above it are dropped.
struct Bc6hFields {
    int mode = 1;       // 1 to 14, the published mode number
    int partition = 0;  // 0 to 31, two-region modes only
    std::array<std::array<std::int64_t, 3>, 4>
        endpoints{};                // as stored, red, green, blue; negative in two's complement
    std::array<int, 16> indices{};  // of an anchor texel the top bit is not stored
};

struct Bc7Fields {
    int mode = 0;                                   // 0 to 7
    int partition = 0;                              // 0 to 15 in mode 0, else 0 to 63
    int rotation = 0;                               // 0 to 3, modes 4 and 5
    int selection = 0;                              // 0 or 1, mode 4
    std::array<std::array<int, 4>, 6> endpoints{};  // as stored, without p-bits: red, green, blue, alpha
    std::array<int, 6> pBits{};                     // one per endpoint, or in mode 1 one per subset
    std::array<int, 16> primary{};                  // of an anchor texel the top bit is not stored
    std::array<int, 16> secondary{};                // modes 4 and 5
};

PackedBlock packBC6H(const Bc6hFields& fields);
// A block with one of the reserved mode fields 0x13, 0x17, 0x1B and 0x1F and all its other bits set to fill.
PackedBlock packReservedBC6H(int modeValue, bool fill);
PackedBlock packBC7(const Bc7Fields& fields);

}  // namespace model
