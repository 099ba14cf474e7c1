#include "fuzz/target.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "reader/ddsFile.h"
#include "reader/formatTable.h"
#include "tests/model/randomBlocks.h"

namespace fuzz {
namespace {

constexpr std::uint32_t interesting[] = {
    0,    1,     2,       3,          4,          5,        7,      8,          15,         16,     24,     32,
    33,   63,    64,      65,         255,        256,      0xFFFF, 0x7FFFFFFF, 0x80000000, 0xFF00, 0xF800, 0x7E0,
    0x1F, 0x3FF, 0xFFC00, 0x3FF00000, 0xC0000000, 0xFF0000, 0xFF,   0x1000,     128,        99,     100};

// A value that some field of the header may want.
std::uint32_t fieldValue(model::Random& random, std::size_t offset) {
    const auto formats = kpx::formatTable();
    const kpx::Format& format = formats[random.next() % formats.size()];
    switch (offset) {
        case 8:
            return random.below(2) == 0 ? kpx::DDSD_LINEARSIZE : 0;
        case 80:
            return static_cast<std::uint32_t>(random.next() & (random.below(2) == 0 ? 0x7F : 0x2007F));
        case 84:
            return random.below(3) == 0 ? kpx::fourCC("DX10") : format.code;
        case 128:
            return random.below(4) == 0 ? static_cast<std::uint32_t>(random.below(140)) : format.id;
        default:
            return random.below(8) == 0 ? static_cast<std::uint32_t>(random.next())
                                        : interesting[random.next() % std::size(interesting)];
    }
}

}  // namespace

MemoryFile::MemoryFile() : m_descriptor(memfd_create("fuzz", 0)), m_path{} {
    // A large page costs as much as several inputs to clear, and inputs touch little of it.
    (void)prctl(PR_SET_THP_DISABLE, 1, 0, 0, 0);
    claim(m_descriptor >= 0, "there are memory files");
    std::snprintf(m_path, sizeof m_path, "/proc/self/fd/%d", m_descriptor);
}

MemoryFile::~MemoryFile() {
    close(m_descriptor);
}

void MemoryFile::write(std::span<const unsigned char> content) {
    const auto written = pwrite(m_descriptor, content.data(), content.size(), 0);
    claim(written == static_cast<ssize_t>(content.size()), "a memory file can be filled");
    // Emptying it first would give its pages back and have them cleared again.
    claim(ftruncate(m_descriptor, written) == 0, "a memory file can be cut");
}

Bytes MemoryFile::read() const {
    Bytes content(static_cast<std::size_t>(lseek(m_descriptor, 0, SEEK_END)));
    claim(pread(m_descriptor, content.data(), content.size(), 0) == static_cast<ssize_t>(content.size()),
          "a memory file can be read");
    return content;
}

PrintedText::PrintedText() {
    std::fflush(stdout);
    FILE* stream = open_memstream(&m_text, &m_size);
    claim(stream != nullptr, "standard output can be taken over");
    // The C library lets the variable be assigned; nothing then leaves the process.
    stdout = stream;
}

std::string_view PrintedText::take() {
    std::fflush(stdout);
    const std::string_view text(m_text, m_size);
    std::rewind(stdout);
    return text;
}

std::size_t mutateDds(unsigned char* bytes, std::size_t size, std::size_t most, std::uint64_t seed) {
    model::Random random(seed);
    constexpr std::size_t headerBytes = 148;
    constexpr std::size_t fields[] = {8, 12, 16, 20, 80, 84, 88, 92, 96, 100, 104, 128, 144};
    for (int changes = 1 + random.below(4); changes > 0; --changes) {
        const int kind = random.below(10);
        if (kind < 6 && size >= headerBytes) {
            const std::size_t offset = fields[random.next() % std::size(fields)];
            const std::uint32_t value = fieldValue(random, offset);
            std::memcpy(bytes + offset, &value, sizeof value);
        } else if (kind < 8 && size > 0) {
            bytes[random.next() % size] = static_cast<unsigned char>(random.next());
        } else if (kind == 8 && size > 0) {
            size = random.next() % size + 1;
        } else {
            const std::size_t added = std::min(most - std::min(size, most), static_cast<std::size_t>(random.below(64)));
            for (std::size_t i = 0; i < added; ++i) bytes[size + i] = static_cast<unsigned char>(random.next());
            size += added;
        }
    }
    return std::min(size, most);
}

}  // namespace fuzz
