// The published positions of the endpoint bits of every BC6H mode, as runs of bits that belong to one field.
#pragma once

#include <cstdint>

namespace kpx {

// The twelve endpoint fields, endpoint by endpoint (the published w, x, y, z), as indices of an array [4][3].
enum Bc6Field : std::uint8_t { E0R, E0G, E0B, E1R, E1G, E1B, E2R, E2G, E2B, E3R, E3G, E3B };

// Block bits firstBit to firstBit + count - 1 are the bits from shift upwards of a field, lowest first.
struct Bc6Run {
    std::uint8_t firstBit, count, field, shift;
};

// A mode's parameters and runs; the runs end with one whose count is 0.
struct Bc6Mode {
    std::uint8_t number;        // 1 to 14, as published
    std::uint8_t regions;       // 1 or 2
    bool transformed;           // endpoints 1 to 3 are differences from endpoint 0
    std::uint8_t precision;     // bits of a whole endpoint channel
    std::uint8_t deltaBits[3];  // bits of a stored channel of endpoints 1 to 3: R, G, B
    Bc6Run runs[28];
};

// clang-format off
inline constexpr Bc6Mode bc6Modes[14] = {
    {1, 2, true, 10, {5, 5, 5},
     {{2, 1, E2G, 4}, {3, 1, E2B, 4}, {4, 1, E3B, 4}, {5, 10, E0R, 0}, {15, 10, E0G, 0}, {25, 10, E0B, 0},
      {35, 5, E1R, 0}, {40, 1, E3G, 4}, {41, 4, E2G, 0}, {45, 5, E1G, 0}, {50, 1, E3B, 0}, {51, 4, E3G, 0},
      {55, 5, E1B, 0}, {60, 1, E3B, 1}, {61, 4, E2B, 0}, {65, 5, E2R, 0}, {70, 1, E3B, 2}, {71, 5, E3R, 0},
      {76, 1, E3B, 3}}},
    {2, 2, true, 7, {6, 6, 6},
     {{2, 1, E2G, 5}, {3, 1, E3G, 4}, {4, 1, E3G, 5}, {5, 7, E0R, 0}, {12, 1, E3B, 0}, {13, 1, E3B, 1},
      {14, 1, E2B, 4}, {15, 7, E0G, 0}, {22, 1, E2B, 5}, {23, 1, E3B, 2}, {24, 1, E2G, 4}, {25, 7, E0B, 0},
      {32, 1, E3B, 3}, {33, 1, E3B, 5}, {34, 1, E3B, 4}, {35, 6, E1R, 0}, {41, 4, E2G, 0}, {45, 6, E1G, 0},
      {51, 4, E3G, 0}, {55, 6, E1B, 0}, {61, 4, E2B, 0}, {65, 6, E2R, 0}, {71, 6, E3R, 0}}},
    {3, 2, true, 11, {5, 4, 4},
     {{5, 10, E0R, 0}, {15, 10, E0G, 0}, {25, 10, E0B, 0}, {35, 5, E1R, 0}, {40, 1, E0R, 10}, {41, 4, E2G, 0},
      {45, 4, E1G, 0}, {49, 1, E0G, 10}, {50, 1, E3B, 0}, {51, 4, E3G, 0}, {55, 4, E1B, 0}, {59, 1, E0B, 10},
      {60, 1, E3B, 1}, {61, 4, E2B, 0}, {65, 5, E2R, 0}, {70, 1, E3B, 2}, {71, 5, E3R, 0}, {76, 1, E3B, 3}}},
    {4, 2, true, 11, {4, 5, 4},
     {{5, 10, E0R, 0}, {15, 10, E0G, 0}, {25, 10, E0B, 0}, {35, 4, E1R, 0}, {39, 1, E0R, 10}, {40, 1, E3G, 4},
      {41, 4, E2G, 0}, {45, 5, E1G, 0}, {50, 1, E0G, 10}, {51, 4, E3G, 0}, {55, 4, E1B, 0}, {59, 1, E0B, 10},
      {60, 1, E3B, 1}, {61, 4, E2B, 0}, {65, 4, E2R, 0}, {69, 1, E3B, 0}, {70, 1, E3B, 2}, {71, 4, E3R, 0},
      {75, 1, E2G, 4}, {76, 1, E3B, 3}}},
    {5, 2, true, 11, {4, 4, 5},
     {{5, 10, E0R, 0}, {15, 10, E0G, 0}, {25, 10, E0B, 0}, {35, 4, E1R, 0}, {39, 1, E0R, 10}, {40, 1, E2B, 4},
      {41, 4, E2G, 0}, {45, 4, E1G, 0}, {49, 1, E0G, 10}, {50, 1, E3B, 0}, {51, 4, E3G, 0}, {55, 5, E1B, 0},
      {60, 1, E0B, 10}, {61, 4, E2B, 0}, {65, 4, E2R, 0}, {69, 1, E3B, 1}, {70, 1, E3B, 2}, {71, 4, E3R, 0},
      {75, 1, E3B, 4}, {76, 1, E3B, 3}}},
    {6, 2, true, 9, {5, 5, 5},
     {{5, 9, E0R, 0}, {14, 1, E2B, 4}, {15, 9, E0G, 0}, {24, 1, E2G, 4}, {25, 9, E0B, 0}, {34, 1, E3B, 4},
      {35, 5, E1R, 0}, {40, 1, E3G, 4}, {41, 4, E2G, 0}, {45, 5, E1G, 0}, {50, 1, E3B, 0}, {51, 4, E3G, 0},
      {55, 5, E1B, 0}, {60, 1, E3B, 1}, {61, 4, E2B, 0}, {65, 5, E2R, 0}, {70, 1, E3B, 2}, {71, 5, E3R, 0},
      {76, 1, E3B, 3}}},
    {7, 2, true, 8, {6, 5, 5},
     {{5, 8, E0R, 0}, {13, 1, E3G, 4}, {14, 1, E2B, 4}, {15, 8, E0G, 0}, {23, 1, E3B, 2}, {24, 1, E2G, 4},
      {25, 8, E0B, 0}, {33, 1, E3B, 3}, {34, 1, E3B, 4}, {35, 6, E1R, 0}, {41, 4, E2G, 0}, {45, 5, E1G, 0},
      {50, 1, E3B, 0}, {51, 4, E3G, 0}, {55, 5, E1B, 0}, {60, 1, E3B, 1}, {61, 4, E2B, 0}, {65, 6, E2R, 0},
      {71, 6, E3R, 0}}},
    {8, 2, true, 8, {5, 6, 5},
     {{5, 8, E0R, 0}, {13, 1, E3B, 0}, {14, 1, E2B, 4}, {15, 8, E0G, 0}, {23, 1, E2G, 5}, {24, 1, E2G, 4},
      {25, 8, E0B, 0}, {33, 1, E3G, 5}, {34, 1, E3B, 4}, {35, 5, E1R, 0}, {40, 1, E3G, 4}, {41, 4, E2G, 0},
      {45, 6, E1G, 0}, {51, 4, E3G, 0}, {55, 5, E1B, 0}, {60, 1, E3B, 1}, {61, 4, E2B, 0}, {65, 5, E2R, 0},
      {70, 1, E3B, 2}, {71, 5, E3R, 0}, {76, 1, E3B, 3}}},
    {9, 2, true, 8, {5, 5, 6},
     {{5, 8, E0R, 0}, {13, 1, E3B, 1}, {14, 1, E2B, 4}, {15, 8, E0G, 0}, {23, 1, E2B, 5}, {24, 1, E2G, 4},
      {25, 8, E0B, 0}, {33, 1, E3B, 5}, {34, 1, E3B, 4}, {35, 5, E1R, 0}, {40, 1, E3G, 4}, {41, 4, E2G, 0},
      {45, 5, E1G, 0}, {50, 1, E3B, 0}, {51, 4, E3G, 0}, {55, 6, E1B, 0}, {61, 4, E2B, 0}, {65, 5, E2R, 0},
      {70, 1, E3B, 2}, {71, 5, E3R, 0}, {76, 1, E3B, 3}}},
    {10, 2, false, 6, {6, 6, 6},
     {{5, 6, E0R, 0}, {11, 1, E3G, 4}, {12, 1, E3B, 0}, {13, 1, E3B, 1}, {14, 1, E2B, 4}, {15, 6, E0G, 0},
      {21, 1, E2G, 5}, {22, 1, E2B, 5}, {23, 1, E3B, 2}, {24, 1, E2G, 4}, {25, 6, E0B, 0}, {31, 1, E3G, 5},
      {32, 1, E3B, 3}, {33, 1, E3B, 5}, {34, 1, E3B, 4}, {35, 6, E1R, 0}, {41, 4, E2G, 0}, {45, 6, E1G, 0},
      {51, 4, E3G, 0}, {55, 6, E1B, 0}, {61, 4, E2B, 0}, {65, 6, E2R, 0}, {71, 6, E3R, 0}}},
    {11, 1, false, 10, {10, 10, 10},
     {{5, 10, E0R, 0}, {15, 10, E0G, 0}, {25, 10, E0B, 0}, {35, 10, E1R, 0}, {45, 10, E1G, 0}, {55, 10, E1B, 0}}},
    {12, 1, true, 11, {9, 9, 9},
     {{5, 10, E0R, 0}, {15, 10, E0G, 0}, {25, 10, E0B, 0}, {35, 9, E1R, 0}, {44, 1, E0R, 10}, {45, 9, E1G, 0},
      {54, 1, E0G, 10}, {55, 9, E1B, 0}, {64, 1, E0B, 10}}},
    {13, 1, true, 12, {8, 8, 8},
     {{5, 10, E0R, 0}, {15, 10, E0G, 0}, {25, 10, E0B, 0}, {35, 8, E1R, 0}, {43, 1, E0R, 11}, {44, 1, E0R, 10},
      {45, 8, E1G, 0}, {53, 1, E0G, 11}, {54, 1, E0G, 10}, {55, 8, E1B, 0}, {63, 1, E0B, 11}, {64, 1, E0B, 10}}},
    {14, 1, true, 16, {4, 4, 4},
     {{5, 10, E0R, 0}, {15, 10, E0G, 0}, {25, 10, E0B, 0}, {35, 4, E1R, 0}, {39, 1, E0R, 15}, {40, 1, E0R, 14},
      {41, 1, E0R, 13}, {42, 1, E0R, 12}, {43, 1, E0R, 11}, {44, 1, E0R, 10}, {45, 4, E1G, 0}, {49, 1, E0G, 15},
      {50, 1, E0G, 14}, {51, 1, E0G, 13}, {52, 1, E0G, 12}, {53, 1, E0G, 11}, {54, 1, E0G, 10}, {55, 4, E1B, 0},
      {59, 1, E0B, 15}, {60, 1, E0B, 14}, {61, 1, E0B, 13}, {62, 1, E0B, 12}, {63, 1, E0B, 11}, {64, 1, E0B, 10}}},
};
// clang-format on

// Returns whether every mode uses all its endpoint bits, in order and once: 77 for two regions, 65 for one.
consteval bool bc6RunsAreWhole() {
    for (const Bc6Mode& mode : bc6Modes) {
        int bit = mode.number <= 2 ? 2 : 5;
        for (const Bc6Run* run = mode.runs; run->count != 0; ++run) {
            if (run->firstBit != bit) return false;
            bit += run->count;
        }
        if (bit != (mode.regions == 2 ? 77 : 65)) return false;
    }
    return true;
}
static_assert(bc6RunsAreWhole());

}  // namespace kpx
