// An access list is an extended attribute. Its mask is the group's permissions, which are set last.
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <vector>

#include "tools/files/PendingFile.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

[[noreturn]] void fail(const std::string& what) {
    throw OutputError("is not replaced, because " + what + " cannot be kept: " + systemErrorText(errno));
}

constexpr std::size_t largestSize = 65536;  // of a list of names and of a value, on Linux

// Returns none on file systems without extended attributes.
std::vector<std::string> attributesOf(int file) {
    std::vector<char> list(largestSize);
    const ssize_t size = flistxattr(file, list.data(), list.size());
    if (size < 0 && errno != ENOTSUP) fail("its attributes");
    std::vector<std::string> names;
    for (ssize_t i = 0; i < size; i += static_cast<ssize_t>(names.back().size()) + 1)
        names.emplace_back(&list[static_cast<std::size_t>(i)]);
    return names;
}

std::vector<char> valueOf(int file, const std::string& name) {
    std::vector<char> value(largestSize);
    const ssize_t size = fgetxattr(file, name.c_str(), value.data(), value.size());
    if (size < 0) fail("its attribute " + name);
    value.resize(static_cast<std::size_t>(size));
    return value;
}

}  // namespace

void copyAttributes(int from, int to) {
    struct stat kept {
    }, own{};
    if (fstat(from, &kept) != 0 || fstat(to, &own) != 0) fail("its owner");
    const bool isOther = own.st_uid != kept.st_uid || own.st_gid != kept.st_gid;
    if (isOther && fchown(to, kept.st_uid, kept.st_gid) != 0) fail("its owner");
    const std::vector<std::string> names = attributesOf(from);
    for (const std::string& name : attributesOf(to)) {
        const bool isKept = std::find(names.begin(), names.end(), name) != names.end();
        // A new file may have inherited an access list from its folder. Security labels are left to the system.
        if (!isKept && !name.starts_with("security.") && fremovexattr(to, name.c_str()) != 0) fail("its access list");
    }
    for (const std::string& name : names) {
        const std::vector<char> value = valueOf(from, name);
        if (fsetxattr(to, name.c_str(), value.data(), value.size(), 0) != 0 && valueOf(to, name) != value)
            fail("its attribute " + name);
    }
    if (fchmod(to, kept.st_mode & 07777) != 0) fail("its permissions");
}

}  // namespace kpx::tool
