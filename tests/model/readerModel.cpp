#include "tests/model/readerModel.h"

#include <algorithm>
#include <bit>
#include <cctype>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <sstream>
#include <utility>

#include "tests/model/blockModel.h"
#include "tests/model/floatModel.h"
#include "tests/model/tables.h"

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

constexpr std::uint32_t fourCC(const char* text) {
    std::uint32_t code = 0;
    for (int i = 3; i >= 0; --i) code = code << 8 | static_cast<unsigned char>(text[i]);
    return code;
}

// Returns the product, or the largest 64-bit number if it does not fit.
std::uint64_t product(std::initializer_list<std::uint64_t> factors) {
    std::uint64_t result = 1;
    for (const std::uint64_t factor : factors) {
        if (factor == 0) return 0;
        result = result > UINT64_MAX / factor ? UINT64_MAX : result * factor;
    }
    return result;
}

using Masks = std::array<std::uint32_t, 4>;  // red, green, blue, alpha

bool canAllocate(std::uint64_t bytes) {
    return bytes <= std::uint64_t{1} << 32;
}

// The bytes after the headers. Bytes after the end of the file are zero.
struct Data : std::vector<unsigned char> {
    explicit Data(std::span<const unsigned char> bytes = {}) : std::vector<unsigned char>(bytes.begin(), bytes.end()) {}

    bool has(std::uint64_t index) const { return index < size(); }
    std::uint32_t byte(std::uint64_t index) const { return has(index) ? (*this)[index] : 0U; }
    std::uint32_t word16(std::uint64_t index) const { return byte(index) | byte(index + 1) << 8; }
    std::uint32_t word32(std::uint64_t index) const { return word16(index) | word16(index + 2) << 16; }
};

// The picture so far, and the reader's fields that the loaders use and change.
struct State : Picture {
    std::uint32_t headerFlags = 0;
    std::uint32_t linearSize = 0;
    std::uint32_t flags = 0;  // of the pixel format
    std::uint32_t code = 0;   // dwFourCC
    std::uint32_t bitCount = 0;
    Masks masks{};
    std::uint32_t dxgiFormat = 0;
    std::uint32_t alphaMode = 0;  // of the DX10 header
    bool isSnorm = false;
    Data data;
    std::function<Pixel(const State& s, std::uint64_t x, std::uint64_t y)> show;  // becomes pixelAt

    // Returns the output value of a stored byte.
    std::uint32_t shownByte(std::uint64_t index) const {
        const std::int64_t value = signExtend(data.byte(index), 8);
        if (!isSnorm || !data.has(index)) return data.byte(index);
        return value == -128 ? 0U : static_cast<std::uint32_t>((value + 127) * 255 / 254);
    }
};

// Returns whether a picture with this many bytes per pixel can be allocated. Sides are at most 2^31 - 1.
bool canHold(const State& s, std::uint64_t pixelBytes) {
    return s.width <= INT32_MAX && s.height <= INT32_MAX && canAllocate(product({s.width, s.height, pixelBytes}));
}

bool failWith(State& s, const char* message) {
    s.printed = message;
    return false;
}

std::uint32_t scaleMasked(std::uint32_t value, std::uint32_t mask) {
    if (mask == 0) return 0;
    const std::uint32_t field = value & mask;
    return mask <= 0x01000000 ? field * 255 / mask : (field >> 8) * 255 / (mask >> 8);
}

bool loadUncompressed(State& s) {
    if ((s.flags & ddpfAlpha) != 0) s.channels = 1;
    const std::uint64_t pixelBytes = s.bitCount >= 8 ? s.bitCount / 8 : s.channels;
    if (!canHold(s, pixelBytes)) return failWith(s, noMemory);
    if (s.channels == 1 && s.masks[3] == 0xFF) s.flags |= ddpfAlphaPixels;
    if ((s.flags & ddpfAlpha) != 0) s.masks[0] = s.masks[3];
    s.show = [pixelBytes](const State& p, std::uint64_t x, std::uint64_t y) {
        std::uint32_t value = 0;
        for (std::uint64_t k = 0; k < std::min<std::uint64_t>(pixelBytes, 4); ++k) {
            value |= p.shownByte((y * p.width + x) * pixelBytes + k) << (8 * k);
        }
        Pixel pixel{};
        for (std::size_t c = 0; c < 4; ++c) pixel[c] = scaleMasked(value, p.masks[c]);
        return pixel;
    };
    return true;
}

struct Code {
    std::uint32_t code;
    std::string kind;
    std::uint32_t channels;
    std::uint64_t valueBytes;
    std::string detail;  // the order of the channels, or the decoder
};

std::uint32_t codeOf(const std::string& text) {
    return std::isdigit(text[0]) != 0 ? static_cast<std::uint32_t>(std::stoul(text)) : fourCC(text.c_str());
}

const Code& formatOf(std::uint32_t code) {
    static const std::vector<Code> codes = [] {
        std::vector<Code> all;
        for (std::istringstream& row : rowsOf("tests/model/codes.tsv")) {
            std::string name;
            Code& format = all.emplace_back();
            row >> name >> format.kind >> format.channels >> format.valueBytes >> format.detail;
            format.code = codeOf(name);
        }
        return all;
    }();
    static const Code none{};
    const auto found = std::find_if(codes.begin(), codes.end(), [&](const Code& c) { return c.code == code; });
    return found == codes.end() ? none : *found;
}

// Loads rows with pixelBytes bytes per pixel, which unpack converts to floats. The first incomplete row and all after
// it are zero.
template <typename Unpack>
bool showFloatRows(State& s, std::uint64_t pixelBytes, Unpack unpack) {
    s.bits = 32;
    const std::uint64_t rowBytes = product({s.width, pixelBytes});
    if (!canHold(s, 4 * s.channels) || (s.height != 0 && !canAllocate(rowBytes))) return false;
    s.show = [rowBytes, pixelBytes, unpack](const State& p, std::uint64_t x, std::uint64_t y) {
        if ((y + 1) * rowBytes > p.data.size()) return Pixel{};
        return unpack(p.data, y * rowBytes + x * pixelBytes);
    };
    return true;
}

bool loadFloatingPoint(State& s) {
    const Code format = formatOf(s.code);
    s.channels = format.channels;
    if (format.channels == 4) s.flags |= ddpfAlphaPixels;
    return showFloatRows(s, format.channels * format.valueBytes, [format](const Data& data, std::uint64_t first) {
        Pixel pixel{};
        for (std::uint32_t c = 0; c < format.channels; ++c) {
            const std::uint64_t index = first + c * format.valueBytes;
            const float half = halfToFloat(static_cast<std::uint16_t>(data.word16(index)));
            pixel[c] = format.valueBytes == 4 ? data.word32(index) : std::bit_cast<std::uint32_t>(half);
        }
        return pixel;
    });
}

bool loadPackedFloat(State& s, std::array<float, 3> (*unpackWord)(std::uint32_t)) {
    s.channels = 3;
    return showFloatRows(s, 4, [unpackWord](const Data& data, std::uint64_t first) {
        Pixel pixel{};
        std::memcpy(pixel.data(), unpackWord(data.word32(first)).data(), 3 * sizeof(float));
        return pixel;
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
    s.show = [paletteBytes, rowBytes, isNibble](const State& p, std::uint64_t x, std::uint64_t y) {
        const std::uint32_t byte = p.data.byte(paletteBytes + y * rowBytes + (isNibble ? x / 2 : x));
        const std::uint64_t index = !isNibble ? byte : x % 2 == 0 ? byte & 15U : byte >> 4;
        Pixel pixel{};
        for (std::size_t c = 0; c < 4; ++c) pixel[c] = p.data.byte(4 * index + c);
        return pixel;
    };
    return true;
}

Pixel texelOf(const Tile& tile, std::uint64_t texel) {
    Pixel pixel{};
    if (tile.size() == 16 * sizeof pixel) {
        std::memcpy(pixel.data(), tile.data() + texel * sizeof pixel, sizeof pixel);
        return pixel;
    }
    const unsigned char* argb = tile.data() + 4 * texel;
    return {argb[1], argb[2], argb[3], argb[0]};
}

bool loadCompressed(State& s) {
    const Code& code = formatOf(s.code);
    const bool isBC6H = s.code == fourCC("DXT6");
    s.flags |= ddpfAlphaPixels;
    s.channels = 4;
    if (isBC6H) s.bits = 32;
    if (!canHold(s, isBC6H ? 16 : 4)) return failWith(s, noMemory);

    const std::string decoder = s.dxgiFormat == 96 ? "bc6hSigned" : code.detail;
    const auto formats = blockFormats();
    const auto format = std::find_if(formats.begin(), formats.end(), [&](const auto& f) { return decoder == f.name; });
    const bool isKnown = format != formats.end();
    const std::uint64_t blockBytes = isKnown ? format->blockBytes : 16;
    const std::uint64_t tilesAcross = (s.width + 3) / 4;
    const std::uint64_t tilesDown = (s.height + 3) / 4;
    const std::uint64_t bytes = std::max({product({s.height, s.width, blockBytes}) / 16, std::uint64_t{s.linearSize},
                                          product({tilesAcross, tilesDown, blockBytes})});
    if (!canAllocate(bytes)) return failWith(s, noMemory);
    if (s.data.size() < bytes) return failWith(s, shortData);
    if (!isKnown) return false;
    // The last decoded block is cached, as neighbours in a row share it.
    s.show = [format, tilesAcross, last = UINT64_MAX, tile = Tile{}](const State& p, std::uint64_t x,
                                                                     std::uint64_t y) mutable {
        const std::uint64_t block = y / 4 * tilesAcross + x / 4;
        if (block != last) tile = format->decode({p.data.data() + block * format->blockBytes, format->blockBytes});
        last = block;
        return texelOf(tile, y % 4 * 4 + x % 4);
    };
    return true;
}

// Loads pixel pairs of four bytes that share red and blue. The first incomplete row and all after it are zero.
bool loadPixelPairs(State& s, const std::string& order) {
    s.channels = 3;
    if (!canHold(s, 6)) return failWith(s, noMemory);
    s.show = [order](const State& p, std::uint64_t x, std::uint64_t y) {
        const std::uint64_t rowBytes = (p.width + 1) / 2 * 4;
        if ((y + 1) * rowBytes > p.data.size()) return Pixel{};
        const std::uint64_t own[] = {0, x % 2 * 2, 0};
        Pixel pixel{};
        for (std::size_t c = 0; c < 3; ++c) {
            const auto place = static_cast<std::uint64_t>(order[c] - '0');
            pixel[c] = p.data.byte(y * rowBytes + x / 2 * 4 + place + own[c]);
        }
        return pixel;
    };
    return true;
}

bool loadD3DFormat(State& s) {
    const Code format = formatOf(s.code);
    if (format.kind == "blocks") return loadCompressed(s);
    if (format.kind == "pairs") return loadPixelPairs(s, format.detail);
    if (format.kind != "bytes") return false;
    s.channels = format.channels;
    if (format.channels == 4) s.flags |= ddpfAlphaPixels;
    const std::uint64_t pixelBytes = format.channels * format.valueBytes;
    if (!canHold(s, pixelBytes)) return failWith(s, noMemory);
    // Of two-byte values, the high byte is used.
    s.show = [format, pixelBytes](const State& p, std::uint64_t x, std::uint64_t y) {
        Pixel pixel{};
        for (std::size_t c = 0; c < format.channels; ++c) {
            const auto place = static_cast<std::uint64_t>(format.detail[c] - '0');
            const std::uint64_t last = place * format.valueBytes + format.valueBytes - 1;
            pixel[c] = p.shownByte((y * p.width + x) * pixelBytes + last);
        }
        return pixel;
    };
    return true;
}

bool loadMasked32(State& s, const std::string& masks) {
    s.bitCount = 32;
    std::istringstream(masks) >> std::hex >> s.masks[0] >> s.masks[1] >> s.masks[2] >> s.masks[3];
    s.flags |= ddpfAlphaPixels;
    s.channels = 4;
    return loadUncompressed(s);
}

bool loadAlpha(State& s) {
    s.flags |= ddpfAlpha;
    s.bitCount = 8;
    if (s.masks[3] == 0) s.masks[3] = 0xFF;
    return loadUncompressed(s);
}

// A row of the table of DXGI formats: how the formats from the first to the last are read.
struct DxgiRow {
    std::uint32_t first, last;
    std::string loader, detail;
};

std::vector<DxgiRow> readDxgiRows() {
    std::vector<DxgiRow> all;
    for (std::istringstream& row : rowsOf("tests/model/dxgiFormats.tsv")) {
        DxgiRow& range = all.emplace_back();
        row >> range.first >> range.last >> range.loader >> std::ws;
        std::getline(row, range.detail);
    }
    return all;
}

bool loadDX10(State& s) {
    if (s.data.size() < 20) return false;
    s.dxgiFormat = s.data.word32(0);
    s.alphaMode = s.data.word32(16) & 7U;
    s.data.erase(s.data.begin(), s.data.begin() + 20);
    constexpr std::uint32_t snormFormats[] = {13, 31, 37, 51, 58, 63};
    s.isSnorm = std::count(std::begin(snormFormats), std::end(snormFormats), s.dxgiFormat) != 0;
    static const std::vector<DxgiRow> rows = readDxgiRows();
    for (const auto& [first, last, loader, detail] : rows) {
        if (s.dxgiFormat < first || s.dxgiFormat > last) continue;
        if (loader == "masks") return loadMasked32(s, detail);
        if (loader == "alpha") return loadAlpha(s);
        if (loader == "r11g11b10") return loadPackedFloat(s, unpackR11G11B10);
        if (loader == "r9g9b9e5") return loadPackedFloat(s, unpackR9G9B9E5);
        s.code = codeOf(detail);
        if (s.code == fourCC("DXT5") && s.alphaMode == 2) s.code = fourCC("DXT4");
        if (loader == "floats") return loadFloatingPoint(s);
        return loader == "codes" ? loadD3DFormat(s) : loadCompressed(s);
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

State parseHeader(Data file) {
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
    s.bits = 8;
    file.erase(file.begin(), file.begin() + 128);
    s.data = std::move(file);
    return s;
}

}  // namespace

Picture read(std::span<const unsigned char> file) {
    if (file.size() < 128) return {};
    State s = parseHeader(Data(file));
    bool loaded = load(s);
    // A picture without rows needs no channel rows.
    if (loaded && s.height != 0 && !canAllocate(product({s.width, s.channels, static_cast<std::uint64_t>(s.bits / 8)})))
        loaded = false;
    s.result = loaded ? Result::decoded : Result::fallback;
    s.hasAlpha = (s.flags & ddpfAlphaPixels) != 0;
    if (!loaded) {
        s.width = s.height = 64;
        s.channels = 4;
        s.bits = 8;
        s.show = [](const State&, std::uint64_t, std::uint64_t) { return Pixel{0, 0, 0, 255}; };
    }
    Picture picture = s;
    picture.pixelAt = [s = std::move(s)](std::uint64_t x, std::uint64_t y) { return s.show(s, x, y); };
    return picture;
}

}  // namespace model
