// Two tables: formats whose pixels are fields of a little-endian unit, and YUV formats, whose values lie in planes at
// regular places.
#include "explain/conversion.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "explain/text.h"
#include "reader/checkedSize.h"

namespace kpx {
namespace {

enum class Number : std::uint8_t { none, unorm, snorm, unsignedInteger, signedInteger, float32, extendedRange };

// Bits of a pixel, from the lowest.
struct Field {
    std::uint8_t bit, bits;
    Number number;
};

}  // namespace

// A format by its code, its DXGI number, or both; 0: it has none.
struct FieldFormat {
    std::uint32_t code, dxgi;
    std::uint8_t pixelBytes;
    std::array<Field, 4> fields;  // red, green, blue and alpha, of which the last ones may be missing
    const char* words;
};

// Where values lie: those of neighbours `step` bits apart, the highest eight bits of each from `bit` on, in a plane.
struct Samples {
    std::uint8_t plane, step, bit;
};

struct YuvFormat {
    std::uint32_t code, dxgi;
    std::uint8_t xShift, yShift;  // of colour: 1 where two pixels share it
    Samples y, u, v;
    std::uint8_t alphaBit, alphaBits;  // in the pixel; 0 bits: there is none
    std::uint8_t bits;                 // of a value
};

namespace {

using enum Number;

constexpr const char* asNumbers =
    "each integer becomes the float of the same value; what takes more than 24 bits is rounded";
constexpr const char* asShortNumbers = "each integer becomes the float of the same value";
constexpr const char* asSigned = "signed values become -1 to 1";
constexpr const char* asSignedLuminance = "signed values become -1 to 1, and the luminance is blue, 0 to 1";
constexpr const char* asDepth = "the 24 bits of depth become 0 to 1; the other 8 are left out";
constexpr const char* asFloatDepth = "the 32-bit floats are kept; the other 32 bits are left out";
constexpr const char* asExtended = "colours become -0.75 to 1.25, by (n - 384) / 510";

constexpr FieldFormat fieldFormats[] = {
    {0,
     3,
     16,
     {{{0, 32, unsignedInteger}, {32, 32, unsignedInteger}, {64, 32, unsignedInteger}, {96, 32, unsignedInteger}}},
     asNumbers},
    {0,
     4,
     16,
     {{{0, 32, signedInteger}, {32, 32, signedInteger}, {64, 32, signedInteger}, {96, 32, signedInteger}}},
     asNumbers},
    {0, 7, 12, {{{0, 32, unsignedInteger}, {32, 32, unsignedInteger}, {64, 32, unsignedInteger}}}, asNumbers},
    {0, 8, 12, {{{0, 32, signedInteger}, {32, 32, signedInteger}, {64, 32, signedInteger}}}, asNumbers},
    {0,
     12,
     8,
     {{{0, 16, unsignedInteger}, {16, 16, unsignedInteger}, {32, 16, unsignedInteger}, {48, 16, unsignedInteger}}},
     asShortNumbers},
    {0,
     14,
     8,
     {{{0, 16, signedInteger}, {16, 16, signedInteger}, {32, 16, signedInteger}, {48, 16, signedInteger}}},
     asShortNumbers},
    {0, 17, 8, {{{0, 32, unsignedInteger}, {32, 32, unsignedInteger}}}, asNumbers},
    {0, 18, 8, {{{0, 32, signedInteger}, {32, 32, signedInteger}}}, asNumbers},
    {0, 19, 8, {{{0, 32, float32}}}, asFloatDepth},
    {0, 20, 8, {{{0, 32, float32}}}, asFloatDepth},
    {0, 21, 8, {{{0, 32, float32}}}, asFloatDepth},
    {0, 42, 4, {{{0, 32, unsignedInteger}}}, asNumbers},
    {0, 43, 4, {{{0, 32, signedInteger}}}, asNumbers},
    {0, 44, 4, {{{0, 24, unorm}}}, asDepth},
    {0, 45, 4, {{{0, 24, unorm}}}, asDepth},
    {0, 46, 4, {{{0, 24, unorm}}}, asDepth},
    {61, 0, 2, {{{0, 5, snorm}, {5, 5, snorm}, {10, 6, unorm}}}, asSignedLuminance},
    {62, 0, 4, {{{0, 8, snorm}, {8, 8, snorm}, {16, 8, unorm}}}, asSignedLuminance},
    {67, 0, 4, {{{0, 10, snorm}, {10, 10, snorm}, {20, 10, snorm}, {30, 2, unorm}}}, asSigned},
    {71, 0, 4, {{{0, 32, unorm}}}, "depth becomes 0 to 1"},
    {84, 0, 4, {{{0, 32, unorm}}}, "depth becomes 0 to 1"},
    {119,
     89,
     4,
     {{{0, 10, extendedRange}, {10, 10, extendedRange}, {20, 10, extendedRange}, {30, 2, unorm}}},
     asExtended},
};

constexpr YuvFormat yuvFormats[] = {
    {fourCC("AYUV"), 100, 0, 0, {0, 32, 16}, {0, 32, 8}, {0, 32, 0}, 24, 8, 8},
    {fourCC("Y410"), 101, 0, 0, {0, 32, 12}, {0, 32, 2}, {0, 32, 22}, 30, 2, 10},
    {fourCC("Y416"), 102, 0, 0, {0, 64, 24}, {0, 64, 8}, {0, 64, 40}, 56, 8, 16},
    {fourCC("NV12"), 103, 1, 1, {0, 8, 0}, {1, 16, 0}, {1, 16, 8}, 0, 0, 8},
    {fourCC("P010"), 104, 1, 1, {0, 16, 8}, {1, 32, 8}, {1, 32, 24}, 0, 0, 10},
    {fourCC("P016"), 105, 1, 1, {0, 16, 8}, {1, 32, 8}, {1, 32, 24}, 0, 0, 16},
    {fourCC("YUY2"), 107, 1, 0, {0, 16, 0}, {0, 32, 8}, {0, 32, 24}, 0, 0, 8},
    {fourCC("Y210"), 108, 1, 0, {0, 32, 8}, {0, 64, 24}, {0, 64, 56}, 0, 0, 10},
    {fourCC("Y216"), 109, 1, 0, {0, 32, 8}, {0, 64, 24}, {0, 64, 56}, 0, 0, 16},
    {0, 130, 1, 0, {0, 8, 0}, {1, 16, 0}, {1, 16, 8}, 0, 0, 8},  // P208
    {fourCC("UYVY"), 0, 1, 0, {0, 16, 8}, {0, 32, 0}, {0, 32, 16}, 0, 0, 8},
    {fourCC("YV12"), 0, 1, 1, {0, 8, 0}, {2, 8, 0}, {1, 8, 0}, 0, 0, 8},
    {fourCC("IYUV"), 0, 1, 1, {0, 8, 0}, {1, 8, 0}, {2, 8, 0}, 0, 0, 8},
    {fourCC("I420"), 0, 1, 1, {0, 8, 0}, {1, 8, 0}, {2, 8, 0}, 0, 0, 8},
};

// So many bits, up to 32, from a bit on.
std::uint32_t bitsAt(const unsigned char* bytes, std::size_t bit, std::uint32_t count) {
    std::uint64_t value = 0;
    const std::size_t first = bit / 8;
    const std::size_t last = (bit + count - 1) / 8;
    for (std::size_t i = last + 1; i-- > first;) value = value << 8 | bytes[i];
    return static_cast<std::uint32_t>(value >> bit % 8 & ((std::uint64_t{1} << count) - 1));
}

std::int32_t signExtended(std::uint32_t value, std::uint32_t bits) {
    return static_cast<std::int32_t>(value << (32 - bits)) >> (32 - bits);
}

// By the rules of Direct3D 11.3 for the conversion of numbers, XR_BIAS among them; the nearest float each.
float floatOf(std::uint32_t value, const Field& field) {
    const double largest = static_cast<double>((std::uint64_t{1} << field.bits) - 1);
    switch (field.number) {
        case unorm:
            return static_cast<float>(value / largest);
        case snorm:
            // The lowest number is -1 as well.
            return static_cast<float>(std::max(signExtended(value, field.bits) / ((largest - 1) / 2), -1.0));
        case unsignedInteger:
            return static_cast<float>(value);
        case signedInteger:
            return static_cast<float>(signExtended(value, field.bits));
        case float32:
            return std::bit_cast<float>(value);
        case extendedRange:
            return static_cast<float>((static_cast<double>(value) - 0x180) / 510.0);
        case none:
            break;
    }
    return 0.0F;
}

std::size_t fieldCount(const FieldFormat& format) {
    const auto isThere = [](const Field& field) { return field.number != none; };
    return static_cast<std::size_t>(std::count_if(format.fields.begin(), format.fields.end(), isThere));
}

void convertFields(const FieldFormat& format, const unsigned char* row, std::uint32_t width, unsigned char* to) {
    const std::size_t count = fieldCount(format);
    for (std::uint32_t x = 0; x < width; ++x, row += format.pixelBytes) {
        for (std::size_t i = 0; i < count; ++i, to += sizeof(float)) {
            const Field& field = format.fields[i];
            const float value = floatOf(bitsAt(row, field.bit, field.bits), field);
            std::memcpy(to, &value, sizeof value);
        }
    }
}

// How many values of colour a row or column of pixels has.
std::uint64_t shared(std::uint32_t pixels, std::uint32_t shift) {
    return ceilQuotient(pixels, 1U << shift);
}

// Values of luminance are whole for every value of colour.
std::uint64_t planeRowBytes(const YuvFormat& format, std::uint32_t plane, std::uint32_t width) {
    const std::uint32_t bits = plane == 0 ? std::uint32_t{format.y.step} << format.xShift : format.u.step;
    return shared(width, format.xShift) * bits / 8;
}

std::uint64_t planeBytes(const YuvFormat& format, std::uint32_t plane, std::uint32_t width, std::uint32_t height) {
    return saturatingProduct(planeRowBytes(format, plane, width), plane == 0 ? height : shared(height, format.yShift));
}

std::uint32_t planeCount(const YuvFormat& format) {
    return std::max(format.u.plane, format.v.plane) + 1U;
}

unsigned char clipped(int value) {
    return static_cast<unsigned char>(std::clamp(value, 0, 255));
}

// Full range from studio range by ITU-R BT.601, in the integers that are published with Direct3D's 8-bit YUV formats.
void convertPixel(int y, int u, int v, unsigned char alpha, unsigned char* bgra) {
    const int c = 298 * (y - 16), d = u - 128, e = v - 128;
    bgra[0] = clipped((c + 516 * d + 128) >> 8);
    bgra[1] = clipped((c - 100 * d - 208 * e + 128) >> 8);
    bgra[2] = clipped((c + 409 * e + 128) >> 8);
    bgra[3] = alpha;
}

class YuvRow {
public:
    YuvRow(const YuvFormat& format, const unsigned char* picture, std::uint32_t width, std::uint32_t height,
           std::uint32_t y)
        : m_format(format) {
        for (std::uint32_t plane = 0; plane < planeCount(format); ++plane) {
            m_rows[plane] = picture + planeRowBytes(format, plane, width) * (plane == 0 ? y : y >> format.yShift);
            picture += planeBytes(format, plane, width, height);
        }
    }

    void convert(std::uint32_t width, unsigned char* to) const {
        for (std::uint32_t x = 0; x < width; ++x, to += 4) {
            const std::uint32_t colour = x >> m_format.xShift;
            convertPixel(at(m_format.y, x), at(m_format.u, colour), at(m_format.v, colour), alphaAt(x), to);
        }
    }

private:
    [[nodiscard]] int at(const Samples& samples, std::uint32_t x) const {
        return static_cast<int>(bitsAt(m_rows[samples.plane], std::size_t{samples.step} * x + samples.bit, 8));
    }
    [[nodiscard]] unsigned char alphaAt(std::uint32_t x) const {
        const std::uint32_t bits = m_format.alphaBits;
        if (bits == 0) return 255;
        const std::size_t bit = std::size_t{m_format.y.step} * x + m_format.alphaBit;
        return static_cast<unsigned char>(bitsAt(m_rows[0], bit, bits) * 255 / ((1U << bits) - 1));
    }

    const YuvFormat& m_format;
    std::array<const unsigned char*, 3> m_rows{};
};

}  // namespace

template <typename IsWanted>
std::optional<Conversion> Conversion::find(IsWanted isWanted) {
    for (const FieldFormat& row : fieldFormats) {
        if (isWanted(row)) return Conversion(&row, nullptr);
    }
    for (const YuvFormat& row : yuvFormats) {
        if (isWanted(row)) return Conversion(nullptr, &row);
    }
    return std::nullopt;
}

std::optional<Conversion> Conversion::ofDxgi(std::uint32_t dxgiFormat) {
    return find([&](const auto& row) { return row.dxgi != 0 && row.dxgi == dxgiFormat; });
}

std::optional<Conversion> Conversion::ofCode(std::uint32_t code) {
    return find([&](const auto& row) { return row.code != 0 && row.code == code; });
}

std::uint32_t Conversion::dxgi() const {
    constexpr std::uint32_t floats[] = {41, 16, 6, 2};
    constexpr std::uint32_t bgra = 87;
    return m_fields != nullptr ? floats[fieldCount(*m_fields) - 1] : bgra;
}

std::string Conversion::words() const {
    if (m_fields != nullptr) return m_fields->words;
    return textOf("YUV of studio range becomes full-range colour by ITU-R BT.601",
                  m_yuv->xShift == 0 ? "" : ", and pixels that share a colour keep sharing it",
                  m_yuv->bits == 8 ? "" : "; of each value the highest 8 bits are used");
}

std::uint64_t Conversion::pictureBytes(std::uint32_t width, std::uint32_t height) const {
    if (m_fields != nullptr) return saturatingProduct(std::uint64_t{m_fields->pixelBytes} * width, height);
    std::uint64_t bytes = 0;
    for (std::uint32_t plane = 0; plane < planeCount(*m_yuv); ++plane) {
        const std::uint64_t more = planeBytes(*m_yuv, plane, width, height);
        bytes = more > UINT64_MAX - bytes ? UINT64_MAX : bytes + more;
    }
    return bytes;
}

std::uint64_t Conversion::rowBytes(std::uint32_t width) const {
    return m_fields != nullptr ? std::uint64_t{m_fields->pixelBytes} * width : planeRowBytes(*m_yuv, 0, width);
}

std::uint64_t Conversion::convertedRowBytes(std::uint32_t width) const {
    return std::uint64_t{width} * (m_fields != nullptr ? fieldCount(*m_fields) * sizeof(float) : 4);
}

void Conversion::convertRow(std::span<const unsigned char> picture, std::uint32_t width, std::uint32_t height,
                            std::uint32_t y, std::span<unsigned char> converted) const {
    if (m_yuv != nullptr) return YuvRow(*m_yuv, picture.data(), width, height, y).convert(width, converted.data());
    const std::size_t rowBytes = std::size_t{m_fields->pixelBytes} * width;
    convertFields(*m_fields, picture.data() + rowBytes * y, width, converted.data());
}

}  // namespace kpx
