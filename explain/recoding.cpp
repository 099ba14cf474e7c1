// A row for each way of recoding, one walker over units, and the repair rule that recodes a file.
#include "explain/recoding.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "blocks/kernels.h"
#include "explain/draft.h"
#include "explain/names.h"
#include "explain/text.h"

namespace kpx {
namespace {

// Returns the nearest float by the rules of Direct3D 11.3 for the conversion of numbers.
float valueOf(std::uint32_t pixel, const Field& field) {
    const std::uint32_t value = pixel >> field.bit & ((1U << field.bits) - 1);
    const double largest = (1U << field.bits) - 1;
    switch (field.number) {
        case Number::unorm:
            break;
        case Number::snorm: {
            const auto number = static_cast<std::int32_t>(value << (32 - field.bits)) >> (32 - field.bits);
            // The lowest number stands for -1 as well.
            return static_cast<float>(std::max(number / ((largest - 1) / 2), -1.0));
        }
        case Number::xrBias:
            return static_cast<float>((static_cast<double>(value) - 0x180) / 510.0);
    }
    return static_cast<float>(value / largest);
}

void recodeFields(const Format& /*format*/, const RecodingRow& row, const unsigned char* unit, unsigned char* pixel) {
    std::uint32_t bits = 0;
    std::memcpy(&bits, unit, row.unitBytes);
    for (const Field& field : row.fields) {
        if (field.bits == 0) break;
        const float value = valueOf(bits, field);
        std::memcpy(pixel, &value, sizeof value);
        pixel += sizeof value;
    }
}

unsigned char clipped(int value) {
    return static_cast<unsigned char>(std::clamp(value, 0, 255));
}

// Converts two pixels that share a colour, from studio range by ITU-R BT.601 to full range, in the integers that are
// published with Direct3D's 8-bit YUV formats. yAt and uAt: the first of the bytes of luminance and colour.
template <int yAt, int uAt>
void recodeYuvPair(const Format& /*format*/, const RecodingRow& /*row*/, const unsigned char* unit,
                   unsigned char* pixels) {
    const int d = unit[uAt] - 128, e = unit[uAt + 2] - 128;
    for (const int y : {unit[yAt], unit[yAt + 2]}) {
        const int c = 298 * (y - 16);
        *pixels++ = clipped((c + 516 * d + 128) >> 8);
        *pixels++ = clipped((c - 100 * d - 208 * e + 128) >> 8);
        *pixels++ = clipped((c + 409 * e + 128) >> 8);
        *pixels++ = 255;
    }
}

// Decodes a block of BC3 and puts each channel in its place.
void recodeBlock(const Format& format, const RecodingRow& /*row*/, const unsigned char* unit, unsigned char* pixels) {
    constexpr std::uint8_t stored[] = {1, 2, 3, 0};  // the bytes of red, green, blue and alpha in a decoded texel
    const std::string_view holds = format.remedy.text;
    std::array<unsigned char, 16 * texelBytes> tile{};
    bestKernels().strips[BlockKernel::bc3](unit, 1, tile.data(), 4 * texelBytes);
    for (std::size_t texel = 0; texel < tile.size(); texel += texelBytes) {
        for (const char channel : {'B', 'G', 'R', 'A'}) {
            const std::size_t held = holds.find(channel);
            *pixels++ = held != std::string_view::npos ? tile[texel + stored[held]] : channel == 'A' ? 255 : 0;
        }
    }
}

using enum Number;

constexpr const char* asSigned = "signed values become -1 to 1";
constexpr const char* asSignedLuminance = "signed values become -1 to 1, and the luminance becomes blue, 0 to 1";
constexpr const char* asYuv =
    "studio-range YUV becomes full-range colour by ITU-R BT.601, and shared chroma is not interpolated";

constexpr RecodingRow rows[] = {
    {Recoding::swizzledBlocks, 4, 4, 16, 87, 4, "the blocks are decoded as \"DXT5\" and the channels are reordered",
     recodeBlock},
    {Recoding::xrBias,
     1,
     1,
     4,
     2,
     16,
     "colours become -0.75 to 1.25, by (n - 384) / 510",
     recodeFields,
     {{{0, 10, xrBias}, {10, 10, xrBias}, {20, 10, xrBias}, {30, 2, unorm}}}},
    {Recoding::l6v5u5,
     1,
     1,
     2,
     6,
     12,
     asSignedLuminance,
     recodeFields,
     {{{0, 5, snorm}, {5, 5, snorm}, {10, 6, unorm}}}},
    {Recoding::x8l8v8u8,
     1,
     1,
     4,
     6,
     12,
     asSignedLuminance,
     recodeFields,
     {{{0, 8, snorm}, {8, 8, snorm}, {16, 8, unorm}}}},
    {Recoding::a2w10v10u10,
     1,
     1,
     4,
     2,
     16,
     asSigned,
     recodeFields,
     {{{0, 10, snorm}, {10, 10, snorm}, {20, 10, snorm}, {30, 2, unorm}}}},
    {Recoding::uyvy, 2, 1, 4, 87, 4, asYuv, recodeYuvPair<1, 0>},
    {Recoding::yuy2, 2, 1, 4, 87, 4, asYuv, recodeYuvPair<0, 1>},
};

// The repair rule.

using namespace repairing;

bool hasPixels(const Draft& draft) {
    const DDS_HEADER& header = draft.facts.header.header;
    return header.dwWidth != 0 && header.dwHeight != 0 && !isSideTooLarge(header.dwWidth, header.dwHeight);
}

struct RecodedSize {
    std::uint64_t pictures;     // that are complete in the file
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
        isDx10 || isFloat ? "DXGI " + dxgiText(recoding.dxgi) : useMasks(header, maskRowNamed("D3DFMT_A8R8G8B8"));
    if (isDx10) draft.facts.dx10Header.dxgiFormat = recoding.dxgi;
    if (!isDx10 && isFloat) nameByDxgi(draft, recoding.dxgi);
    header.dwFlags &= ~DDSD_LINEARSIZE;
    if ((header.dwFlags & DDSD_PITCH) != 0) setPitchOrLinearSize(header, recoding.recodedRowBytes(header.dwWidth));
    return words;
}

std::string paddingText(const DDS_HEADER& header, const RecodingRow& recoding) {
    const bool isPadded =
        (header.dwFlags & DDSD_PITCH) != 0 && header.dwPitchOrLinearSize > recoding.rowBytes(header.dwWidth);
    if (!isPadded) return {};
    return textOf(" Rows are read without padding, although the header states a pitch of ", header.dwPitchOrLinearSize,
                  ".");
}

Finding obstacle(const std::string& sentence, const char* advice) {
    return {"not-convertible", sentence, Grade::black, advice};
}

}  // namespace

const RecodingRow* recodingOf(const Format& format) {
    if (format.remedy.kind != Remedy::Kind::recoding) return nullptr;
    return std::find_if(std::begin(rows), std::end(rows),
                        [&](const RecodingRow& row) { return row.recoding == format.remedy.recoding; });
}

void recodeUnits(const Format& format, std::span<const unsigned char> units, std::uint32_t width,
                 std::span<unsigned char> to) {
    const RecodingRow& row = *recodingOf(format);
    const std::size_t rowBytes = row.recodedRowBytes(width), tileRowBytes = row.recodedRowBytes(row.unitWidth);
    std::array<unsigned char, 16 * texelBytes> tile{};
    for (std::size_t place = 0, unit = 0; place < rowBytes; place += tileRowBytes, ++unit) {
        row.recode(format, row, &units[unit * row.unitBytes], tile.data());
        for (std::size_t y = 0; y < row.unitHeight; ++y)
            std::memcpy(&to[y * rowBytes + place], &tile[y * tileRowBytes], std::min(tileRowBytes, rowBytes - place));
    }
}

std::string repairing::pixelsRecoded(Draft& draft) {
    const Format* row = formatToRepair(draft);
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
    std::string sentence = textOf("The pixels are recoded from ", source, " to ", target, ": ", recoding->words, ".",
                                  padding, " ", bytesText(size.sourceBytes), " of data become ", size.bytes, ".");
    if (size.pictures < layout.count)
        sentence += textOf(" Only ", size.pictures, " of ", layout.count, " pictures are complete and recoded.");
    if (behind != 0) sentence += textOf(" The ", bytesText(behind), " after them are dropped.");
    return sentence;
}

std::optional<Finding> recodingObstacle(const FileFacts& facts, const Repair& recoding) {
    const Draft draft = draftOf(facts);
    const bool isBlack = draft.verdict.result == Result::black && startsAsDds(facts);
    if (!isBlack || recoding.helps()) return std::nullopt;
    if (recoding.recoded) {
        const Finding cause = causesOf(recoding.facts, recoding.verdict).front();
        return obstacle("It could not be decoded even after recoding. " + cause.sentence, cause.advice);
    }
    const Format* row = formatToRepair(draft);
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
                    "get a complete copy");
}

}  // namespace kpx
