#include "tools/StdoutCapture.h"

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <iostream>

#include "tools/errors.h"

namespace kpx::tool {

StdoutCapture::StdoutCapture() : m_original(dup(STDOUT_FILENO)), m_captured(memfd_create("stdout", MFD_CLOEXEC)) {
    std::cout.flush();
    std::fflush(stdout);
    if (m_original < 0 || m_captured < 0 || dup2(m_captured, STDOUT_FILENO) < 0) {
        if (m_original >= 0) close(m_original);
        if (m_captured >= 0) close(m_captured);
        throw FileError("cannot redirect standard output");
    }
}

StdoutCapture::~StdoutCapture() {
    restore();
    close(m_captured);
}

void StdoutCapture::restore() {
    if (m_original < 0) return;
    std::fflush(stdout);
    dup2(m_original, STDOUT_FILENO);
    close(m_original);
    m_original = -1;
}

std::string StdoutCapture::finish() {
    restore();
    std::string text;
    std::array<char, 4096> buffer{};
    lseek(m_captured, 0, SEEK_SET);
    for (ssize_t count = read(m_captured, buffer.data(), buffer.size()); count > 0;
         count = read(m_captured, buffer.data(), buffer.size())) {
        text.append(buffer.data(), static_cast<size_t>(count));
    }
    return text;
}

}  // namespace kpx::tool
