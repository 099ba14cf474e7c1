// The repair of one file: what can be made of it, and the mended copy.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "explain/mends.h"
#include "tools/terminal/json.h"

namespace kpx::tool {

enum class RepairResult : std::uint8_t {
    mended,
    nothingToMend,  // it is decoded as it is, or no file of the plug-in's format
    black,          // comes out black, and no mend is known
    refused,        // cannot be opened, and no mend is known
};

struct RepairReport {
    RepairResult result;
    std::vector<Remark> mends;  // in the order in which they are made; none unless mended
    std::string reason;         // why it is not mended, without the file's name; empty where it is
    Repair repair;
};

// What repair makes of a file; nothing is written. Throws FileError where the file cannot be read.
RepairReport reportRepair(const std::string& input);

// Writes the mended copy, if there is to be one. Throws FileError of the input and OutputError of the output.
RepairReport repairFile(const std::string& input, const std::string& output);

// The line of `repair --json`. An empty output is none.
Json repairAsJson(const std::string& input, const std::string& output, const RepairReport& report);

}  // namespace kpx::tool
