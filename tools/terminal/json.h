// JSON on standard output, one object a line.
#pragma once

#include <exception>
#include <new>
#include <nlohmann/json.hpp>
#include <string>

#include "tools/terminal/turns.h"

namespace kpx::tool {

using Json = nlohmann::ordered_json;

// File names need not be valid UTF-8; JSON has to be.
inline void printJson(const Json& object) {
    print(object.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n");
}

// Runs the work on a file; what it throws is printed as an object before it goes on.
template <typename Work>
auto withFailureAsJson(const std::string& file, Work work) {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        printJson({{"file", file}, {"error", "not enough memory"}});
        throw;
    } catch (const std::exception& error) {
        printJson({{"file", file}, {"error", error.what()}});
        throw;
    }
}

}  // namespace kpx::tool
