// What is said of a file as JSON, by docs/kpximage.schema.json.
#pragma once

#include <string>
#include <vector>

#include "explain/Explanation.h"
#include "tools/terminal/json.h"

namespace kpx::tool {

// Returns an array of ids and sentences.
template <typename Remarks>
Json remarksAsJson(const Remarks& remarks) {
    Json array = Json::array();
    for (const auto& remark : remarks) array.push_back({{"id", remark.id}, {"sentence", remark.sentence}});
    return array;
}

// The line of `explain --json` of a file by its name.
Json explanationAsJson(const std::string& name, const Explanation& file);

}  // namespace kpx::tool
