// The verdict goes the way of the loaders: the choice of loader, the header as it is rewritten, the sizes in the order
// in which they are asked for.
#include "explain/verdict.h"

#include <algorithm>

#include "reader/dataSize.h"
#include "reader/loading.h"

namespace kpx {
namespace {

// A code that only the Direct3D-format loader decodes.
bool isPixelCode(std::uint32_t code) {
    const Format* row = findCode(code);
    return row != nullptr && row->loader == Loader::d3dFormat;
}

Cause causeOf(const Choice& choice) {
    switch (choice.refusal) {
        case Refusal::none:
            return Cause::none;
        case Refusal::nothingNamed:
            return Cause::nothingNamed;
        case Refusal::unknownCode:
            return isPixelCode(choice.code) ? Cause::notABlockCode : Cause::unknownCode;
        case Refusal::linearSizeNeeded:
            return Cause::linearSizeNeeded;
        case Refusal::dxgiRejected:
            return Cause::dxgiRejected;
        case Refusal::dxgiTooLarge:
            return Cause::dxgiTooLarge;
    }
    return Cause::none;
}

// The choice for the header, and for the DX10 header where the first leads there.
struct FullChoice {
    Choice first;
    Choice last;
    bool isDx10;
    bool isDx10Cut;
    DDS_PIXELFORMAT pixelFormat;  // rewritten for the loader
};

FullChoice chooseFully(const FileFacts& facts) {
    const Choice first = chooseLoader(facts.header.header);
    FullChoice choice{first, first, first.loader == Loader::dx10, false, facts.header.header.ddspf};
    choice.pixelFormat.dwFourCC = first.code;
    if (!choice.isDx10) return choice;
    choice.isDx10Cut = facts.fileBytes < factBytes;
    if (choice.isDx10Cut) return choice;
    choice.last = chooseDxgi(facts.dx10Header);
    if (choice.last.format != nullptr) describeDxgi(choice.last, choice.pixelFormat);
    return choice;
}

// A verdict being reached, with what the loaders would have of the file.
class Judgement {
public:
    explicit Judgement(const FileFacts& facts);
    Verdict reach();

private:
    // Notes a cause, after any other. The first message stands.
    void fail(Cause cause, const char* printed = nullptr);
    // True, with the cause noted, where so many bytes are too many.
    bool refuseAboveLimit(std::uint64_t bytes, Cause cause, const char* printed);
    void applyFormat();

    void load();
    void loadUncompressed();
    void loadD3DFormat();
    void loadFloats();
    void loadPalettised();
    void loadCompressed();
    // The picture in memory; false where it is too large.
    bool takePicture(std::uint64_t rowBytes, const char* printed);
    // Rows that are read for as long as there are any.
    void takeRows(std::uint64_t fileRowBytes);
    bool takeAll(std::uint64_t bytes, Cause ifShort);
    void prepareChannelRows();
    void becomeBlack();

    const FileFacts& m_facts;
    FullChoice m_choice;
    const Format* m_row;  // that the loader reads by; of DXGI formats in code terms the same
    std::uint32_t m_width, m_height;
    Verdict m_verdict{};
};

Judgement::Judgement(const FileFacts& facts)
    : m_facts(facts),
      m_choice(chooseFully(facts)),
      m_row(m_choice.last.format),
      m_width(facts.header.header.dwWidth),
      m_height(facts.header.header.dwHeight) {
    m_verdict.format = m_row;
    m_verdict.loader = m_choice.first.loader;
    m_verdict.decoder = m_row == nullptr ? m_choice.last.loader : m_row->loader;
    m_verdict.width = m_width;
    m_verdict.height = m_height;
    m_verdict.bits = 8;
    m_verdict.channels = maskedChannels(m_choice.pixelFormat);
    const std::uint64_t headers = m_choice.isDx10 && !m_choice.isDx10Cut ? factBytes : sizeof(DdsFileHeader);
    m_verdict.bytesPresent = facts.fileBytes - headers;
}

void Judgement::fail(Cause cause, const char* printed) {
    m_verdict.result = Result::black;
    (m_verdict.cause == Cause::none ? m_verdict.cause : m_verdict.secondCause) = cause;
    if (m_verdict.printed == nullptr) m_verdict.printed = printed;
}

bool Judgement::refuseAboveLimit(std::uint64_t bytes, Cause cause, const char* printed) {
    if (bytes <= largestBlock) return false;
    fail(cause, printed);
    return true;
}

void Judgement::applyFormat() {
    m_verdict.layout = m_row->layout;
    m_verdict.channels = m_row->channels;
    m_verdict.bits = layoutRow(m_row->layout).isFloat ? 32 : 8;
    if (m_row->has(setsAlpha)) m_choice.pixelFormat.dwFlags |= DDPF_ALPHAPIXELS;
}

bool Judgement::takePicture(std::uint64_t rowBytes, const char* printed) {
    m_verdict.pictureBytes = saturatingProduct(rowBytes, m_height);
    if (!isSideTooLarge(m_width, m_height)) {
        return !refuseAboveLimit(m_verdict.pictureBytes, Cause::pictureTooLarge, printed);
    }
    fail(Cause::sideTooLarge, printed);
    return false;
}

void Judgement::takeRows(std::uint64_t fileRowBytes) {
    m_verdict.fileRowBytes = fileRowBytes;
    m_verdict.bytesExpected = saturatingProduct(fileRowBytes, m_height);
    const std::uint64_t rows = fileRowBytes == 0 ? m_height : m_verdict.bytesPresent / fileRowBytes;
    m_verdict.wholeRows = std::min<std::uint64_t>(rows, m_height);
}

bool Judgement::takeAll(std::uint64_t bytes, Cause ifShort) {
    m_verdict.bytesExpected = bytes;
    if (refuseAboveLimit(bytes, Cause::dataTooLarge, noMemoryMessage)) return false;
    if (m_verdict.bytesPresent < bytes) {
        fail(ifShort, noDataMessage);
        return false;
    }
    m_verdict.wholeRows = m_height;
    return true;
}

void Judgement::loadUncompressed() {
    const DDS_PIXELFORMAT& pixelFormat = m_choice.pixelFormat;
    m_row = &findMasks(pixelFormat);
    m_verdict.channels = maskedChannels(pixelFormat);
    const std::uint64_t rowBytes = maskedRowBytes(pixelFormat, m_width);
    takeRows(rowBytes);
    if (!takePicture(rowBytes, noMemoryMessage)) return;
    m_verdict.layout = m_row->layout;
    if (m_row->has(setsAlpha)) m_choice.pixelFormat.dwFlags |= DDPF_ALPHAPIXELS;
}

void Judgement::loadD3DFormat() {
    if (m_row->loader == Loader::compressed) {
        loadCompressed();
        return;
    }
    applyFormat();
    takeRows(codeFileRowBytes(*m_row, m_width));
    takePicture(codeRowBytes(*m_row, m_width), noMemoryMessage);
}

void Judgement::loadFloats() {
    applyFormat();
    takeRows(floatFileRowBytes(*m_row, m_width));
    m_verdict.rowBytes = m_verdict.fileRowBytes;
    // A row of the file is never longer than one of the picture.
    takePicture(floatRowBytes(*m_row, m_width), nullptr);
}

void Judgement::loadPalettised() {
    applyFormat();
    m_verdict.bytesExpected = palettisedBytes(*m_row, m_width, m_height);
    if (!takePicture(palettisedRowBytes(m_width), noMemoryMessage)) return;
    takeAll(m_verdict.bytesExpected, Cause::paletteShort);
}

void Judgement::loadCompressed() {
    // A code that is not known fails only after its data has been read.
    m_choice.pixelFormat.dwFlags |= DDPF_ALPHAPIXELS;
    if (m_row != nullptr) applyFormat();
    const std::uint32_t blockBytes = blockBytesOf(m_row);
    const std::uint32_t linearSize = m_facts.header.header.dwPitchOrLinearSize;
    m_verdict.bytesExpected = compressedBytes(m_width, m_height, blockBytes, linearSize);
    if (!takePicture(compressedRowBytes(m_row, m_width), noMemoryMessage)) return;
    const bool isOwnDataThere = m_verdict.bytesPresent >= compressedBytes(m_width, m_height, blockBytes, 0);
    takeAll(m_verdict.bytesExpected, isOwnDataThere ? Cause::linearSizeTooLarge : Cause::dataShort);
}

void Judgement::load() {
    if (m_choice.isDx10Cut) {
        fail(Cause::dx10HeaderCut);
        return;
    }
    const Choice& choice = m_choice.last;
    if (choice.refusal != Refusal::none) fail(causeOf(choice));
    switch (choice.loader) {
        case Loader::uncompressed:
            return loadUncompressed();
        case Loader::floatingPoint:
        case Loader::r11g11b10:
        case Loader::r9g9b9e5:
            return loadFloats();
        case Loader::palettised:
            return loadPalettised();
        case Loader::d3dFormat:
            if (choice.refusal == Refusal::none) loadD3DFormat();
            return;
        case Loader::compressed:
            return loadCompressed();
        case Loader::none:
        case Loader::dx10:
            return;
    }
}

void Judgement::prepareChannelRows() {
    const std::uint64_t bytes = channelRowsBytes(m_width, m_height, m_verdict.channels, m_verdict.bits);
    m_verdict.rowBytes = std::max(m_verdict.rowBytes, bytes);
    refuseAboveLimit(bytes, Cause::rowTooLarge, nullptr);
}

void Judgement::becomeBlack() {
    m_verdict.width = fallbackSide;
    m_verdict.height = fallbackSide;
    m_verdict.channels = 4;
    m_verdict.bits = 8;
    m_verdict.layout = BytesABGR;
    m_verdict.wholeRows = 0;
}

Verdict Judgement::reach() {
    load();
    if (m_verdict.result == Result::decoded) prepareChannelRows();
    if (m_verdict.result == Result::black) becomeBlack();
    m_verdict.hasAlpha = (m_choice.pixelFormat.dwFlags & DDPF_ALPHAPIXELS) != 0;
    return m_verdict;
}

}  // namespace

const char* resultName(Result result) {
    constexpr const char* names[] = {"decoded", "black", "refused"};
    return names[static_cast<std::size_t>(result)];
}

Verdict judge(const FileFacts& facts) {
    if (facts.fileBytes >= sizeof(DdsFileHeader)) return Judgement(facts).reach();
    Verdict verdict{};
    verdict.result = Result::refused;
    verdict.cause = Cause::headerCut;
    return verdict;
}

DDS_PIXELFORMAT loadedPixelFormat(const FileFacts& facts) {
    return chooseFully(facts).pixelFormat;
}

}  // namespace kpx
