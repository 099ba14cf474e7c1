// One walker over the fields of a pixel, and one over YUV planes.
#include "explain/conversion.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "blocks/kernels.h"
#include "dds/checkedSize.h"
#include "dds/dataSize.h"
#include "explain/text.h"

namespace kpx {
namespace {

using enum Number;

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

std::size_t fieldCount(const FieldLayout& format) {
    const auto isThere = [](const Field& field) { return field.number != none; };
    return static_cast<std::size_t>(std::count_if(format.fields.begin(), format.fields.end(), isThere));
}

void convertFields(const FieldLayout& format, const unsigned char* row, std::uint32_t width, unsigned char* to) {
    const std::size_t count = fieldCount(format);
    for (std::uint32_t x = 0; x < width; ++x, row += format.pixelBytes) {
        for (std::size_t i = 0; i < count; ++i, to += sizeof(float)) {
            const Field& field = format.fields[i];
            const float value = floatOf(bitsAt(row, field.bit, field.bits), field);
            std::memcpy(to, &value, sizeof value);
        }
    }
}

// Returns how many chroma values a row or column of pixels has.
std::uint64_t chromaCount(std::uint32_t pixels, std::uint32_t shift) {
    return ceilQuotient(pixels, 1U << shift);
}

// Values of luminance are whole for every value of colour.
std::uint64_t planeRowBytes(const YuvLayout& format, std::uint32_t plane, std::uint32_t width) {
    const std::uint32_t bits = plane == 0 ? std::uint32_t{format.y.step} << format.xShift : format.u.step;
    return chromaCount(width, format.xShift) * bits / 8;
}

std::uint64_t planeBytes(const YuvLayout& format, std::uint32_t plane, std::uint32_t width, std::uint32_t height) {
    return saturatingProduct(planeRowBytes(format, plane, width),
                             plane == 0 ? height : chromaCount(height, format.yShift));
}

std::uint32_t planeCount(const YuvLayout& format) {
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
    YuvRow(const YuvLayout& format, const unsigned char* picture, std::uint32_t width, std::uint32_t height,
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

    const YuvLayout& m_format;
    std::array<const unsigned char*, 3> m_rows{};
};

constexpr std::uint32_t blockBytes = 16;  // of BC3

std::uint64_t blockRowBytes(std::uint32_t width) {
    return std::uint64_t{ceilQuotient(width, 4U)} * blockBytes;
}

// Decodes a row of pixels from its row of blocks, and puts each channel where its picture has it.
void convertBlocks(std::string_view holds, std::span<const unsigned char> blocks, std::uint32_t width,
                   std::uint32_t row, unsigned char* bgra) {
    constexpr std::size_t tileBytes = 16;            // of a row of a tile
    constexpr std::uint8_t stored[] = {1, 2, 3, 0};  // the bytes of red, green, blue and alpha in a decoded texel
    std::array<unsigned char, 4 * tileBytes> tile{};
    const StripKernel decode = bestKernels().strips[BlockKernel::bc3];
    for (std::uint32_t x = 0; x < width; ++x, bgra += 4) {
        if (x % 4 == 0) decode(blocks.data() + x / 4 * std::size_t{blockBytes}, 1, tile.data(), tileBytes);
        const unsigned char* texel = &tile[row * tileBytes + x % 4 * 4];
        for (std::size_t i = 0; i < 4; ++i) {
            const std::size_t held = holds.find("BGRA"[i]);
            bgra[i] = held != std::string_view::npos ? texel[stored[held]] : i == 3 ? 255 : 0;
        }
    }
}

}  // namespace

std::optional<Conversion> Conversion::of(const Format* format) {
    if (format == nullptr) return std::nullopt;
    const Conversion conversion(format->remedy);
    const bool isKnown = conversion.m_fields != nullptr || conversion.m_yuv != nullptr || !conversion.m_holds.empty();
    return isKnown ? std::optional(conversion) : std::nullopt;
}

std::uint32_t Conversion::dxgi() const {
    constexpr std::uint32_t floats[] = {41, 16, 6, 2};
    constexpr std::uint32_t bgra = 87;
    return m_fields != nullptr ? floats[fieldCount(*m_fields) - 1] : bgra;
}

std::string Conversion::words() const {
    if (m_fields != nullptr) return m_fields->words;
    if (m_yuv == nullptr) return "the blocks are decoded as \"DXT5\", and each channel goes to its place";
    return textOf("YUV of studio range becomes full-range colour by ITU-R BT.601",
                  m_yuv->xShift == 0 ? "" : ", and pixels that share a colour keep sharing it",
                  m_yuv->bits == 8 ? "" : "; of each value the highest 8 bits are used");
}

std::uint64_t Conversion::pictureBytes(std::uint32_t width, std::uint32_t height) const {
    if (m_fields != nullptr) return saturatingProduct(std::uint64_t{m_fields->pixelBytes} * width, height);
    if (m_yuv == nullptr) return wholeBlockBytes(width, height, blockBytes);
    std::uint64_t bytes = 0;
    for (std::uint32_t plane = 0; plane < planeCount(*m_yuv); ++plane) {
        const std::uint64_t more = planeBytes(*m_yuv, plane, width, height);
        bytes = more > UINT64_MAX - bytes ? UINT64_MAX : bytes + more;
    }
    return bytes;
}

std::uint64_t Conversion::rowBytes(std::uint32_t width) const {
    if (m_fields != nullptr) return std::uint64_t{m_fields->pixelBytes} * width;
    return m_yuv == nullptr ? blockRowBytes(width) : planeRowBytes(*m_yuv, 0, width);
}

std::uint64_t Conversion::convertedRowBytes(std::uint32_t width) const {
    return std::uint64_t{width} * (m_fields != nullptr ? fieldCount(*m_fields) * sizeof(float) : 4);
}

Conversion::Bytes Conversion::bytesOfRow(std::uint32_t width, std::uint32_t height, std::uint32_t y) const {
    if (m_yuv != nullptr && planeCount(*m_yuv) > 1) return {0, pictureBytes(width, height)};
    const bool isBlocks = m_fields == nullptr && m_yuv == nullptr;
    return {rowBytes(width) * (isBlocks ? y / 4 : y), rowBytes(width)};
}

void Conversion::convertRow(std::span<const unsigned char> bytes, std::uint32_t width, std::uint32_t height,
                            std::uint32_t y, std::span<unsigned char> converted) const {
    if (m_fields != nullptr) return convertFields(*m_fields, bytes.data(), width, converted.data());
    if (m_yuv == nullptr) return convertBlocks(m_holds, bytes, width, y % 4, converted.data());
    const std::uint32_t row = planeCount(*m_yuv) > 1 ? y : 0;
    YuvRow(*m_yuv, bytes.data(), width, height, row).convert(width, converted.data());
}

}  // namespace kpx
