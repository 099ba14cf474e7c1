// Encodes BC7, each tile as the best block of all eight modes of the published format, with a few partitions each.
#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <optional>
#include <span>

#include "examples/encoders/encoders.h"
#include "examples/encoders/tiles.h"

namespace kpx::example {
namespace {

enum class PBits { none, unique, shared };

struct Mode {
    int subsets, partitionBits, rotationBits, selectionBits, colourBits, alphaBits;
    PBits pBits;
    int primaryBits, secondaryBits;  // of indices

    bool hasOwnAlphaIndices() const { return secondaryBits != 0; }
    int precision(std::size_t channel) const {
        return (channel == 3 ? alphaBits : colourBits) + (pBits == PBits::none ? 0 : 1);
    }
};

constexpr Mode modes[] = {
    {3, 4, 0, 0, 4, 0, PBits::unique, 3, 0}, {2, 6, 0, 0, 6, 0, PBits::shared, 3, 0},
    {3, 6, 0, 0, 5, 0, PBits::none, 2, 0},   {2, 6, 0, 0, 7, 0, PBits::unique, 2, 0},
    {1, 0, 2, 1, 5, 6, PBits::none, 2, 3},   {1, 0, 2, 0, 7, 8, PBits::none, 2, 2},
    {1, 0, 0, 0, 7, 7, PBits::unique, 4, 0}, {2, 6, 0, 0, 5, 5, PBits::unique, 2, 0},
};

// Some of the published partitions, with the texels of each subset and its anchor, whose index has one bit less.
struct Partition {
    int subsets, number;
    TexelSet texels[3];
    std::size_t anchors[3];
};

constexpr Partition partitions[] = {
    {1, 0, {allTexels}, {0}},
    {2, 0, {0x3333, 0xCCCC}, {0, 15}},             // left and right
    {2, 13, {0x00FF, 0xFF00}, {0, 15}},            // top and bottom
    {3, 0, {0x0133, 0x08CC, 0xF600}, {0, 3, 15}},  // two halves, and the corner below them
};

using Point = std::array<double, 4>;  // red, green, blue, alpha, 0 to 255
using Ends = std::array<std::array<int, 4>, 2>;

// The encoded texels of a subset, in some channels.
struct Fit {
    Ends stored{};
    std::array<int, 2> pBits{};
    std::array<int, 16> indices{};
    double error = 0.0;
};

// Widens a value to 8 bits by the published formula.
int widened(int value, int bits) {
    return bits == 8 ? value : value << (8 - bits) | value >> (2 * bits - 8);
}

// Quantises an endpoint with a p-bit (0 if the mode has none), and returns its distance from the point when decoded.
double quantise(const Mode& mode, const Point& point, int pBit, std::size_t first, std::size_t last,
                std::array<int, 4>& stored, Point& decoded) {
    const int shift = mode.pBits == PBits::none ? 0 : 1;
    for (std::size_t c = first; c < last; ++c) {
        const int bits = mode.precision(c);
        const double exact = point[c] * ((1 << bits) - 1) / 255.0;
        const int largest = (1 << (bits - shift)) - 1;
        stored[c] = std::clamp(static_cast<int>(std::lround((exact - pBit) / (1 << shift))), 0, largest);
        decoded[c] = widened(stored[c] << shift | pBit, bits);
    }
    return squaredDistance(point, decoded, first, last);
}

// Quantises both endpoints, with the p-bits that bring them closest.
std::array<Point, 2> quantiseEnds(const Mode& mode, const std::array<Point, 2>& ends, std::size_t first,
                                  std::size_t last, Fit& fit) {
    const int combinations = mode.pBits == PBits::none ? 1 : 4;
    std::array<Point, 2> best{};
    double bestError = std::numeric_limits<double>::infinity();
    for (int combination = 0; combination < combinations; ++combination) {
        const std::array<int, 2> pBits{combination & 1, combination >> 1};
        if (mode.pBits == PBits::shared && pBits[0] != pBits[1]) continue;
        Ends stored{};
        std::array<Point, 2> decoded{};
        double error = 0.0;
        for (std::size_t e = 0; e < 2; ++e) {
            error += quantise(mode, ends[e], pBits[e], first, last, stored[e], decoded[e]);
        }
        if (error >= bestError) continue;
        bestError = error;
        best = decoded;
        fit.stored = stored;
        fit.pBits = pBits;
    }
    return best;
}

// Encodes channels first to last - 1 of a subset's texels.
Fit fitSubset(const Mode& mode, const Points<4>& colours, TexelSet set, std::size_t anchor, std::size_t first,
              std::size_t last, int indexBits) {
    Fit fit;
    const auto [one, other] = farthestPair(colours, set, first, last);
    const std::array<Point, 2> ends = quantiseEnds(mode, {colours[one], colours[other]}, first, last, fit);
    for (std::size_t t = 0; t < colours.size(); ++t) {
        if (!contains(set, t)) continue;
        double least = std::numeric_limits<double>::infinity();
        for (int i = 0; i < 1 << indexBits; ++i) {
            Point value{};
            for (std::size_t c = first; c < last; ++c) {
                value[c] = interpolate(static_cast<int>(ends[0][c]), static_cast<int>(ends[1][c]), i, indexBits);
            }
            const double error = squaredDistance(colours[t], value, first, last);
            if (error >= least) continue;
            least = error;
            fit.indices[t] = i;
        }
        fit.error += least;
    }
    const int largest = (1 << indexBits) - 1;
    if (fit.indices[anchor] > largest / 2) {
        std::swap(fit.stored[0], fit.stored[1]);
        std::swap(fit.pBits[0], fit.pBits[1]);
        for (std::size_t t = 0; t < colours.size(); ++t) {
            if (contains(set, t)) fit.indices[t] = largest - fit.indices[t];
        }
    }
    return fit;
}

struct Candidate {
    std::size_t mode;
    const Partition* partition;
    int rotation, selection;
    std::array<Fit, 3> colour;  // one per subset; with alpha if that has no indices of its own
    Fit alpha;
    double error;
};

Candidate fitCandidate(const Points<4>& tile, std::size_t modeNumber, const Partition& partition, int rotation,
                       int selection) {
    const Mode& mode = modes[modeNumber];
    Candidate candidate{modeNumber, &partition, rotation, selection, {}, {}, 0.0};
    Points<4> colours = tile;
    if (rotation != 0) {
        for (Point& colour : colours) std::swap(colour[3], colour[static_cast<std::size_t>(rotation) - 1]);
    }
    const bool coloursOnly = mode.alphaBits == 0 || mode.hasOwnAlphaIndices();
    const int colourIndexBits = selection == 0 ? mode.primaryBits : mode.secondaryBits;
    for (std::size_t s = 0; s < static_cast<std::size_t>(mode.subsets); ++s) {
        candidate.colour[s] = fitSubset(mode, colours, partition.texels[s], partition.anchors[s], 0,
                                        coloursOnly ? 3 : 4, colourIndexBits);
        candidate.error += candidate.colour[s].error;
    }
    if (mode.hasOwnAlphaIndices()) {
        const int alphaIndexBits = selection == 0 ? mode.secondaryBits : mode.primaryBits;
        candidate.alpha = fitSubset(mode, colours, allTexels, 0, 3, 4, alphaIndexBits);
        candidate.error += candidate.alpha.error;
    } else if (mode.alphaBits == 0) {
        for (const Point& colour : colours) candidate.error += (255.0 - colour[3]) * (255.0 - colour[3]);
    }
    return candidate;
}

void writeEnds(BitWriter& writer, const Candidate& candidate) {
    const Mode& mode = modes[candidate.mode];
    const auto subsets = static_cast<std::size_t>(mode.subsets);
    for (std::size_t c = 0; c < 4; ++c) {
        const int bits = c == 3 ? mode.alphaBits : mode.colourBits;
        for (std::size_t s = 0; s < subsets; ++s) {
            const Fit& fit = c == 3 && mode.hasOwnAlphaIndices() ? candidate.alpha : candidate.colour[s];
            for (const auto& end : fit.stored) writer.putInt(end[c], bits);
        }
    }
    for (std::size_t s = 0; s < subsets && mode.pBits != PBits::none; ++s) {
        const Fit& fit = candidate.colour[s];
        writer.putInt(fit.pBits[0], 1);
        if (mode.pBits == PBits::unique) writer.putInt(fit.pBits[1], 1);
    }
}

void writeIndices(BitWriter& writer, const Partition& partition, std::span<const Fit> fits, int bits) {
    for (std::size_t t = 0; t < 16; ++t) {
        std::size_t s = 0;
        while (fits.size() > 1 && !contains(partition.texels[s], t)) ++s;
        writer.putInt(fits[s].indices[t], t == partition.anchors[s] ? bits - 1 : bits);
    }
}

void write(Bytes& bytes, const Candidate& candidate) {
    const Mode& mode = modes[candidate.mode];
    BitWriter writer;
    writer.put(1U << candidate.mode, static_cast<int>(candidate.mode) + 1);
    writer.putInt(candidate.partition->number, mode.partitionBits);
    writer.putInt(candidate.rotation, mode.rotationBits);
    writer.putInt(candidate.selection, mode.selectionBits);
    writeEnds(writer, candidate);
    const std::span<const Fit> colour(candidate.colour.data(), static_cast<std::size_t>(mode.subsets));
    const std::span<const Fit> alpha(&candidate.alpha, 1);
    const bool isSwapped = candidate.selection != 0;
    writeIndices(writer, *candidate.partition, isSwapped ? alpha : colour, mode.primaryBits);
    if (mode.hasOwnAlphaIndices()) {
        writeIndices(writer, *candidate.partition, isSwapped ? colour : alpha, mode.secondaryBits);
    }
    bytes.insert(bytes.end(), writer.block().begin(), writer.block().end());
}

void encodeTile(Bytes& bytes, const Tile& tile) {
    Points<4> colours{};
    for (std::size_t t = 0; t < tile.size(); ++t) {
        for (std::size_t c = 0; c < 4; ++c) colours[t][c] = unorm(tile[t][c], 255);
    }
    std::optional<Candidate> best;
    for (std::size_t m = 0; m < std::size(modes); ++m) {
        for (const Partition& partition : partitions) {
            if (partition.subsets != modes[m].subsets) continue;
            for (int rotation = 0; rotation < 1 << modes[m].rotationBits; ++rotation) {
                for (int selection = 0; selection < 1 << modes[m].selectionBits; ++selection) {
                    const Candidate candidate = fitCandidate(colours, m, partition, rotation, selection);
                    if (!best || candidate.error < best->error) best = candidate;
                }
            }
        }
    }
    write(bytes, *best);
}

}  // namespace

Bytes bc7(const Picture& picture, const Naming& /*naming*/) {
    return encodeTiles(picture, encodeTile);
}

}  // namespace kpx::example
