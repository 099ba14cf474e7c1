// The tables of the model, including the published ones of BC6H and BC7, read from the data files beside this one.
#pragma once

#include <array>
#include <sstream>
#include <string>
#include <vector>

namespace model {

// Returns the rows of a table. Columns are separated by tabs; lines that start with # are comments. The path is
// relative to the root of the project.
std::vector<std::istringstream> rowsOf(const std::string& path);

struct Partition {
    std::array<int, 16> subsets;    // of each texel
    std::array<bool, 16> isAnchor;  // of such a texel the index has one bit less
};
// Returns a partition. With 1 subset, all numbers name the same one.
const Partition& partitionOf(int subsets, int number);

// The next high - low + 1 bits of a BC6H block are bits low to high of one endpoint channel, lowest first.
struct Bc6hField {
    std::size_t endpoint;  // 0 to 3, the published w, x, y, z
    std::size_t channel;   // 0 red, 1 green, 2 blue
    int high, low;
};

struct Bc6hMode {
    int value;     // the mode field
    int modeBits;  // its width, 2 or 5
    int regions;   // 1 or 2
    bool transformed;
    int precision;                  // bits of an endpoint channel
    std::array<int, 3> deltaBits;   // stored bits of endpoints 1 to 3 in red, green and blue
    std::vector<Bc6hField> fields;  // in stream order after the mode field
};
const std::vector<Bc6hMode>& bc6hModes();

struct Bc7Mode {
    int subsets;
    int partitionBits, rotationBits, selectionBits;
    int colourBits, alphaBits;
    int pBits;  // how many are stored: one per endpoint, or in mode 1 one per subset
    int primaryBits, secondaryBits;
};
const std::vector<Bc7Mode>& bc7Modes();

}  // namespace model
