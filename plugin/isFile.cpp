// Recognises a file by its first bytes. Its header is only checked when the file is read.
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "plugin/protocol.h"

extern "C" int imageIsFile(const char* path, std::FILE* stream) {
    std::FILE* file = stream;
    if (file != nullptr) {
        std::rewind(file);
    } else {
        // If the file opens, errno is left alone: the message of a later read may have no better reason.
        if (path == nullptr) errno = ENOENT;
        file = path == nullptr ? nullptr : std::fopen(path, "r");
        if (file == nullptr) {
            const char* reason = std::strerror(errno);
            ERR_printf(3, "imageIsFile, can't open `%s'. %s\n", path == nullptr ? "" : path, reason);
            return 0;
        }
    }
    // The fourth byte, a space in the full magic, must exist and is not compared.
    unsigned char start[4];
    const bool isDds = std::fread(start, 1, sizeof start, file) == sizeof start && std::memcmp(start, "DDS", 3) == 0;
    if (stream == nullptr) std::fclose(file);
    return isDds ? 1 : 0;
}
