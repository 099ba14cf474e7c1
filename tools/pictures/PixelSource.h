// An open image, whatever file it comes from, read row by row from the top.
#pragma once

#include <malloc.h>

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
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

// Where the channels of an image go in each output format.

// The rows of an image that become the channels of an output.
struct Pick {
    static constexpr std::int8_t zero = -1;  // not a row: the channel is 0 everywhere

    std::uint8_t count;
    std::array<std::int8_t, 4> rows;  // their places in the image

    // Returns the row of a channel of the output; `zeros` for one that is 0.
    [[nodiscard]] const unsigned char* row(std::size_t channel, std::span<const unsigned char* const> source,
                                           const unsigned char* zeros) const {
        return rows[channel] == zero ? zeros : source[static_cast<std::size_t>(rows[channel])];
    }
};

struct ChannelUse {
    int colours;
    int mattes;
    Pick png;                // grey, grey and alpha, RGB or RGBA, by its count
    Pick dds;                // RGB or RGBA
    std::string_view names;  // of the image's channels in order, one letter each
};

// Returns the channels with these names, in any order; null if no image has them.
const ChannelUse* channelUse(std::string_view names);

// Throws FileError for a set of channels that no image has.
const ChannelUse& channelUse(const ImageLayout& layout);

// Makes the C allocator keep the buffers of one picture for the next. By default it returns them to the system after
// each file, and faulting in fresh memory, 4 KiB at a time, makes 500 pictures of 256 by 256 take 1.5 times as long.
// For programs and modules that are about pictures; a library leaves this to its host.
inline void keepMemoryBetweenPictures() {
    constexpr int largestKept = 8 << 20;
    mallopt(M_MMAP_THRESHOLD, largestKept);
    mallopt(M_TRIM_THRESHOLD, 8 * largestKept);
}

}  // namespace kpx::tool
