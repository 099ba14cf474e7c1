// The mend that recodes pixels, and why it cannot.
#include "dds/dataSize.h"
#include "explain/draft.h"
#include "explain/names.h"
#include "explain/recoding.h"
#include "explain/text.h"

namespace kpx {
namespace {

using namespace mending;

bool hasPixels(const Draft& draft) {
    const DDS_HEADER& header = draft.facts.header.header;
    return header.dwWidth != 0 && header.dwHeight != 0 && !isSideTooLarge(header.dwWidth, header.dwHeight);
}

struct RecodedSize {
    std::uint64_t pictures;     // that are whole in the file
    std::uint64_t sourceBytes;  // that they have
    std::uint64_t bytes;        // that they become
};

RecodedSize recodedSize(const SurfaceLayout& layout) {
    RecodedSize size{};
    forEachWholeSize(layout, [&](std::uint32_t width, std::uint32_t height, std::uint64_t count) {
        const std::uint64_t rowBytes = recodingOf(*layout.recoded)->recodedRowBytes(width);
        size.bytes = saturatingSum(size.bytes, saturatingProduct(rowBytes, height, count));
        size.sourceBytes += layout.surfaceBytes(width, height) * count;
        size.pictures += count;
    });
    return size;
}

// Names the format of the recoded pixels in the header, and returns the words for it.
std::string nameRecoded(Draft& draft, const RecodingRow& recoding) {
    DDS_HEADER& header = headerOf(draft);
    const bool isDx10 = draft.verdict.loader == Loader::dx10;
    const bool isFloat = layoutRow(findDxgi(recoding.dxgi)->layout).isFloat;
    std::string words =
        isDx10 || isFloat ? "DXGI " + dxgiText(recoding.dxgi) : useMasks(header, namedMasks("D3DFMT_A8R8G8B8"));
    if (isDx10) draft.facts.dx10Header.dxgiFormat = recoding.dxgi;
    if (!isDx10 && isFloat) nameByDxgi(draft, recoding.dxgi);
    header.dwFlags &= ~DDSD_LINEARSIZE;
    if ((header.dwFlags & DDSD_PITCH) != 0) stateLinearSize(header, recoding.recodedRowBytes(header.dwWidth));
    return words;
}

std::string paddingText(const DDS_HEADER& header, const RecodingRow& recoding) {
    const bool isPadded =
        (header.dwFlags & DDSD_PITCH) != 0 && header.dwPitchOrLinearSize > recoding.rowBytes(header.dwWidth);
    if (!isPadded) return {};
    return textOf("; rows are read without padding, although the header states a pitch of ",
                  header.dwPitchOrLinearSize);
}

Finding obstacle(const std::string& sentence, const char* advice) {
    return {"not-convertible", sentence, Grade::black, advice};
}

}  // namespace

std::string mending::pixelsRecoded(Draft& draft) {
    const Format* row = rowToCure(draft);
    const RecodingRow* recoding = row == nullptr ? nullptr : recodingOf(*row);
    if (recoding == nullptr || !hasPixels(draft)) return {};
    const SurfaceLayout layout = surfaceLayout(draft.facts, draft.verdict, row);
    const RecodedSize size = recodedSize(layout);
    if (size.pictures == 0) return {};
    const std::uint64_t behind = draft.facts.fileBytes - draft.dataStart - size.sourceBytes;
    const std::string padding = paddingText(headerOf(draft), *recoding);
    const std::string target = nameRecoded(draft, *recoding);
    draft.recoded = layout;
    draft.facts.fileBytes = UINT64_MAX;  // enough for any header
    draft.facts.fileBytes = saturatingSum(headerBytes(draft.facts).size(), size.bytes);
    const std::string source =
        row->namedBy == NamedBy::dxgi ? "DXGI " + dxgiText(row->id) : "code " + namedCode(row->id);
    std::string sentence = textOf("The pixels are recoded from ", source, " to ", target, ": ", recoding->words,
                                  padding, "; ", bytesText(size.sourceBytes), " of data become ", size.bytes);
    if (size.pictures < layout.count)
        sentence += textOf("; only ", size.pictures, " of ", layout.count, " pictures are whole and recoded");
    if (behind != 0) sentence += textOf("; the ", bytesText(behind), " after them are dropped");
    return sentence + ".";
}

std::optional<Finding> recodingObstacle(const FileFacts& facts, const Repair& recoding) {
    const Draft draft = draftOf(facts);
    const bool isBlack = draft.verdict.result == Result::black && startsAsDds(facts);
    if (!isBlack || recoding.helps()) return std::nullopt;
    if (recoding.recoded) {
        const Finding cause = causesOf(recoding.facts, recoding.verdict).front();
        return obstacle("Recoded, it could not be decoded either. " + cause.sentence, cause.advice);
    }
    const Format* row = rowToCure(draft);
    const RecodingRow* known = row == nullptr ? nullptr : recodingOf(*row);
    if (known == nullptr) return std::nullopt;
    const DDS_HEADER& header = facts.header.header;
    const std::string size = textOf(header.dwWidth, " x ", header.dwHeight);
    if (header.dwWidth == 0 || header.dwHeight == 0)
        return obstacle(textOf("A picture of ", size, " has no pixels to recode."), "export it again");
    if (isSideTooLarge(header.dwWidth, header.dwHeight))
        return obstacle(textOf("A picture of ", size, " is too large to recode."), "export it smaller");
    return obstacle(textOf("It cannot be recoded, as its data is incomplete: a picture of ", size, " has ",
                           known->pictureBytes(header.dwWidth, header.dwHeight), " bytes, the file has ",
                           facts.fileBytes - draft.dataStart, "."),
                    "get a whole copy of it");
}

}  // namespace kpx
