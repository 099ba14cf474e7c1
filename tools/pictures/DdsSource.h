// An image read through the host and its plug-in.
#pragma once

#include "explain/verdict.h"
#include "host/ImageReader.h"
#include "tools/pictures/PixelSource.h"

namespace kpx::tool {

struct OpenedImage {
    std::unique_ptr<host::ImageReader> reader;
    Verdict verdict;  // on the headers
    bool isBlack;     // the plug-in's stand-in for what it cannot decode
    SourceTraits traits;
};

// Opens the image and drops what the plug-in prints. Throws FileError or host::HostError, also if another program
// changes the file.
OpenedImage openThroughHost(const host::Plugin& plugin, const OpenFile& file);

// The most bytes of a picture that its file may lack, at 4 bytes per pixel or more, and the largest side of such a
// picture, which is the largest of Direct3D.
inline constexpr std::uint64_t mostMissingBytes = std::uint64_t{64} << 20;
inline constexpr std::uint32_t largestIncompleteSide = 16384;

class DdsSource : public PixelSource {
public:
    // Throws FileError if the image has no pixels or is too wide, or its file lacks too much of it.
    explicit DdsSource(OpenedImage image);
    DdsSource(const host::Plugin& plugin, const OpenFile& file) : DdsSource(openThroughHost(plugin, file)) {}

    [[nodiscard]] const ImageLayout& layout() const override { return m_layout; }
    [[nodiscard]] SourceTraits traits() const override { return m_image.traits; }
    [[nodiscard]] bool isBlack() const override { return m_image.isBlack; }
    std::span<const unsigned char* const> nextRow() override;

    [[nodiscard]] bool isWhole() const override { return m_image.verdict.wholeRows >= m_image.verdict.height; }

    void rewind() override { m_scanline = m_layout.height; }

private:
    OpenedImage m_image;
    ImageLayout m_layout{};
    int m_scanline = 0;  // scanlines are numbered from the bottom
};

}  // namespace kpx::tool
