// A file while it is being mended, and the changes that several mends make. For the files of mends alone.
#pragma once

#include <cstdint>
#include <string>

#include "explain/mends.h"

namespace kpx::mending {

// A file as it stands after the mends so far. Mends change the facts; the verdict follows.
using Draft = Repair;

// The file as it is.
Draft draftOf(const FileFacts& facts);

DDS_HEADER& headerOf(Draft& draft);
// Whether it is the verdict's first refusal or its second.
bool hasCause(const Draft& draft, Refusal refusal);
// The row of the format that the file names, if it is not decoded, or not rightly, by that name; else null, or a row
// without a remedy.
const Format* rowToCure(const Draft& draft);

// The data, which began at dataStart, comes after a header of that length.
void moveData(Draft& draft, std::uint64_t dataStart, std::uint64_t newHeaderBytes);

// 0, which asks for nothing, where the number is too large for its field.
void stateLinearSize(DDS_HEADER& header, std::uint64_t bytes);
// A header of pixel rows states no linear size, but the length of a row.
void stateRows(DDS_HEADER& header, std::uint64_t rowBytes);

// Name the pixel format: by a code alone, by flags and masks, by a row of masks, whose words are returned, or by a DX10
// header that is put behind a legacy one.
void nameByCode(DDS_PIXELFORMAT& format, std::uint32_t code);
void nameByMasks(DDS_PIXELFORMAT& format, std::uint32_t flags, std::uint32_t bits, const Masks& masks);
std::string useMasks(DDS_HEADER& header, const Format& row);
void nameByDxgi(Draft& draft, std::uint32_t dxgi);

}  // namespace kpx::mending
