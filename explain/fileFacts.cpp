// The one place of this folder that opens a file: its first bytes are read, and nothing else.
#include "explain/fileFacts.h"

#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "explain/FileError.h"

namespace kpx {

void checkIsNoPipe(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) throw FileError("is not a regular file");
}

FileFacts readFacts(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) throw FileError(std::string("cannot open the file: ") + std::strerror(errno));
    checkIsNoPipe(path);
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
    if (file == nullptr) throw FileError(std::string("cannot open the file: ") + std::strerror(errno));
    std::array<unsigned char, factBytes> start{};
    const size_t count = std::fread(start.data(), 1, start.size(), file.get());
    if (std::ferror(file.get()) != 0) throw FileError(std::string("cannot read the file: ") + std::strerror(errno));
    return factsOf(std::span(start).first(count), static_cast<uint64_t>(status.st_size));
}

}  // namespace kpx
