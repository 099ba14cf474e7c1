// The option table that the host shows to its users, and the two equal functions that export it. The table is writable
// because the host may write through the pointers that it gets.
#include "plugin/options.h"

#include <algorithm>
#include <iterator>

#include "plugin/protocol.h"

namespace {

constexpr std::uint16_t endCode = 0xFFFF;
constexpr std::uint32_t writingFlag = 2;

constexpr CapabilityValue value(std::uint16_t code, int messageNumber, const char* text) {
    return {code, {}, nullptr, kpx::textSet, messageNumber, text};
}
constexpr CapabilityValue endOfValues{endCode, {}, nullptr, 0, 0, nullptr};

CapabilityValue alphaValues[] = {
    value(kpx::outputAlpha, 431, "Output alpha"),
    value(0, 430, "Do not output alpha"),
    endOfValues,
};
CapabilityValueList alphaList = {0, alphaValues};

CapabilityValue compressionValues[] = {
    value(kpx::compressionOff, 426, "Off"),
    value(1, 427, "DXT1"),
    value(3, 428, "DXT3"),
    endOfValues,
};
CapabilityValueList compressionList = {0, compressionValues};

CapabilityEntry table[] = {
    {kpx::alphaOption, {}, nullptr, kpx::textSet, 429, "Alpha", nullptr, &alphaList, writingFlag, 0},
    {kpx::compressionOption, {}, nullptr, kpx::textSet, 425, "Compression", nullptr, &compressionList, writingFlag, 0},
    {endCode, {}, nullptr, 0, 0, nullptr, nullptr, nullptr, 0, 0},
};

constexpr std::size_t rowCount = std::size(table) - 1;

int rowsWithFlag(std::uint32_t flag) {
    int rows = 0;
    for (const CapabilityEntry& row : std::span(table).first(rowCount)) {
        if ((row.flags & 0xFF & flag) != 0) ++rows;
    }
    return rows;
}

}  // namespace

std::span<CapabilityEntry> kpx::optionRows() {
    const auto end = std::find_if(std::begin(table), std::end(table),
                                  [](const CapabilityEntry& row) { return row.catalogSet == 0; });
    return {std::begin(table), end};
}

extern "C" {

void imageCapability(CapabilityEntry** rows, int* flag1Rows, int* flag2Rows, int* countedRows) {
    *rows = table;
    *countedRows = static_cast<int>(rowCount);
    *flag2Rows = rowsWithFlag(2);
    *flag1Rows = rowsWithFlag(1);
}

void KPX_dds_capability(CapabilityEntry** rows, int* flag1Rows, int* flag2Rows, int* countedRows) {
    imageCapability(rows, flag1Rows, flag2Rows, countedRows);
}

}  // extern "C"
