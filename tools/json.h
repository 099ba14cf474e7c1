// JSON on standard output, one object a line.
#pragma once

#include <iostream>
#include <nlohmann/json.hpp>

namespace kpx::tool {

using Json = nlohmann::ordered_json;

// File names need not be valid UTF-8; JSON has to be.
inline void printJson(const Json& object) {
    std::cout << object.dump(-1, ' ', false, Json::error_handler_t::replace) << "\n";
}

}  // namespace kpx::tool
