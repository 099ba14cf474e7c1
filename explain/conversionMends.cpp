// The one that changes a picture, and the reasons why it does not.
#include "explain/conversionMends.h"

#include "dds/dataSize.h"
#include "explain/causes.h"
#include "explain/formatNames.h"
#include "explain/otherFile.h"
#include "explain/text.h"

namespace kpx {
namespace {

using namespace mending;

bool hasPixels(const Draft& draft) {
    const DDS_HEADER& header = draft.facts.header.header;
    return header.dwWidth != 0 && header.dwHeight != 0 && !isSideTooLarge(header.dwWidth, header.dwHeight);
}

struct ConvertedSize {
    std::uint64_t pictures;     // that are whole
    std::uint64_t sourceBytes;  // that they have
    std::uint64_t bytes;        // that they become
};

ConvertedSize convertedSize(const SurfaceLayout& layout) {
    ConvertedSize size{};
    forEachWholeSize(layout, [&](std::uint32_t width, std::uint32_t height, std::uint64_t count) {
        const std::uint64_t bytes = saturatingProduct(layout.conversion->convertedRowBytes(width), height, count);
        size.bytes = bytes > UINT64_MAX - size.bytes ? UINT64_MAX : size.bytes + bytes;
        size.sourceBytes += layout.surfaceBytes(width, height) * count;
        size.pictures += count;
    });
    return size;
}

// Names what the pixels become, and returns the words for it.
std::string nameConverted(Draft& draft, std::uint32_t dxgi) {
    DDS_HEADER& header = headerOf(draft);
    const Format& format = *findDxgi(dxgi);
    const bool isDx10 = draft.verdict.loader == Loader::dx10;
    const bool isFloat = layoutRow(format.layout).isFloat;
    std::string words = isDx10 || isFloat ? "DXGI " + dxgiText(dxgi) : useMasks(header, namedMasks("D3DFMT_A8R8G8B8"));
    if (isDx10) draft.facts.dx10Header.dxgiFormat = dxgi;
    if (!isDx10 && isFloat) nameByDxgi(draft, dxgi);
    header.dwFlags &= ~DDSD_LINEARSIZE;
    if ((header.dwFlags & DDSD_PITCH) != 0)
        stateLinearSize(header, std::uint64_t{format.bytesPerPixel} * header.dwWidth);
    return words;
}

std::string paddingText(const DDS_HEADER& header, const Conversion& conversion) {
    const bool isPadded =
        (header.dwFlags & DDSD_PITCH) != 0 && header.dwPitchOrLinearSize > conversion.rowBytes(header.dwWidth);
    if (!isPadded) return {};
    return textOf("; rows are taken without padding, though a pitch of ", header.dwPitchOrLinearSize, " is stated");
}

}  // namespace

std::string mending::pixelsConverted(Draft& draft) {
    const Format* row = rowToCure(draft);
    const auto conversion = hasPixels(draft) ? Conversion::of(row) : std::nullopt;
    if (!conversion) return {};
    const SurfaceLayout layout = surfaceLayout(draft.facts, draft.verdict, conversion);
    const ConvertedSize size = convertedSize(layout);
    if (size.pictures == 0) return {};
    const std::uint64_t behind = draft.facts.fileBytes - draft.dataStart - size.sourceBytes;
    const std::string name = row->namedBy == NamedBy::dxgi ? "DXGI " + dxgiText(row->id) : "code " + namedCode(row->id);
    const std::string padding = paddingText(headerOf(draft), *conversion);
    const std::string target = nameConverted(draft, conversion->dxgi());
    draft.converted = layout;
    draft.facts.fileBytes = UINT64_MAX;  // enough for any header
    const std::uint64_t headers = headerBytes(draft.facts).size();
    draft.facts.fileBytes = size.bytes > UINT64_MAX - headers ? UINT64_MAX : headers + size.bytes;
    std::string sentence = textOf("The pixels, ", name, ", become ", target, ": ", conversion->words(), padding, "; ",
                                  bytesText(size.sourceBytes), " of data become ", size.bytes);
    if (size.pictures < layout.count)
        sentence += textOf("; of ", layout.count, " pictures ", size.pictures, size.pictures == 1 ? " is" : " are",
                           " whole and kept");
    if (behind != 0)
        sentence += textOf("; ", bytesText(behind), " behind them ", behind == 1 ? "is" : "are", " left out");
    return sentence + ".";
}

std::optional<Finding> conversionObstacle(const FileFacts& facts, const Repair& conversion) {
    const auto obstacle = [](const std::string& sentence, const char* advice) {
        return Finding{"not-convertible", sentence, Grade::black, advice};
    };
    const Draft draft = draftOf(facts);
    const bool isBlack = draft.verdict.result == Result::black && startsAsDds(facts);
    if (!isBlack || conversion.helps()) return std::nullopt;
    const Format* row = rowToCure(draft);
    if (conversion.converted)
        return obstacle("Converted, it would be black as well. " + causeText(conversion.facts, conversion.verdict),
                        causesOf(conversion.facts, conversion.verdict).front().advice);
    const auto known = Conversion::of(row);
    if (!known) return std::nullopt;
    const DDS_HEADER& header = facts.header.header;
    const std::string size = textOf(header.dwWidth, " x ", header.dwHeight);
    if (header.dwWidth == 0 || header.dwHeight == 0)
        return obstacle(textOf("A picture of ", size, " has no pixels that could be converted."), "export it again");
    if (isSideTooLarge(header.dwWidth, header.dwHeight))
        return obstacle(textOf("A picture of ", size, " is too large to be converted."), "export it smaller");
    return obstacle(textOf("It could be converted if its data were whole: a picture of ", size, " takes ",
                           known->pictureBytes(header.dwWidth, header.dwHeight), " bytes, and ",
                           facts.fileBytes - draft.dataStart, " are there."),
                    "get a whole copy of it");
}

}  // namespace kpx
