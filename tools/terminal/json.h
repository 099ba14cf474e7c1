// JSON on standard output, one object a line.
#pragma once

#include <exception>
#include <new>
#include <nlohmann/json.hpp>
#include <string>

#include "tools/terminal/characters.h"
#include "tools/terminal/turns.h"

namespace kpx::tool {

using Json = nlohmann::ordered_json;

// Returns JSON in one line, in valid UTF-8 whatever file names hold, and safe to show on a terminal.
inline std::string jsonText(const Json& object) {
    std::string line;
    forEachCharacter(
        object.dump(-1, ' ', false, Json::error_handler_t::replace), [&](std::string_view character, char32_t code) {
            constexpr const char* digits = "0123456789abcdef";
            if (!isUnsafe(code)) return static_cast<void>(line.append(character));
            line += {'\\', 'u', digits[code >> 12], digits[code >> 8 & 15], digits[code >> 4 & 15], digits[code & 15]};
        });
    return line;
}

inline void printJson(const Json& object) {
    print(jsonText(object) + "\n");
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
