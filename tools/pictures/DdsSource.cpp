// Opens images through the host. The verdict on the file says what the plug-in's picture means.
#include "tools/pictures/DdsSource.h"

#include <algorithm>

#include "dds/dataSize.h"
#include "explain/text.h"
#include "host/HostError.h"
#include "tools/plugin/StdoutGate.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

SourceTraits traitsOf(const FileFacts& facts, const Verdict& verdict) {
    if (verdict.result != Result::decoded) return {};
    const Format& format = *verdict.format;
    SourceTraits traits;
    traits.isSrgb = format.has(isSrgb);
    traits.isHalf =
        format.has(isHalf) || format.kernel == BlockKernel::bc6hUnsigned || format.kernel == BlockKernel::bc6hSigned;
    traits.ignoresAlpha = format.has(ignoresAlpha);
    // Only flags name luminance.
    const bool isCode = (facts.header.header.ddspf.dwFlags & DDPF_FOURCC) != 0;
    traits.isRed = verdict.colourChannels() == 1 && (isCode || verdict.decoder == Loader::floatingPoint);
    return traits;
}

// Whether the picture is the black one. The rules of the reader cannot foresee a lack of memory, nor a plug-in that
// decodes more formats; the size of the picture shows both.
bool isStandIn(const Verdict& verdict, const host::ImageReader& reader) {
    constexpr int side = static_cast<int>(fallbackSide);
    const bool hasItsSize =
        reader.width() == static_cast<int>(verdict.width) && reader.height() == static_cast<int>(verdict.height);
    if (hasItsSize) return verdict.result == Result::black;
    return reader.width() == side && reader.height() == side;
}

// Refuses small files that declare huge pictures: what is made of them takes the memory that they declare. Writers hold
// at least 4 bytes per pixel, and several rows.
void checkIsThere(const Verdict& verdict) {
    if (verdict.result != Result::decoded || verdict.wholeRows >= verdict.height) return;
    const std::uint64_t rowBytes = std::max(verdict.pictureBytes / verdict.height, std::uint64_t{verdict.width} * 4);
    const bool isBounded = rowBytes * (verdict.height - verdict.wholeRows) <= mostMissingBytes;
    if (isBounded && std::max(verdict.width, verdict.height) <= largestIncompleteSide) return;
    throw FileError(textOf("is incomplete: it declares ", verdict.width, " x ", verdict.height, " pixels but has ",
                           verdict.wholeRows, " complete rows"));
}

}  // namespace

OpenedImage openThroughHost(const host::Plugin& plugin, const OpenFile& file) {
    const FileFacts& facts = file.facts();
    const Verdict verdict = judge(facts);
    std::unique_ptr<host::ImageReader> reader;
    const std::string path = file.path();
    try {
        const StdoutGate gate;
        reader = std::make_unique<host::ImageReader>(plugin, path);
    } catch (const host::HostError& error) {
        // A plug-in quotes the system's last error even if the file is only too short.
        if (facts.fileBytes < sizeof(DdsFileHeader))
            throw FileError(textOf("is too short: it has ", facts.fileBytes, " bytes; its header alone takes ",
                                   sizeof(DdsFileHeader)));
        file.checkIsUnchanged();
        throw host::HostError(withName(error.what(), path, file.name()));
    }
    file.checkIsUnchanged();
    const bool isBlack = isStandIn(verdict, *reader);
    return {std::move(reader), verdict, isBlack, traitsOf(facts, verdict)};
}

DdsSource::DdsSource(OpenedImage image) : m_image(std::move(image)) {
    checkIsThere(m_image.verdict);
    const host::ImageReader& reader = *m_image.reader;
    m_layout = {reader.width(), reader.height(), reader.colourChannels(), reader.matteChannels(), reader.isFloat()};
    if (m_layout.width < 1 || m_layout.height < 1)
        throw FileError(textOf("has no pixels: it is ", m_layout.width, " x ", m_layout.height));
    checkWidth(static_cast<std::uint32_t>(m_layout.width));
    m_scanline = m_layout.height;
}

std::span<const unsigned char* const> DdsSource::nextRow() {
    stopIfInterrupted();
    return m_image.reader->scanline(--m_scanline);
}

}  // namespace kpx::tool
