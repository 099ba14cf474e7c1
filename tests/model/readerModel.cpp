#include "tests/model/readerModel.h"

#include <algorithm>
#include <bit>
#include <initializer_list>
#include <iterator>
#include <memory>

#include "tests/model/blockModel.h"
#include "tests/model/floatModel.h"

namespace model {

namespace {

constexpr std::uint32_t ddsdLinearSize = 0x80000;
constexpr std::uint32_t ddpfAlphaPixels = 0x1;
constexpr std::uint32_t ddpfAlpha = 0x2;
constexpr std::uint32_t ddpfFourCC = 0x4;
constexpr std::uint32_t ddpfPaletteIndexed4 = 0x8;
constexpr std::uint32_t ddpfPaletteIndexedTo8 = 0x10;
constexpr std::uint32_t ddpfPaletteIndexed8 = 0x20;
constexpr std::uint32_t ddpfAnyPalette = ddpfPaletteIndexed4 | ddpfPaletteIndexedTo8 | ddpfPaletteIndexed8;
constexpr std::uint32_t ddpfRGB = 0x40;
constexpr std::uint32_t ddpfLuminance = 0x20000;

constexpr const char* noMemory = "Insufficient memory to load DDS file";
constexpr const char* shortData = "Error loading DDS pixel data";

constexpr std::uint32_t fourCC(const char (&text)[5]) {
    std::uint32_t code = 0;
    for (int i = 3; i >= 0; --i) code = code << 8 | static_cast<unsigned char>(text[i]);
    return code;
}

// The product, or the largest 64-bit number where it does not fit.
std::uint64_t product(std::initializer_list<std::uint64_t> factors) {
    std::uint64_t result = 1;
    for (const std::uint64_t factor : factors) {
        if (factor == 0) return 0;
        result = result > UINT64_MAX / factor ? UINT64_MAX : result * factor;
    }
    return result;
}

bool canAllocate(std::uint64_t bytes) {
    return bytes <= UINT32_MAX;
}

// The bytes after the headers. What the file does not supply is zero.
class Data {
public:
    Data() = default;
    explicit Data(std::span<const unsigned char> bytes)
        : m_bytes(std::make_shared<std::vector<unsigned char>>(bytes.begin(), bytes.end())) {}

    std::uint64_t size() const { return m_bytes->size(); }
    bool has(std::uint64_t index) const { return index < size(); }
    std::uint32_t byte(std::uint64_t index) const { return has(index) ? (*m_bytes)[index] : 0U; }
    std::uint32_t word16(std::uint64_t index) const { return byte(index) | byte(index + 1) << 8; }
    std::uint32_t word32(std::uint64_t index) const { return word16(index) | word16(index + 2) << 16; }
    Data from(std::size_t first) const { return Data(std::span(*m_bytes).subspan(std::min(first, m_bytes->size()))); }
    const unsigned char* at(std::uint64_t index) const { return m_bytes->data() + index; }

private:
    std::shared_ptr<const std::vector<unsigned char>> m_bytes = std::make_shared<std::vector<unsigned char>>();
};

// The reader's fields, as the loaders find and leave them.
struct State {
    std::uint32_t headerFlags = 0;
    std::uint32_t linearSize = 0;
    std::uint32_t flags = 0;  // of the pixel format
    std::uint32_t code = 0;   // dwFourCC
    std::uint32_t bitCount = 0;
    std::array<std::uint32_t, 4> masks{};  // red, green, blue, alpha
    std::uint32_t dxgiFormat = 0;
    std::uint32_t alphaMode = 0;  // of the DX10 header
    Data data;

    std::uint64_t width = 0;
    std::uint64_t height = 0;
    std::uint32_t channels = 3;
    int bits = 8;
    int layout = 0;
    bool isSnorm = false;
    std::string printed;
    std::function<Pixel(std::uint64_t x, std::uint64_t y)> pixelAt;
};

// A picture whose pixels take so many bytes; sides are at most what a signed number of 32 bits holds.
bool canHold(const State& s, std::uint64_t pixelBytes) {
    return s.width <= INT32_MAX && s.height <= INT32_MAX && canAllocate(product({s.width, s.height, pixelBytes}));
}

bool failWith(State& s, const char* message) {
    s.printed = message;
    return false;
}

std::uint32_t snormToByte(std::uint32_t raw) {
    const std::int64_t value = signExtend(raw, 8);
    return value == -128 ? 0U : static_cast<std::uint32_t>((value + 127) * 255 / 254);
}

// Which byte of a stored pixel each output channel is, by layout; of layouts 0 and 1 the masks tell.
constexpr const char* channelOrders[] = {"", "", "0", "01", "210", "012", "3210", "2103", "1230", "0123"};

// Pixels of pixelBytes bytes with a channel in single bytes. Of channels of valueBytes = 2 the high byte is taken.
void showBytes(State& s, std::uint64_t pixelBytes, std::uint64_t valueBytes) {
    const std::string order = channelOrders[s.layout];
    s.pixelAt = [data = s.data, width = s.width, isSnorm = s.isSnorm, order, pixelBytes, valueBytes](std::uint64_t x,
                                                                                                     std::uint64_t y) {
        Pixel pixel{};
        for (std::size_t c = 0; c < order.size(); ++c) {
            const auto place = static_cast<std::uint64_t>(order[c] - '0');
            const std::uint64_t index = (y * width + x) * pixelBytes + place * valueBytes + (valueBytes - 1);
            pixel[c] = isSnorm && data.has(index) ? snormToByte(data.byte(index)) : data.byte(index);
        }
        return pixel;
    };
}

std::uint32_t scaleMasked(std::uint32_t value, std::uint32_t mask) {
    if (mask == 0) return 0;
    const std::uint32_t field = value & mask;
    return mask <= 0x01000000 ? field * 255 / mask : (field >> 8) * 255 / (mask >> 8);
}

void showMasked(State& s, std::uint64_t pixelBytes) {
    s.pixelAt = [data = s.data, width = s.width, masks = s.masks, alphaOnly = (s.flags & ddpfAlpha) != 0, pixelBytes](
                    std::uint64_t x, std::uint64_t y) {
        std::uint32_t value = 0;
        for (std::uint64_t k = 0; k < std::min<std::uint64_t>(pixelBytes, 4); ++k)
            value |= data.byte((y * width + x) * pixelBytes + k) << (8 * k);
        if (alphaOnly) return Pixel{scaleMasked(value, masks[3]), 0, 0, 0};
        return Pixel{scaleMasked(value, masks[0]), scaleMasked(value, masks[1]), scaleMasked(value, masks[2]),
                     scaleMasked(value, masks[3])};
    };
}

int uncompressedLayout(const State& s, std::uint64_t pixelBytes) {
    using Masks = std::array<std::uint32_t, 4>;
    const Masks& m = s.masks;
    if (s.channels == 3 && m[0] == 0xFF0000 && m[1] == 0xFF00 && m[2] == 0xFF && (pixelBytes == 3 || pixelBytes == 4))
        return 4;
    if (s.channels == 4 && pixelBytes == 4) {
        if (m == Masks{0xFF000000, 0x00FF0000, 0x0000FF00, 0x000000FF}) return 6;
        if (m == Masks{0x00FF0000, 0x0000FF00, 0x000000FF, 0xFF000000}) return 7;
        if (m == Masks{0x000000FF, 0x0000FF00, 0x00FF0000, 0xFF000000}) return 9;
    }
    if (s.channels == 1 && m[3] == 0xFF) return 1;
    return 0;
}

bool loadUncompressed(State& s) {
    if ((s.flags & ddpfAlpha) != 0) s.channels = 1;
    std::uint64_t pixelBytes = s.bitCount / 8;
    if (pixelBytes == 0) pixelBytes = s.channels;
    if (!canHold(s, pixelBytes)) return failWith(s, noMemory);
    s.layout = uncompressedLayout(s, pixelBytes);
    if (s.layout == 1) s.flags |= ddpfAlphaPixels;
    if (s.layout <= 1)
        showMasked(s, pixelBytes);
    else
        showBytes(s, pixelBytes, 1);
    return true;
}

struct FloatFormat {
    std::uint32_t code;
    std::uint32_t channels;
    std::uint64_t valueBytes;
};

constexpr std::array<FloatFormat, 7> floatFormats = {
    {{111, 1, 2}, {112, 2, 2}, {113, 4, 2}, {114, 1, 4}, {115, 2, 4}, {116, 4, 4}, {1116, 3, 4}}};

// Rows of pixelBytes file bytes per pixel that unpack turns into floats. Rows from the first incomplete one are zero.
template <typename Unpack>
bool showFloatRows(State& s, std::uint64_t pixelBytes, Unpack unpack) {
    s.bits = 32;
    const std::uint64_t rowBytes = product({s.width, pixelBytes});
    if (!canHold(s, 4 * s.channels) || (s.height != 0 && !canAllocate(rowBytes))) return false;
    s.pixelAt = [data = s.data, rowBytes, pixelBytes, unpack](std::uint64_t x, std::uint64_t y) {
        if ((y + 1) * rowBytes > data.size()) return Pixel{};
        return unpack(data, y * rowBytes + x * pixelBytes);
    };
    return true;
}

bool loadFloatingPoint(State& s) {
    const FloatFormat format =
        *std::find_if(floatFormats.begin(), floatFormats.end(), [&](const FloatFormat& f) { return f.code == s.code; });
    s.channels = format.channels;
    if (format.channels == 4) s.flags |= ddpfAlphaPixels;
    return showFloatRows(s, format.channels * format.valueBytes, [format](const Data& data, std::uint64_t first) {
        Pixel pixel{};
        for (std::uint32_t c = 0; c < format.channels; ++c) {
            const std::uint64_t index = first + c * format.valueBytes;
            pixel[c] = format.valueBytes == 4
                           ? data.word32(index)
                           : std::bit_cast<std::uint32_t>(halfToFloat(static_cast<std::uint16_t>(data.word16(index))));
        }
        return pixel;
    });
}

template <std::array<float, 3> (*unpackWord)(std::uint32_t)>
bool loadPackedFloat(State& s) {
    s.channels = 3;
    return showFloatRows(s, 4, [](const Data& data, std::uint64_t first) {
        const std::array<float, 3> rgb = unpackWord(data.word32(first));
        return Pixel{std::bit_cast<std::uint32_t>(rgb[0]), std::bit_cast<std::uint32_t>(rgb[1]),
                     std::bit_cast<std::uint32_t>(rgb[2]), 0};
    });
}

bool loadPalettised(State& s) {
    const std::uint64_t paletteBytes = (s.flags & ddpfPaletteIndexed4) != 0 ? 64 : 1024;
    const bool isNibble = (s.flags & (ddpfPaletteIndexed4 | ddpfPaletteIndexedTo8)) != 0;
    s.flags |= ddpfAlphaPixels;
    s.channels = 4;
    const std::uint64_t rowBytes = isNibble ? (s.width + 1) / 2 : s.width;
    const std::uint64_t inputBytes = paletteBytes + std::min(product({rowBytes, s.height}), std::uint64_t{1} << 62);
    if (!canHold(s, 4) || !canAllocate(inputBytes)) return failWith(s, noMemory);
    if (s.data.size() < inputBytes) return failWith(s, shortData);
    s.pixelAt = [data = s.data, paletteBytes, rowBytes, isNibble](std::uint64_t x, std::uint64_t y) {
        const std::uint32_t byte = data.byte(paletteBytes + y * rowBytes + (isNibble ? x / 2 : x));
        const std::uint64_t index = !isNibble ? byte : x % 2 == 0 ? byte & 15U : byte >> 4;
        return Pixel{data.byte(4 * index), data.byte(4 * index + 1), data.byte(4 * index + 2),
                     data.byte(4 * index + 3)};
    };
    return true;
}

Pixel toPixel(const Texel& t) {
    return {t.r, t.g, t.b, t.a};
}
Pixel toPixel(const std::array<float, 4>& t) {
    return {std::bit_cast<std::uint32_t>(t[0]), std::bit_cast<std::uint32_t>(t[1]), std::bit_cast<std::uint32_t>(t[2]),
            std::bit_cast<std::uint32_t>(t[3])};
}

using Tile = std::array<Pixel, 16>;

template <typename AnyTexels>
Tile toTile(const AnyTexels& texels) {
    Tile tile{};
    for (std::size_t t = 0; t < 16; ++t) tile[t] = toPixel(texels[t]);
    return tile;
}

using Block = const unsigned char*;

struct BlockFormat {
    std::uint32_t code;
    std::uint64_t blockBytes;
    Tile (*decode)(Block block);
};

const BlockFormat blockFormats[] = {
    {fourCC("DXT1"), 8, [](Block b) { return toTile(decodeBC1(Block8(b, 8), true)); }},
    {fourCC("DXT2"), 16, [](Block b) { return toTile(decodeBC2(Block16(b, 16), true)); }},
    {fourCC("DXT3"), 16, [](Block b) { return toTile(decodeBC2(Block16(b, 16), false)); }},
    {fourCC("DXT4"), 16, [](Block b) { return toTile(decodeBC3(Block16(b, 16), true)); }},
    {fourCC("DXT5"), 16, [](Block b) { return toTile(decodeBC3(Block16(b, 16), false)); }},
    {fourCC("BC4U"), 8, [](Block b) { return toTile(decodeBC4(Block8(b, 8), false)); }},
    {fourCC("BC4S"), 8, [](Block b) { return toTile(decodeBC4(Block8(b, 8), true)); }},
    {fourCC("ATI2"), 16, [](Block b) { return toTile(decodeBC5(Block16(b, 16), false)); }},
    {fourCC("BC5U"), 16, [](Block b) { return toTile(decodeBC5(Block16(b, 16), false)); }},
    {fourCC("BC5S"), 16, [](Block b) { return toTile(decodeBC5(Block16(b, 16), true)); }},
    {fourCC("DXT6"), 16, [](Block b) { return toTile(decodeBC6H(Block16(b, 16), false)); }},
    {fourCC("DXT7"), 16, [](Block b) { return toTile(decodeBC7(Block16(b, 16))); }},
};

bool loadCompressed(State& s) {
    const bool isBC6H = s.code == fourCC("DXT6");
    s.flags |= ddpfAlphaPixels;
    s.channels = 4;
    if (isBC6H) s.bits = 32;
    if (!canHold(s, isBC6H ? 16 : 4)) return failWith(s, noMemory);

    const BlockFormat* format = std::find_if(std::begin(blockFormats), std::end(blockFormats),
                                             [&](const BlockFormat& f) { return f.code == s.code; });
    const bool isKnown = format != std::end(blockFormats);
    const std::uint64_t blockBytes = isKnown ? format->blockBytes : 16;
    const std::uint64_t tilesAcross = (s.width + 3) / 4;
    const std::uint64_t tilesDown = (s.height + 3) / 4;
    const std::uint64_t bytes = std::max({product({s.height, s.width, blockBytes}) / 16, std::uint64_t{s.linearSize},
                                          product({tilesAcross, tilesDown, blockBytes})});
    if (!canAllocate(bytes)) return failWith(s, noMemory);
    if (s.data.size() < bytes) return failWith(s, shortData);

    if (!isKnown) return false;
    auto decode = format->decode;
    if (s.dxgiFormat == 96) decode = [](Block b) { return toTile(decodeBC6H(Block16(b, 16), true)); };
    // The last decoded block is kept, as neighbours in a row share it.
    s.pixelAt = [data = s.data, decode, tilesAcross, blockBytes, last = UINT64_MAX, tile = Tile{}](
                    std::uint64_t x, std::uint64_t y) mutable {
        const std::uint64_t block = y / 4 * tilesAcross + x / 4;
        if (block != last) tile = decode(data.at(block * blockBytes));
        last = block;
        return tile[y % 4 * 4 + x % 4];
    };
    return true;
}

struct ByteFormat {
    std::uint32_t code;
    std::uint32_t channels;
    std::uint32_t pixelBytes;
    std::uint32_t valueBytes;
    int layout;
};

constexpr std::array<ByteFormat, 6> byteFormats = {
    {{34, 2, 4, 2, 3}, {36, 4, 8, 2, 9}, {110, 4, 8, 2, 9}, {134, 1, 2, 2, 2}, {135, 2, 2, 1, 3}, {136, 1, 1, 1, 2}}};

// Two pixels in four bytes that share red and blue. Rows from the first incomplete one are zero.
bool loadPixelPairs(State& s) {
    s.channels = 3;
    if (!canHold(s, 6)) return failWith(s, noMemory);
    s.pixelAt = [data = s.data, rowBytes = (s.width + 1) / 2 * 4, isRGBG = s.code == fourCC("RGBG")](std::uint64_t x,
                                                                                                     std::uint64_t y) {
        if ((y + 1) * rowBytes > data.size()) return Pixel{};
        const std::uint64_t pair = y * rowBytes + x / 2 * 4;
        const std::uint64_t own = x % 2 * 2;
        if (isRGBG) return Pixel{data.byte(pair), data.byte(pair + 1 + own), data.byte(pair + 2), 0};
        return Pixel{data.byte(pair + 1), data.byte(pair + own), data.byte(pair + 3), 0};
    };
    return true;
}

constexpr std::array<std::uint32_t, 8> passedOnCodes = {fourCC("DXT1"), fourCC("DXT2"), fourCC("DXT3"), fourCC("DXT4"),
                                                        fourCC("DXT5"), fourCC("ATI2"), fourCC("BC4U"), fourCC("BC4S")};

bool loadD3DFormat(State& s) {
    if (std::count(passedOnCodes.begin(), passedOnCodes.end(), s.code) != 0) return loadCompressed(s);
    if (s.code == fourCC("RGBG") || s.code == fourCC("GRGB")) return loadPixelPairs(s);
    for (const ByteFormat& format : byteFormats) {
        if (s.code != format.code) continue;
        s.channels = format.channels;
        s.layout = format.layout;
        if (format.channels == 4) s.flags |= ddpfAlphaPixels;
        if (!canHold(s, format.pixelBytes)) return failWith(s, noMemory);
        showBytes(s, format.pixelBytes, format.valueBytes);
        return true;
    }
    return false;
}

template <std::uint32_t red, std::uint32_t green, std::uint32_t blue, std::uint32_t alpha>
bool loadMasked32(State& s) {
    s.bitCount = 32;
    s.masks = {red, green, blue, alpha};
    s.flags |= ddpfAlphaPixels;
    s.channels = 4;
    return loadUncompressed(s);
}

bool loadA8(State& s) {
    s.flags |= ddpfAlpha;
    s.bitCount = 8;
    if (s.masks[3] == 0) s.masks[3] = 0xFF;
    return loadUncompressed(s);
}

bool loadBC3(State& s) {
    s.code = s.alphaMode == 2 ? fourCC("DXT4") : fourCC("DXT5");
    return loadCompressed(s);
}

struct DxgiFormats {
    std::uint32_t first;
    std::uint32_t last;
    std::uint32_t code;  // becomes dwFourCC
    bool (*load)(State&);
};

constexpr std::array<DxgiFormats, 32> dxgiFormats = {{
    {2, 2, 116, loadFloatingPoint},
    {6, 6, 1116, loadFloatingPoint},
    {10, 10, 113, loadFloatingPoint},
    {11, 11, 36, loadD3DFormat},
    {13, 13, 36, loadD3DFormat},
    {16, 16, 115, loadFloatingPoint},
    {23, 25, 0, loadMasked32<0x3FF, 0xFFC00, 0x3FF00000, 0xC0000000>},
    {26, 26, 0, loadPackedFloat<unpackR11G11B10>},
    {27, 32, 0, loadMasked32<0xFF, 0xFF00, 0xFF0000, 0xFF000000>},
    {33, 33, 34, loadD3DFormat},
    {34, 34, 112, loadFloatingPoint},
    {35, 38, 34, loadD3DFormat},
    {41, 41, 114, loadFloatingPoint},
    {48, 52, 135, loadD3DFormat},
    {54, 54, 111, loadFloatingPoint},
    {56, 59, 134, loadD3DFormat},
    {60, 64, 136, loadD3DFormat},
    {65, 65, 0, loadA8},
    {67, 67, 0, loadPackedFloat<unpackR9G9B9E5>},
    {68, 68, fourCC("RGBG"), loadD3DFormat},
    {69, 69, fourCC("GRGB"), loadD3DFormat},
    {70, 72, fourCC("DXT1"), loadCompressed},
    {73, 75, fourCC("DXT3"), loadCompressed},
    {76, 78, 0, loadBC3},
    {79, 80, fourCC("BC4U"), loadCompressed},
    {81, 81, fourCC("BC4S"), loadCompressed},
    {82, 83, fourCC("ATI2"), loadCompressed},
    {84, 84, fourCC("BC5S"), loadCompressed},
    {87, 88, 0, loadMasked32<0xFF0000, 0xFF00, 0xFF, 0xFF000000>},
    {90, 93, 0, loadMasked32<0xFF0000, 0xFF00, 0xFF, 0xFF000000>},
    {94, 96, fourCC("DXT6"), loadCompressed},
    {97, 99, fourCC("DXT7"), loadCompressed},
}};

constexpr std::array<std::uint32_t, 6> snormFormats = {13, 31, 37, 51, 58, 63};

bool loadDX10(State& s) {
    if (s.data.size() < 20) return false;
    s.dxgiFormat = s.data.word32(0);
    s.alphaMode = s.data.word32(16) & 7U;
    s.data = s.data.from(20);
    s.isSnorm = std::count(snormFormats.begin(), snormFormats.end(), s.dxgiFormat) != 0;
    for (const DxgiFormats& row : dxgiFormats) {
        if (s.dxgiFormat < row.first || s.dxgiFormat > row.last) continue;
        if (row.code != 0) s.code = row.code;
        return row.load(s);
    }
    return false;
}

bool loadLuminance(State& s) {
    if ((s.flags & ddpfAlphaPixels) != 0)
        s.code = 135;
    else
        s.code = s.bitCount == 16 ? 134 : 136;
    return loadD3DFormat(s);
}

bool load(State& s) {
    if (s.code >= 111 && s.code <= 116) return loadFloatingPoint(s);
    if ((s.flags & (ddpfRGB | ddpfAlpha)) != 0) return loadUncompressed(s);
    const bool isFourCC = (s.flags & ddpfFourCC) != 0;
    if (isFourCC && s.code == fourCC("DX10")) return loadDX10(s);
    if (isFourCC && (s.headerFlags & ddsdLinearSize) != 0) return loadCompressed(s);
    if ((s.flags & ddpfAnyPalette) != 0) return loadPalettised(s);
    if (isFourCC) return loadD3DFormat(s);
    if ((s.flags & ddpfLuminance) != 0) return loadLuminance(s);
    return s.code != 0 && loadCompressed(s);
}

State parseHeader(const Data& file) {
    State s;
    s.headerFlags = file.word32(8);
    s.height = file.word32(12);
    s.width = file.word32(16);
    s.linearSize = file.word32(20);
    s.flags = file.word32(80);
    s.code = file.word32(84);
    s.bitCount = file.word32(88);
    s.masks = {file.word32(92), file.word32(96), file.word32(100), file.word32(104)};
    s.channels = (s.flags & ddpfAlphaPixels) != 0 ? 4 : 3;
    s.data = file.from(128);
    return s;
}

void becomeFallback(State& s) {
    s.width = 64;
    s.height = 64;
    s.channels = 4;
    s.bits = 8;
    s.pixelAt = [](std::uint64_t, std::uint64_t) { return Pixel{0, 0, 0, 255}; };
}

}  // namespace

std::vector<std::vector<unsigned char>> Picture::scanline(std::uint32_t y) const {
    std::vector<std::vector<unsigned char>> rows(channels);
    for (std::uint32_t x = 0; x < width; ++x) {
        const Pixel pixel = pixelAt(x, height - 1 - y);
        for (std::size_t c = 0; c < channels; ++c)
            for (int shift = 0; shift < bits; shift += 8)
                rows[c].push_back(static_cast<unsigned char>(pixel[c] >> shift & 0xFFU));
    }
    return rows;
}

Picture read(std::span<const unsigned char> file) {
    Picture picture;
    if (file.size() < 128) return picture;
    State s = parseHeader(Data(file));
    bool loaded = load(s);
    // A picture without rows needs no room for one.
    if (loaded && s.height != 0 && !canAllocate(product({s.width, s.channels, static_cast<std::uint64_t>(s.bits / 8)})))
        loaded = failWith(s, noMemory);
    if (!loaded) becomeFallback(s);

    picture.result = loaded ? Result::decoded : Result::fallback;
    picture.width = static_cast<std::uint32_t>(s.width);
    picture.height = static_cast<std::uint32_t>(s.height);
    picture.channels = s.channels;
    picture.hasAlpha = (s.flags & ddpfAlphaPixels) != 0;
    picture.colourChannels = picture.hasAlpha ? s.channels - 1 : s.channels;
    picture.bits = s.bits;
    picture.printed = s.printed;
    picture.pixelAt = s.pixelAt;
    return picture;
}

}  // namespace model
