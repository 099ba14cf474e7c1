// Recognition by the first bytes of a file. Whether its header is usable is found out when it is read.
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "plugin/protocol.h"

extern "C" int imageIsFile(const char* path, std::FILE* stream) {
    std::FILE* file = stream;
    if (file != nullptr) {
        std::rewind(file);
    } else {
        // Where the file opens, errno stays what the system last said: a read that follows may have nothing else to
        // tell.
        if (path == nullptr) errno = ENOENT;
        file = path == nullptr ? nullptr : std::fopen(path, "r");
        if (file == nullptr) {
            const char* reason = std::strerror(errno);
            ERR_printf(3, "imageIsFile, can't open `%s'. %s\n", path == nullptr ? "" : path, reason);
            return 0;
        }
    }
    // The fourth byte, a space in the whole magic, must be there and is not compared.
    unsigned char start[4];
    const bool isDds = std::fread(start, 1, sizeof start, file) == sizeof start && std::memcmp(start, "DDS", 3) == 0;
    if (stream == nullptr) std::fclose(file);
    return isDds ? 1 : 0;
}
