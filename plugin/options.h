// The options of writing.
#pragma once

#include <cstdint>
#include <span>

#include "host/kpxbase.h"

namespace kpx {

inline constexpr std::uint16_t alphaOption = 0;
inline constexpr std::uint16_t compressionOption = 1;
inline constexpr std::uint8_t outputAlpha = 1;
inline constexpr std::uint8_t compressionOff = 0;

// The rows of the option table as the host may have changed them, up to the first without a catalogue set.
std::span<CapabilityEntry> optionRows();

}  // namespace kpx
