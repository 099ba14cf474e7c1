// Pixels of formats that are not decoded, made into pixels that are, by the published formulas. Pure functions over the
// bytes of one picture.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "dds/formatTable.h"

namespace kpx {

// What a format of a table becomes: floats of as many channels as it has fields, or 8-bit BGRA.
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
    // A row of it, of luminance where that has a plane of its own.
    [[nodiscard]] std::uint64_t rowBytes(std::uint32_t width) const;
    [[nodiscard]] std::uint64_t convertedRowBytes(std::uint32_t width) const;

    // Row y, 0 being the first in the file, of a picture whose data is all there. converted has convertedRowBytes.
    void convertRow(std::span<const unsigned char> picture, std::uint32_t width, std::uint32_t height, std::uint32_t y,
                    std::span<unsigned char> converted) const;

private:
    explicit Conversion(const Remedy& remedy) : m_fields(remedy.fields), m_yuv(remedy.yuv) {}

    // One of them is null.
    const FieldLayout* m_fields;
    const YuvLayout* m_yuv;
};

}  // namespace kpx
