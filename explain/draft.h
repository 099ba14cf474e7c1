// A file while it is being repaired, and changes that several repair rules make. Private to repairs.cpp and
// recoding.cpp.
#pragma once

#include <cstdint>
#include <string>

#include "explain/repairs.h"

namespace kpx::repairing {

// A file after the changes so far. A change modifies the facts; the verdict follows.
using Draft = Repair;

// Returns the file as it is.
Draft draftOf(const FileFacts& facts);

DDS_HEADER& headerOf(Draft& draft);
// Returns the row of the format that the file names, if it is not decoded, or not rightly, by that name; else null, or
// a row without a remedy.
const Format* formatToRepair(const Draft& draft);

// Writes the number, or 0, which requires nothing, if it is too large for the field.
void setPitchOrLinearSize(DDS_HEADER& header, std::uint64_t bytes);

// Name the pixel format: by a row of masks, whose words are returned, or by a DX10 header after a legacy one.
std::string useMasks(DDS_HEADER& header, const Format& row);
void nameByDxgi(Draft& draft, std::uint32_t dxgi);

// Recodes the pixels. Returns a sentence, or an empty one if that cannot be done.
std::string pixelsRecoded(Draft& draft);

}  // namespace kpx::repairing
