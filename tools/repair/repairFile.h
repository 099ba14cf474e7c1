// The repair of one file: what can be made of it, and the mended copy.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "explain/causes.h"
#include "explain/mends.h"
#include "tools/files/OpenFile.h"
#include "tools/terminal/json.h"

namespace kpx::tool {

// What becomes of a file; nameOf gives the word for it in JSON.
enum class RepairResult : std::uint8_t {
    mended,         // its header alone
    converted,      // the picture too, as was asked for
    nothingToMend,  // it is decoded as it is, or no file of the plug-in's format
    black,          // comes out black, and no mend is known
    refused,        // cannot be opened, and no mend is known
};

const char* nameOf(RepairResult result);

struct RepairReport {
    RepairResult result;
    FileFacts facts;  // of the file as it is
    Repair repair;
    std::string reason;           // why it is not mended, without the file's name; empty where it is
    std::vector<Finding> causes;  // why it is not decoded after all; none where it is
    bool isConvertible = false;   // only if that may be; the reason says so

    // Whether a copy can be made that is decoded.
    [[nodiscard]] bool helps() const { return result == RepairResult::mended || result == RepairResult::converted; }
    // What is changed, in the order in which it is; nothing unless that helps.
    [[nodiscard]] std::vector<Remark> mends() const { return helps() ? repair.mends : std::vector<Remark>(); }
};

// Returns what repair makes of a file. The picture is converted only if that is allowed and nothing else helps.
RepairReport planRepair(const FileFacts& facts, bool mayConvert = false);

// Returns how many bytes of data writeRepaired copies.
std::uint64_t repairedBytes(const RepairReport& report, std::uint64_t mostPictures);

// Writes the repaired file, of a report that helps, to an open file. With mostPictures (at least 1) the data of its
// other mipmaps, faces, slices and elements is left out, whatever its header says. Throws FileError for the input,
// OutputError for the output, and Interrupted after a signal.
void writeRepaired(const OpenFile& input, const RepairReport& report, int descriptor,
                   std::uint64_t mostPictures = UINT64_MAX);

// Writes the repaired copy of a report that helps, which appears whole or not at all. Throws like writeRepaired.
void writeRepairedCopy(const OpenFile& input, const RepairReport& report, const std::string& output);

// The line of `repair --json`. An empty output is none.
Json repairAsJson(const std::string& input, const std::string& output, const RepairReport& report);

}  // namespace kpx::tool
