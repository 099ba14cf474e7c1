// The exposures that commands take.
#pragma once

#include <CLI/CLI.hpp>
#include <cmath>
#include <string>

namespace kpx::tool {

// Stops from -64 to 64; "nan", which lies in every range for CLI11, is none.
inline CLI::Validator exposureRange() {
    const CLI::Range range(-64.0, 64.0);
    const auto check = [range](const std::string& text) {
        double value = 0;
        if (CLI::detail::lexical_cast(text, value) && std::isnan(value)) return text + " is no number of stops";
        return range(text);
    };
    return {check, range.get_description()};
}

}  // namespace kpx::tool
