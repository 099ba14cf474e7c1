// makeFiles FOLDER: writes the files that compare.sh reads. They are 4096 by 4096, with blocks of random bits and the
// mix of modes that encoders use for real pictures; one is tiny.
#include <filesystem>
#include <fstream>

#include "dds/ddsFile.h"
#include "tests/model/randomBlocks.h"
#include "tests/support/ddsFiles.h"

namespace {

constexpr std::uint32_t side = 4096;
constexpr std::size_t blockCount = std::size_t{side} / 4 * side / 4;
using testing_support::append;
using testing_support::Bytes;

kpx::DdsFileHeader headerOf(std::uint32_t code, std::uint32_t linearSize) {
    kpx::DdsFileHeader file{};
    file.magic = kpx::ddsMagic;
    file.header.dwSize = 124;
    file.header.dwFlags = 0x1007 | kpx::DDSD_LINEARSIZE;
    file.header.dwWidth = file.header.dwHeight = side;
    file.header.dwPitchOrLinearSize = linearSize;
    file.header.dwCaps = kpx::DDSCAPS_TEXTURE;
    file.header.ddspf.dwSize = 32;
    file.header.ddspf.dwFlags = kpx::DDPF_FOURCC;
    file.header.ddspf.dwFourCC = code;
    return file;
}

void write(const std::filesystem::path& path, const Bytes& bytes) {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

Bytes randomBytes(model::Random& random, std::size_t count) {
    Bytes bytes(count);
    for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(random.next());
    return bytes;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    const std::filesystem::path folder = argv[1];
    std::filesystem::create_directories(folder);
    model::Random random(7);

    Bytes bc7;
    append(bc7, headerOf(kpx::fourCC("DX10"), blockCount * 16));
    append(bc7, kpx::DDS_HEADER_DXT10{98, 3, 0, 1, 0});
    Bytes blocks = randomBytes(random, blockCount * 16);
    for (std::size_t i = 0; i < blockCount; ++i) {
        const int percent = random.below(100);
        const int mode = percent < 33 ? 1 : percent < 44 ? 5 : percent < 98 ? 6 : random.below(8);
        unsigned char& first = blocks[16 * i];
        first = static_cast<unsigned char>((first >> (mode + 1) << (mode + 1)) | 1 << mode);
    }
    bc7.insert(bc7.end(), blocks.begin(), blocks.end());
    write(folder / "bc7.dds", bc7);

    Bytes dxt1;
    append(dxt1, headerOf(kpx::fourCC("DXT1"), blockCount * 8));
    dxt1.insert(dxt1.end(), blocks.begin(), blocks.begin() + blockCount * 8);
    write(folder / "dxt1.dds", dxt1);

    kpx::DdsFileHeader header = headerOf(0, side * 4);
    header.header.dwFlags = 0x1007 | kpx::DDSD_PITCH;
    header.header.ddspf = {32, kpx::DDPF_RGB | kpx::DDPF_ALPHAPIXELS, 0, 32, 0xFF0000, 0xFF00, 0xFF, 0xFF000000};
    Bytes bgra8;
    append(bgra8, header);
    const Bytes pixels = randomBytes(random, std::size_t{side} * side * 4);
    bgra8.insert(bgra8.end(), pixels.begin(), pixels.end());
    write(folder / "bgra8.dds", bgra8);

    // Half floats between -2 and 2.
    Bytes half;
    append(half, headerOf(113, side * 8));
    Bytes halves = randomBytes(random, std::size_t{side} * side * 8);
    for (std::size_t i = 1; i < halves.size(); i += 2) halves[i] &= 0xBF;
    half.insert(half.end(), halves.begin(), halves.end());
    write(folder / "half.dds", half);

    header.header.dwWidth = header.header.dwHeight = 4;
    Bytes tiny;
    append(tiny, header);
    tiny.insert(tiny.end(), pixels.begin(), pixels.begin() + 4 * 4 * 4);
    write(folder / "tiny.dds", tiny);
    return 0;
}
