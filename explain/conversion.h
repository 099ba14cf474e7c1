// Pixels of formats that are not decoded, made into pixels that are, by the published formulas. Pure functions over the
// bytes of one picture.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "dds/formatTable.h"

namespace kpx {

// What a format of the table becomes: fields become floats of as many channels, YUV and blocks with swapped channels
// become 8-bit BGRA.
class Conversion {
public:
    // None if the remedy of the format is another; format may be null.
    static std::optional<Conversion> of(const Format* format);

    // The DXGI format of the pixels made: 41, 16, 6 or 2 for one to four 32-bit floats, 87 for BGRA.
    [[nodiscard]] std::uint32_t dxgi() const;
    // What is done to the values and what is lost, a clause.
    [[nodiscard]] std::string words() const;

    // The data of a picture as it is; the largest number where it does not fit in one.
    [[nodiscard]] std::uint64_t pictureBytes(std::uint32_t width, std::uint32_t height) const;
    // A row of it, of luminance if that has a plane of its own; of blocks a row of these.
    [[nodiscard]] std::uint64_t rowBytes(std::uint32_t width) const;
    [[nodiscard]] std::uint64_t convertedRowBytes(std::uint32_t width) const;

    // Which bytes of a picture its row y is made from, 0 being the first in the file: all, if it has several planes.
    struct Bytes {
        std::uint64_t start, count;
        bool operator==(const Bytes&) const = default;
    };
    [[nodiscard]] Bytes bytesOfRow(std::uint32_t width, std::uint32_t height, std::uint32_t y) const;
    // Converts row y from those bytes. converted has convertedRowBytes.
    void convertRow(std::span<const unsigned char> bytes, std::uint32_t width, std::uint32_t height, std::uint32_t y,
                    std::span<unsigned char> converted) const;

private:
    explicit Conversion(const Remedy& remedy)
        : m_fields(remedy.fields),
          m_yuv(remedy.yuv),
          m_holds(remedy.kind == Remedy::Kind::swizzle ? remedy.text : "") {}

    // Two of them are null or empty.
    const FieldLayout* m_fields;
    const YuvLayout* m_yuv;
    std::string_view m_holds;  // the channels that the blocks' red, green, blue and alpha are
};

}  // namespace kpx
