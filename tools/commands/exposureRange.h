// The exposures that commands take.
#pragma once

#include <CLI/CLI.hpp>
#include <cmath>
#include <string>

namespace kpx::tool {

// Accepts "auto" and stops from -64 to 64.
inline CLI::Validator exposureRange() {
    const auto check = [](const std::string& text) -> std::string {
        double stops = 0;
        const bool isNumber = CLI::detail::lexical_cast(text, stops) && std::abs(stops) <= 64.0;
        return text == "auto" || isNumber ? "" : text + " is not \"auto\" or a number from -64 to 64, such as 1.5";
    };
    return {check, "auto or -64 to 64"};
}

}  // namespace kpx::tool
