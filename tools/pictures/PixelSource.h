// An image opened for conversion, whatever file it comes from, read row by row from the top.
#pragma once

#include <memory>
#include <span>
#include <string>

#include "host/Plugin.h"
#include "tools/files/OpenFile.h"

namespace kpx::tool {

struct ImageLayout {
    int width;   // at least 1
    int height;  // at least 1
    int colours;
    int mattes;
    bool isFloat;  // values are 32-bit floats, otherwise bytes
};

enum class SourceKind { dds, png };

// What the format of a file says of its values.
struct SourceTraits {
    bool isSrgb = false;
    bool isHalf = false;        // floats that were stored with 16 bits
    bool lacksBlue = false;     // blue is 0, as the format has only red and green
    bool ignoresAlpha = false;  // what is delivered as alpha has no meaning
    bool isRed = false;         // the one colour is red, not grey
};

class PixelSource {
public:
    virtual ~PixelSource() = default;

    [[nodiscard]] virtual SourceKind kind() const = 0;
    [[nodiscard]] virtual const ImageLayout& layout() const = 0;

    [[nodiscard]] virtual SourceTraits traits() const { return {}; }

    // Whether the picture only stands for one that cannot be decoded.
    [[nodiscard]] virtual bool isBlack() const { return false; }

    // Whether the file supplies every row of its picture.
    [[nodiscard]] virtual bool isWhole() const { return true; }

    // Makes the next row the top one again. Of DDS images only.
    virtual void rewind() {}

    // The next picture row, from the top, as one row of values a channel, colours before the matte. Lasts until
    // the next call; to be called `height` times. Throws FileError or host::HostError.
    virtual std::span<const unsigned char* const> nextRow() = 0;
};

// Whether the file has the signature of PNG. Throws FileError.
bool isPng(const OpenFile& file);

// Opens a PNG file or an image of the plug-in's format. PNG files of 16 bits a channel are refused unless they may be
// reduced to 8. Throws FileError or host::HostError.
std::unique_ptr<PixelSource> openSource(const host::Plugin& plugin, OpenFile file, bool reduceTo8Bits);

}  // namespace kpx::tool
