// The options for writing.
#pragma once

#include <cstdint>
#include <span>

#include "host/kpxbase.h"

namespace kpx {

inline constexpr std::uint16_t alphaOption = 0;
inline constexpr std::uint16_t compressionOption = 1;
inline constexpr std::uint8_t outputAlpha = 1;
inline constexpr std::uint8_t compressionOff = 0;

// Returns the rows of the option table, which the host may have changed, up to the first without a catalogue set.
std::span<CapabilityEntry> optionRows();

}  // namespace kpx
