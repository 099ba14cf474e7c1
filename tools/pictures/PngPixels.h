// The pixels of a PNG file, filtered and compressed for speed.
#pragma once

#include <functional>
#include <memory>
#include <span>
#include <vector>

namespace kpx::tool {

// Rows are taken in stripes. A sample of each is compressed under every filter, and the filter that makes it smallest
// is the stripe's: pictures of noise, of blocks and of smooth slopes want different ones.
class PngPixels {
public:
    // Takes the compressed bytes, piece by piece; may throw.
    using Sink = std::function<void(std::span<const unsigned char>)>;

    // The sizes of a row and of a pixel, in bytes.
    PngPixels(std::size_t rowSize, std::size_t pixelSize, Sink sink);
    ~PngPixels();
    PngPixels(const PngPixels&) = delete;
    PngPixels& operator=(const PngPixels&) = delete;

    void add(const unsigned char* row);
    // To be called after the last row.
    void finish();

private:
    struct Compressors;

    [[nodiscard]] std::span<const unsigned char> filtered(unsigned char type, std::size_t firstRow, std::size_t rows);
    [[nodiscard]] unsigned char bestFilter();
    void compressStripe(bool isLast);

    std::size_t m_rowSize, m_pixelSize;
    Sink m_sink;
    std::size_t m_stripeRows;               // of a whole stripe
    std::size_t m_rows = 0;                 // of the stripe so far
    std::vector<unsigned char> m_stripe;    // the row above it, then its rows
    std::vector<unsigned char> m_filtered;  // rows, each behind the number of its filter
    std::unique_ptr<Compressors> m_compressors;
};

}  // namespace kpx::tool
