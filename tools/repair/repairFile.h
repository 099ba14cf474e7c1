// Plans the repair of a file, writes a repaired copy, or repairs the file in place and keeps its original as FILE.orig.
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <span>
#include <string>
#include <vector>

#include "explain/repairs.h"
#include "tools/files/OpenFile.h"
#include "tools/files/PendingFile.h"

namespace kpx::tool {

// Bytes of a file.
struct ByteRange {
    std::uint64_t start;
    std::uint64_t count;
};

// Writes the header and then the ranges of the source to an open file, from its start. Throws FileError for the source
// (also if another program changes it), OutputError for the file, and Interrupted after a signal.
void writeParts(const OpenFile& source, std::initializer_list<ByteRange> ranges, std::span<const unsigned char> header,
                int descriptor);

// Writes a surface of the source as a file of its own. Throws like writeParts.
void writeSurface(const OpenFile& source, const SurfaceLayout& layout, const Surface& surface, int descriptor);

// Writes the header and the recoded pixels of the source's whole pictures, at most maxPictures (at least 1) of them.
// Throws like writeParts.
void writeRecoded(const OpenFile& source, const SurfaceLayout& layout, std::span<const unsigned char> header,
                  int descriptor, std::uint64_t maxPictures);

// Writes a file that appears whole or not at all, with the permissions that cp gives a copy of the source. `write`
// fills the open file. Exceptions of `write` pass through. Also throws OutputError with the
// output's name.
void writeCopy(const OpenFile& source, const std::string& output, Existing existing,
               const std::function<void(int descriptor)>& write);

// The result for a file. nameOf returns its word in JSON.
enum class RepairResult : std::uint8_t {
    repaired,         // only its header changes
    recoded,          // its pixels change too, as requested
    nothingToRepair,  // it decodes as it is
    black,            // it cannot be decoded, and no repair is known
    unreadable,       // it is not a DDS file or cannot be opened, and no repair is known
};

const char* nameOf(RepairResult result);

struct RepairPlan {
    RepairResult result;
    FileFacts facts;  // of the file as it is
    Repair repair;
    std::string reason;           // why it is not repaired, without the file's name; empty if it is
    std::vector<Finding> causes;  // why it is not decoded after the repair; none if it is

    // Returns whether a copy can be made that decodes.
    [[nodiscard]] bool helps() const { return result == RepairResult::repaired || result == RepairResult::recoded; }
    // Returns the changes in the order in which they were made; empty if they do not help.
    [[nodiscard]] std::vector<Remark> changes() const { return helps() ? repair.changes : std::vector<Remark>(); }
};

// Returns what can be done for a file. With mayRecode its pixels are recoded if nothing else helps.
RepairPlan planRepair(const FileFacts& facts, bool mayRecode = false);

// Returns how many bytes of data writeRepaired copies.
std::uint64_t repairedBytes(const RepairPlan& plan, std::uint64_t maxPictures);

// Writes the repaired file to an open file. Requires a plan that helps. Writes at most maxPictures (at
// least 1) pictures, of which every mipmap, face, slice and element counts as one. The header is the same for all.
// Throws FileError for the input, OutputError for the output, and Interrupted after a signal.
void writeRepaired(const OpenFile& input, const RepairPlan& plan, int descriptor,
                   std::uint64_t maxPictures = UINT64_MAX);
// Writes the same to a file that appears whole or not at all.
void writeRepaired(const OpenFile& input, const RepairPlan& plan, const std::string& output, Existing existing);

// Appended to the name of the file for its original.
inline constexpr const char* originalEnding = ".orig";

// Replaces a file by its repaired copy if repair helps. Before that, the original is kept next to the file; for a link,
// next to its target. At any moment the file is the old one or the new one. Throws FileError, also if another original
// is already kept, and OutputError.
RepairPlan repairInPlace(const std::string& path);

// Puts the original back, unless this is a dry run. Returns false if none is kept. Throws FileError and OutputError.
bool undoRepair(const std::string& path, bool isDryRun);

}  // namespace kpx::tool
