// JSON for standard output, one object per line, by docs/kpximage.schema.json.
#pragma once

#include <exception>
#include <new>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "explain/Explanation.h"
#include "tools/repair/repairFile.h"
#include "tools/terminal/messages.h"

namespace kpx::tool {

using Json = nlohmann::ordered_json;

// Returns JSON in one line that is safe to show on a terminal: valid UTF-8 whatever the file names, no control
// characters.
std::string jsonText(const Json& object);

// Runs the work on a file. Prints an exception as an object and rethrows it.
template <typename Work>
auto withFailureAsJson(Report& report, bool isJson, Work work) {
    const auto print = [&](const char* sentence) {
        if (isJson)
            report.print(jsonText({{"file", report.file()}, {"grade", "unreadable"}, {"error", sentence}}) + "\n");
    };
    try {
        return work();
    } catch (const std::bad_alloc&) {
        print("not enough memory");
        throw;
    } catch (const std::exception& error) {
        print(error.what());
        throw;
    }
}

// Returns the array "findings" of a file.
Json findingsAsJson(const std::vector<Finding>& findings);

// Returns the object of `info --json` and `explain --json`.
Json fileAsJson(const std::string& name, const Explanation& file);

// Returns the object of `repair --json` and `recode --json`. output: empty if there is none.
Json repairAsJson(const std::string& input, const std::string& output, const RepairPlan& plan, bool isDryRun);

}  // namespace kpx::tool
