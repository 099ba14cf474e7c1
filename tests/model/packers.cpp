#include "tests/model/packers.h"

#include "tests/model/blockModel.h"
#include "tests/model/publishedTables.h"

namespace model {

namespace {

std::size_t at(int index) {
    return static_cast<std::size_t>(index);
}

// Sets the bits of a block one at a time, in the order in which BitReader takes them.
class BitWriter {
public:
    void put(std::int64_t value, int count) {
        for (int i = 0; i < count; ++i, ++m_position) {
            const auto bit = static_cast<unsigned char>((value >> i & 1) << (m_position % 8));
            m_block[at(m_position / 8)] |= bit;
        }
    }

    int position() const { return m_position; }
    const PackedBlock& block() const { return m_block; }

private:
    PackedBlock m_block{};
    int m_position = 0;
};

void putIndices(BitWriter& bits, const std::array<int, 16>& indices, int subsets, int partition, int indexBits) {
    for (int t = 0; t < 16; ++t) bits.put(indices[at(t)], isAnchor(subsets, partition, t) ? indexBits - 1 : indexBits);
}

}  // namespace

PackedBlock packBC6H(const Bc6hFields& fields) {
    const Bc6hMode& mode = bc6hModes.at(at(fields.mode - 1));
    BitWriter bits;
    bits.put(mode.value, mode.modeBits);
    for (const Bc6hField& field : mode.fields)
        bits.put(fields.endpoints[at(field.endpoint)][at(field.channel)] >> field.low, field.high - field.low + 1);
    const bool isTwoRegion = mode.regions == 2;
    if (isTwoRegion) bits.put(fields.partition, 5);
    putIndices(bits, fields.indices, mode.regions, isTwoRegion ? fields.partition : 0, isTwoRegion ? 3 : 4);
    return bits.block();
}

PackedBlock packReservedBC6H(int modeValue, bool fill) {
    BitWriter bits;
    bits.put(modeValue, 5);
    while (bits.position() < 128) bits.put(fill ? 1 : 0, 1);
    return bits.block();
}

PackedBlock packBC7(const Bc7Fields& fields) {
    const Bc7Mode& mode = bc7Modes.at(at(fields.mode));
    BitWriter bits;
    bits.put(std::int64_t{1} << fields.mode, fields.mode + 1);
    bits.put(fields.partition, mode.partitionBits);
    bits.put(fields.rotation, mode.rotationBits);
    bits.put(fields.selection, mode.selectionBits);
    for (int c = 0; c < 4; ++c)
        for (int e = 0; e < 2 * mode.subsets; ++e)
            bits.put(fields.endpoints[at(e)][at(c)], c < 3 ? mode.colourBits : mode.alphaBits);
    for (int p = 0; p < mode.pBits; ++p) bits.put(fields.pBits[at(p)], 1);
    const int partition = mode.subsets == 1 ? 0 : fields.partition;
    putIndices(bits, fields.primary, mode.subsets, partition, mode.primaryBits);
    if (mode.secondaryBits != 0) putIndices(bits, fields.secondary, 1, 0, mode.secondaryBits);
    return bits.block();
}

}  // namespace model
