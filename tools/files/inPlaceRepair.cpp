// The kept header comes first and goes last: whenever the process ends, it is there as long as it is needed. Left
// beside a file that still or again has it, it does no harm.
#include "tools/files/inPlaceRepair.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <vector>

#include "tools/files/PendingFile.h"
#include "tools/files/ddsCopy.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

namespace fs = std::filesystem;

using Bytes = std::vector<unsigned char>;

// The first bytes of a file, as many as there are.
Bytes startOf(const std::string& path, std::size_t count) {
    Bytes bytes(count);
    std::ifstream file(path, std::ios::binary);
    if (!file) throw FileError("cannot open the file: " + path);
    file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(count));
    bytes.resize(static_cast<std::size_t>(file.gcount()));
    return bytes;
}

bool startsWith(const std::string& path, const Bytes& start) {
    return startOf(path, start.size()) == start;
}

// Puts a file made of a header and the data from a place on in the place of the file.
void replaceHeader(const std::string& path, std::uint64_t dataStart, std::uint64_t fileBytes, const Bytes& header) {
    PendingFile pending(path);
    const ByteRange data{dataStart, fileBytes - dataStart};
    writeParts(path, {&data, 1}, header, pending.path());
    pending.flushToDisk();
    pending.commit();
}

// True where it was not there before.
bool keepHeader(const std::string& path, const Bytes& header) {
    if (fs::exists(path)) {
        if (startOf(path, factBytes + 1) == header) return false;
        throw FileError(path + " is there already, from another repair: undo that, or move it away");
    }
    PendingFile pending(path);
    std::ofstream(pending.path(), std::ios::binary)
        .write(reinterpret_cast<const char*>(header.data()), static_cast<std::streamsize>(header.size()));
    if (!startsWith(pending.path(), header)) throw OutputError(path + " cannot be written");
    pending.flushToDisk();
    pending.commit();
    return true;
}

// How many bytes of the file are the header that the repair has made of the kept one. Throws FileError where they are
// not: the data below it may be another picture's.
std::size_t mendedHeaderBytes(const std::string& path, const FileFacts& facts, const Bytes& kept) {
    const Bytes mended = headerBytes(facts);
    const Bytes start = startOf(path, mended.size() + factBytes);
    Bytes before = kept;
    before.insert(before.end(), start.begin() + static_cast<std::ptrdiff_t>(mended.size()), start.end());
    const Repair repair = repairOf(factsOf(before, facts.fileBytes - mended.size() + kept.size()));
    const bool isOfIt = repair.helps() && repair.dataStart == kept.size() && headerBytes(repair.facts) == mended;
    if (!isOfIt)
        throw FileError("has changed since it was repaired: its header is not what was made of that in " +
                        keptHeaderPath(path));
    return mended.size();
}

}  // namespace

std::string keptHeaderPath(const std::string& path) {
    std::error_code error;
    const fs::path file = fs::canonical(path, error);
    // A plain path is kept as the user wrote it.
    const bool isLink = fs::is_symlink(fs::symlink_status(path, error));
    return (isLink && !file.empty() ? file.string() : path) + ".header";
}

RepairReport repairInPlace(const std::string& path) {
    RepairReport report = reportRepair(path);
    if (!report.helps()) return report;
    const std::string kept = keptHeaderPath(path);
    const bool isNew = keepHeader(kept, startOf(path, report.repair.dataStart));
    try {
        replaceHeader(path, report.repair.dataStart, report.facts.fileBytes, headerBytes(report.repair.facts));
    } catch (...) {
        std::error_code error;
        if (isNew) fs::remove(kept, error);
        throw;
    }
    return report;
}

UndoResult undoRepair(const std::string& path, bool isDryRun) {
    const FileFacts facts = readFacts(path);
    const std::string keptPath = keptHeaderPath(path);
    if (!fs::exists(keptPath)) return UndoResult::nothingToUndo;
    const Bytes kept = startOf(keptPath, factBytes + 1);
    if (kept.size() != sizeof(DdsFileHeader) && kept.size() != factBytes)
        throw FileError(keptPath + " is no header that was kept by a repair");
    // An undoing that was stopped at its end has the header back.
    const bool isBack = startsWith(path, kept);
    const std::size_t mended = isBack ? 0 : mendedHeaderBytes(path, facts, kept);
    if (isDryRun) return UndoResult::undone;
    if (!isBack) replaceHeader(path, mended, facts.fileBytes, kept);
    fs::remove(keptPath);
    return UndoResult::undone;
}

}  // namespace kpx::tool
