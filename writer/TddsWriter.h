// Stores one image as an uncompressed DDS file of 24-bit BGR or 32-bit BGRA. The image is collected in memory; close
// writes the file.
#pragma once

#include <cstdint>
#include <cstdio>

#include "blocks/kernels.h"
#include "dds/LazyBuffer.h"

namespace kpx {

class TddsWriter {
public:
    // kernels must run on this processor. All sets write the same file.
    explicit TddsWriter(const KernelSet& kernels = bestKernels());
    virtual ~TddsWriter();
    TddsWriter(const TddsWriter&) = delete;
    TddsWriter& operator=(const TddsWriter&) = delete;

    // Creates a file of width x height pixels with `channels` colour channels, plus alpha if alpha is not 0.
    // compression is stored and has no effect. An image without pixels becomes a file with only a header. Returns 0, or
    // -1 with errno set: EFBIG, before the file is touched, if the image exceeds 4 GiB; else the reason why the file
    // cannot be created. If the image cannot be allocated, returns -1 with the file created and closed, and lacksMemory
    // is true.
    int open(const char* path, unsigned width, unsigned height, unsigned channels, unsigned alpha,
             unsigned compression);

    // Returns whether the last open failed because the image could not be allocated.
    bool lacksMemory() const { return m_lacksMemory; }

    // Stores scanline y (0 is the bottom of the picture) from one row per channel, in the order red, green, blue,
    // matte. Each row has width values. With four channels the file has them in the order 2, 1, 0, 3; else in reverse
    // order. Returns 0, or -1 if y is outside the image.
    int setScanlineChannelsAsBytes(int y, unsigned char** rows);

    // Writes the file and releases everything; safe to call repeatedly. Write errors are not reported.
    void close();

private:
    // Orders the host's rows as the channels in the file.
    void arrangeChannels(unsigned char* const* rows);
    void writeHeader();
    void writeData();

    std::FILE* m_file;
    std::uint32_t m_paddedWidth;  // the width in the file, a multiple of 4
    std::uint32_t m_height;
    std::uint32_t m_rowBytes;
    std::uint32_t m_colourChannels;
    std::uint32_t m_hasAlpha;
    std::uint32_t m_totalChannels;
    std::uint32_t m_compression;  // stored for callers; every file is written uncompressed
    unsigned char** m_channelCursors;
    LazyBuffer m_pixels;  // the rows of the file, top row first; rows that are never set are zero

    std::uint32_t m_width;  // of the host's rows
    bool m_lacksMemory;
    const KernelSet& m_kernels;
};

}  // namespace kpx
