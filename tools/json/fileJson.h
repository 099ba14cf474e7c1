// Reports on files as JSON, by docs/kpximage.schema.json.
#pragma once

#include <string>
#include <vector>

#include "explain/Explanation.h"
#include "tools/json/json.h"
#include "tools/repair/repairFile.h"

namespace kpx::tool {

// Returns the object of `info --json` and `explain --json`.
Json fileAsJson(const std::string& name, const Explanation& file);

// Returns the object of `repair --json` and `recode --json`. output: empty if there is none.
Json repairAsJson(const std::string& input, const std::string& output, const RepairPlan& plan, bool isDryRun);

}  // namespace kpx::tool
