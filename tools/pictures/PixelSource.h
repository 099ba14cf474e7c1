// An open image, whatever file it comes from, read row by row from the top.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "host/Plugin.h"
#include "tools/files/OpenFile.h"

namespace kpx::tool {

struct ImageLayout {
    int width;   // at least 1
    int height;  // at least 1
    int colours;
    int mattes;
    bool isFloat;  // values are 32-bit floats, otherwise bytes

    [[nodiscard]] std::size_t channels() const {
        return static_cast<std::size_t>(colours) + static_cast<std::size_t>(mattes);
    }
};

// What the format of a file says about its values.
struct SourceTraits {
    bool isSrgb = false;
    bool isHalf = false;        // floats that were stored with 16 bits
    bool ignoresAlpha = false;  // the alpha channel has no meaning
    bool isRed = false;         // the one colour is red, not grey
};

class PixelSource {
public:
    virtual ~PixelSource() = default;

    [[nodiscard]] virtual const ImageLayout& layout() const = 0;

    [[nodiscard]] virtual SourceTraits traits() const { return {}; }

    // Whether this is the black picture that stands for one that cannot be decoded.
    [[nodiscard]] virtual bool isBlack() const { return false; }

    // Whether the file supplies every row of its picture.
    [[nodiscard]] virtual bool isWhole() const { return true; }

    // Starts again at the top row. PNG images are read only once.
    virtual void rewind() {}

    // Returns the next row from the top: one row of values per channel, colours before the matte. Valid until the next
    // call. Requires: called at most `height` times. Throws FileError or host::HostError.
    virtual std::span<const unsigned char* const> nextRow() = 0;
};

// One row of values per channel, zero at first.
class ChannelRows {
public:
    explicit ChannelRows(const ImageLayout& layout) : ChannelRows(layout, layout.channels()) {}
    ChannelRows(const ImageLayout& layout, std::size_t channels)
        : m_width(static_cast<std::size_t>(layout.width)),
          m_rowBytes(m_width * (layout.isFloat ? sizeof(float) : 1)),
          m_values(m_rowBytes * channels) {
        for (std::size_t i = 0; i < channels; ++i) m_rows.push_back(row(i));
    }
    ChannelRows(const ChannelRows&) = delete;
    ChannelRows& operator=(const ChannelRows&) = delete;

    [[nodiscard]] std::size_t width() const { return m_width; }
    [[nodiscard]] unsigned char* row(std::size_t channel) { return &m_values[channel * m_rowBytes]; }
    [[nodiscard]] std::span<const unsigned char* const> rows() const { return m_rows; }

private:
    std::size_t m_width, m_rowBytes;
    std::vector<unsigned char> m_values;
    std::vector<const unsigned char*> m_rows;
};

// Whether the file has the signature of PNG. Throws FileError.
bool isPng(const OpenFile& file);

// Opens a PNG file or an image of the plug-in's format. PNG files of 16 bits per channel are refused unless they may
// be reduced to 8. Throws FileError or host::HostError.
std::unique_ptr<PixelSource> openSource(const host::Plugin& plugin, OpenFile file, bool reduceTo8Bits);

}  // namespace kpx::tool
