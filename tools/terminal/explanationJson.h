// What is said of a file as JSON, by docs/kpximage.schema.json.
#pragma once

#include <string>
#include <vector>

#include "explain/Explanation.h"
#include "tools/terminal/json.h"

namespace kpx::tool {

// An array of ids and sentences.
Json remarksAsJson(const std::vector<Remark>& remarks);

// The line of `explain --json` of a file by its name.
Json explanationAsJson(const std::string& name, const Explanation& file);

}  // namespace kpx::tool
