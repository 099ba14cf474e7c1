// kpximage split as a user runs it: the files that appear, their headers, and their data.
#include "tests/support/Tool.h"
#include "tests/support/ddsFiles.h"

using namespace kpx;
using namespace testing_support;

namespace fs = std::filesystem;

namespace {

struct SplitFile {
    DDS_HEADER header;
    DDS_HEADER_DXT10 dx10;
    std::string data;
};

SplitFile readSplit(const std::string& path) {
    SplitFile file{};
    const std::string bytes = textOfFile(path);
    if (bytes.size() < 128) return file;
    std::memcpy(&file.header, &bytes[4], sizeof file.header);
    const bool isDx10 = file.header.ddspf.dwFourCC == fourCC("DX10") && bytes.size() >= 148;
    if (isDx10) std::memcpy(&file.dx10, &bytes[128], sizeof file.dx10);
    file.data = bytes.substr(isDx10 ? 148 : 128);
    return file;
}

using Numbers = std::vector<std::uint32_t>;

// Of a header what depends on the surface.
Numbers stated(const SplitFile& file) {
    const DDS_HEADER& header = file.header;
    return {header.dwWidth, header.dwHeight,      header.dwFlags, header.dwPitchOrLinearSize,
            header.dwDepth, header.dwMipMapCount, header.dwCaps,  header.dwCaps2};
}

// Bytes that count up.
Bytes counting(std::size_t count) {
    Bytes bytes(count);
    for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<unsigned char>('!' + i);
    return bytes;
}

DdsFileHeader grey(std::uint32_t width, std::uint32_t height, std::uint32_t levels) {
    DdsFileHeader file = headerOf(width, height);
    file.header.dwFlags = 0x2100F;
    file.header.dwMipMapCount = levels;
    file.header.dwCaps = 0x401008;
    file.header.ddspf = {32, DDPF_LUMINANCE, 0, 8, 0xFF, 0, 0, 0};
    return file;
}

class Split : public Tool {
protected:
    void put(const Bytes& content) const { file("a.dds", content); }

    // NAME=DATA of every file, in the order of the names.
    [[nodiscard]] std::string parts() const {
        std::vector<std::string> found;
        for (const auto& entry : fs::directory_iterator(at("out"))) {
            found.push_back(entry.path().stem().string() + "=" + readSplit(entry.path()).data);
        }
        std::sort(found.begin(), found.end());
        std::string joined;
        for (const std::string& part : found) joined += (joined.empty() ? "" : " ") + part;
        return joined;
    }
};

Bytes legacy(DdsFileHeader header, std::uint32_t caps2, std::uint32_t depth, std::size_t bytes) {
    header.header.dwCaps2 = caps2;
    header.header.dwDepth = depth;
    if (depth != 0) header.header.dwFlags |= 0x800000;
    return fileOf(header, counting(bytes));
}

Bytes dx10Grey(std::uint32_t levels, const DDS_HEADER_DXT10& dx10, std::size_t bytes) {
    DdsFileHeader header = codeHeader(fourCC("DX10"), 2, 1);
    header.header.dwMipMapCount = levels;
    Bytes file = fileOf(header);
    append(file, dx10);
    const Bytes data = counting(bytes);
    file.insert(file.end(), data.begin(), data.end());
    return file;
}

TEST_F(Split, EverySurfaceIsAFileNamedByWhatVaries) {
    Bytes palette = fileOf(grey(2, 1, 2), Bytes(64, 'p'));
    palette[80] = DDPF_PALETTEINDEXED4;
    palette[82] = 0;
    palette.insert(palette.end(), {'1', '2'});
    const std::string p(64, 'p');
    struct Case {
        const char* what;
        Bytes file;
        std::string parts;
    };
    const Case cases[] = {
        {"one picture", legacy(grey(2, 1, 0), 0, 0, 9), "a=!\""},
        {"mipmaps, no more than there can be", legacy(grey(4, 2, 0xFFFFFFFF), 0, 0, 11),
         "a-mip00=!\"#$%&'( a-mip01=)* a-mip02=+"},
        {"a cube map", legacy(grey(1, 1, 1), 0xFE00, 0, 6),
         "a-face0+x=! a-face1-x=\" a-face2+y=# a-face3-y=$ a-face4+z=% a-face5-z=&"},
        {"a part of one", legacy(grey(1, 1, 1), 0x200 | 0x800 | 0x4000, 0, 2), "a-face1-x=! a-face4+z=\""},
        {"a volume", legacy(grey(2, 1, 2), 0x200000, 3, 7),
         "a-mip00-slice000=!\" a-mip00-slice001=#$ a-mip00-slice002=%& a-mip01-slice000='"},
        {"an array of cubes", dx10Grey(1, {61, 3, 4, 2, 0}, 24),
         "a-array00-face0+x=!\" a-array00-face1-x=#$ a-array00-face2+y=%& a-array00-face3-y='( a-array00-face4+z=)* "
         "a-array00-face5-z=+, a-array01-face0+x=-. a-array01-face1-x=/0 a-array01-face2+y=12 a-array01-face3-y=34 "
         "a-array01-face4+z=56 a-array01-face5-z=78"},
        {"an array with mipmaps", dx10Grey(2, {61, 3, 0, 2, 0}, 6),
         "a-array00-mip00=!\" a-array00-mip01=# a-array01-mip00=$% a-array01-mip01=&"},
        {"a DX10 volume",
         [] {
             Bytes file = dx10Grey(1, {61, 4, 0, 1, 0}, 4);
             file[24] = 2;
             return file;
         }(),
         "a-slice000=!\" a-slice001=#$"},
        {"a palette for every level", palette, "a-mip00=" + p + "1 a-mip01=" + p + "2"},
    };
    for (const Case& each : cases) {
        fs::remove_all(at("out"));
        put(each.file);
        const RunResult result = run("split a.dds out");
        EXPECT_EQ(result.status, 0) << each.what << ": " << result.err;
        EXPECT_EQ(parts(), each.parts) << each.what;
    }
}

TEST_F(Split, HeadersAreThoseOfTheSurface) {
    put(legacy(grey(5, 3, 3), 0xFE00, 0, 6 * 18));
    ASSERT_EQ(run("split a.dds out").status, 0);
    EXPECT_EQ(stated(readSplit(at("out/a-face3-y-mip01.dds"))), (Numbers{2, 1, 0x100F, 2, 0, 1, 0x1000, 0}));

    DdsFileHeader blocks = codeHeader(fourCC("DXT1"), 5, 5, DDSD_LINEARSIZE);
    blocks.header.dwPitchOrLinearSize = 99;
    put(legacy(blocks, 0x200000, 2, 64));
    ASSERT_EQ(run("split a.dds out").status, 0);
    const SplitFile slice = readSplit(at("out/a-slice001.dds"));
    EXPECT_EQ(stated(slice), (Numbers{5, 5, DDSD_LINEARSIZE, 32, 0, 1, 0, 0}));
    EXPECT_EQ(slice.data.size(), 32U);
    EXPECT_EQ(run("info out/a-slice001.dds").out, "out/a-slice001.dds: 5 x 5, 3 colour, 1 matte, 8-bit\n");

    put(dx10Grey(1, {61, 4, 4, 7, 1}, 14 * 6));
    ASSERT_EQ(run("split a.dds out").status, 0);
    const DDS_HEADER_DXT10 element = readSplit(at("out/a-array06-face2+y.dds")).dx10;
    EXPECT_EQ((Numbers{element.dxgiFormat, element.resourceDimension, element.miscFlag, element.arraySize,
                       element.miscFlags2}),
              (Numbers{61, 3, 0, 1, 1}));
}

TEST_F(Split, OfAShortFileWhatIsWholeIsWritten) {
    put(legacy(grey(4, 2, 3), 0, 0, 9));
    const RunResult cut = run("split a.dds out");
    EXPECT_EQ(cut.status, 1);
    EXPECT_EQ(cut.err, "kpximage: a.dds: is too short: of 3 pictures 1 is whole and has been written\n");
    EXPECT_EQ(parts(), "a-mip00=!\"#$%&'(");
    put(dx10Grey(1, {61, 3, 4, 0xFFFFFFFF, 0}, 5));
    EXPECT_EQ(run("split a.dds out").err,
              "kpximage: a.dds: is too short: of 25769803770 pictures 2 are whole and have been written\n");
}

TEST_F(Split, WhatCannotBeSplitIsSaid) {
    put(dx10File(85, 4, 4, Bytes(32)));
    EXPECT_NE(run("split a.dds out").err.find("as the size of its pictures is not known. The DXGI format 85"),
              std::string::npos);
    EXPECT_EQ(names(), "a.dds");
    put(legacy(grey(0, 2, 3), 0, 0, 9));
    EXPECT_EQ(run("split a.dds out").err, "kpximage: a.dds: has no pixels: it is 0 x 2\n");
    put(legacy(grey(2, 1, 1), 0, 0, 2));
    EXPECT_EQ(run("split a.dds .").err, "kpximage: a.dds: cannot be split: ./a.dds is the input itself\n");
    EXPECT_EQ(run("split a.dds a.dds").err,
              "kpximage: a.dds: cannot be split: a.dds is no folder and cannot be made one\n");
    EXPECT_EQ(run("split missing.dds out").status, 1);
    EXPECT_EQ(names(), "a.dds");
}

}  // namespace
