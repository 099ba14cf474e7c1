// An access list is an extended attribute; its mask is the permissions of the group, which are set last.
#include "tools/files/fileAttributes.h"

#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

[[noreturn]] void fail(const std::string& what) {
    throw OutputError("is not replaced, because " + what + " cannot be kept: " + systemErrorText(errno));
}

// Returns none on file systems without extended attributes.
std::vector<std::string> attributesOf(int file) {
    std::vector<char> list;
    ssize_t size = 0;
    // The list may grow between the two calls.
    while ((size = flistxattr(file, nullptr, 0)) > 0) {
        list.resize(static_cast<std::size_t>(size));
        size = flistxattr(file, list.data(), list.size());
        if (size >= 0 || errno != ERANGE) break;
    }
    if (size < 0 && errno != ENOTSUP) fail("its attributes");
    std::vector<std::string> names;
    for (std::size_t i = 0; i < static_cast<std::size_t>(std::max<ssize_t>(size, 0)); i += names.back().size() + 1)
        names.emplace_back(&list[i]);
    return names;
}

std::vector<char> valueOf(int file, const std::string& name) {
    std::vector<char> value(65536);  // the largest that Linux allows
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
        // A new file may have inherited an access list from its folder. Labels of the system are the system's.
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
