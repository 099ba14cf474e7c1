// Lookup tables of the wide kernels for BC6H: the positions of the endpoint fields, computed at compile time from the
// runs of bits that the plain decoder uses.
#pragma once

#include <algorithm>
#include <cstdint>

#include "blocks/bc6hLayout.h"
#include "blocks/wide/vectors.h"

namespace kpx {

// At most one run of each field. A shuffle picks the two bytes around it, a high multiplication shifts it down to bit
// 0, a mask cuts off the bits above, and a multiplication shifts it to its place.
struct Bc6Pass {
    WideBytes bytes;
    WideWords lower, stored, place;
};

// The words of lane 0 are R, G, B and nothing of endpoints 0 and 1; those of lane 1 are the same of endpoints 2 and 3.
// With one region, lane 1 equals lane 0.
struct Bc6FieldLayout {
    int passes;
    Bc6Pass pass[8];
    WideWords deltaTop;         // the top bit of a field of endpoints 1 to 3
    WideWords isDelta, isBase;  // all ones for the channels of endpoints 1 to 3, of endpoint 0
};

// Returns where a run starts in its two bytes: 1 to 8, since a high multiplication cannot shift by 0.
constexpr int startInWindow(const Bc6Run& run) {
    return run.firstBit % 8 == 0 ? 8 : run.firstBit % 8;
}

// The part of a run inside its two bytes, and the rest, whose count is 0 if there is none.
struct Bc6RunParts {
    Bc6Run first, rest;
};
constexpr Bc6RunParts splitRun(const Bc6Run& run) {
    const auto count = static_cast<std::uint8_t>(std::min(int{run.count}, 16 - startInWindow(run)));
    return {{run.firstBit, count, run.field, run.shift},
            {static_cast<std::uint8_t>(run.firstBit + count), static_cast<std::uint8_t>(run.count - count), run.field,
             static_cast<std::uint8_t>(run.shift + count)}};
}

constexpr void addRun(Bc6FieldLayout& wide, int (&used)[12], const Bc6Run& run, int regions) {
    if (run.count == 0) return;
    const int number = used[run.field]++;
    Bc6Pass& pass = wide.pass[number];
    if (wide.passes <= number) {
        wide.passes = number + 1;
        pass.bytes = noBytes();
    }
    const int start = startInWindow(run);
    const int byte = (run.firstBit - start) / 8;
    for (int word = run.field / 3 * 4 + run.field % 3; word < 16; word += regions == 1 ? 8 : 16) {
        pass.bytes.byte[2 * word] = static_cast<std::uint8_t>(byte);
        pass.bytes.byte[2 * word + 1] = static_cast<std::uint8_t>(byte + 1);
        pass.lower.word[word] = static_cast<std::uint16_t>(1U << (16 - start));
        pass.stored.word[word] = static_cast<std::uint16_t>((1U << run.count) - 1);
        pass.place.word[word] = static_cast<std::uint16_t>(1U << run.shift);
    }
}

constexpr Bc6FieldLayout makeBc6Wide(const Bc6Mode& mode) {
    Bc6FieldLayout wide{};
    int used[12] = {};
    for (const Bc6Run* run = mode.runs; run->count != 0; ++run) {
        const Bc6RunParts parts = splitRun(*run);
        addRun(wide, used, parts.first, mode.regions);
        addRun(wide, used, parts.rest, mode.regions);
    }
    for (int word = 0; word < 16; ++word) {
        const int endpoint = mode.regions == 1 ? word / 4 % 2 : word / 4;
        if (word % 4 == 3) continue;
        if (endpoint != 0) wide.deltaTop.word[word] = static_cast<std::uint16_t>(1U << (mode.deltaBits[word % 4] - 1));
        (endpoint == 0 ? wide.isBase : wide.isDelta).word[word] = 0xFFFF;
    }
    return wide;
}

template <int mode>
inline constexpr Bc6FieldLayout bc6Wide = makeBc6Wide(bc6Modes[mode]);

inline constexpr FieldGather bc6Indices3 = gatherIndices(3);

}  // namespace kpx
