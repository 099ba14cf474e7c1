// An image read through the host and its plug-in.
#pragma once

#include "explain/verdict.h"
#include "host/ImageReader.h"
#include "tools/pictures/PixelSource.h"

namespace kpx::tool {

struct OpenedImage {
    std::unique_ptr<host::ImageReader> reader;
    Verdict verdict;  // that the headers lead to
    bool isBlack;     // the plug-in's stand-in for what it cannot decode
    SourceTraits traits;
};

// Throws FileError where the file is too short for a header.
void checkHasHeader(const FileFacts& facts);

// Opens the image; what the plug-in prints is dropped. Throws FileError or host::HostError, also if the file is changed
// meanwhile.
OpenedImage openThroughHost(const host::Plugin& plugin, const OpenFile& file);

// How much of a picture may be missing in its file.
inline constexpr std::uint64_t mostMissingBytes = std::uint64_t{64} << 20;

class DdsSource : public PixelSource {
public:
    // Throws FileError if the image has no pixels, or the file lacks more than mostMissingBytes of them.
    explicit DdsSource(OpenedImage image);
    DdsSource(const host::Plugin& plugin, const OpenFile& file) : DdsSource(openThroughHost(plugin, file)) {}

    [[nodiscard]] SourceKind kind() const override { return SourceKind::dds; }
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
