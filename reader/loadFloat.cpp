// Loads floating-point images. Halves, singles and both packed formats become 32-bit floats, exactly.
#include <cstring>

#include "reader/TddsReader.h"
#include "reader/loading.h"

namespace kpx {
namespace {

using WidenKernel = void (*)(const unsigned char* values, std::size_t count, float* out);

// The conversion of a row of the file to a row of floats.
struct RowConversion {
    WidenKernel widen;           // null: the file already holds 32-bit floats
    std::uint64_t valuesPerRow;  // passed to widen
};

RowConversion conversionOf(const Format& format, const KernelSet& kernels, std::uint32_t width) {
    if (format.loader == Loader::r11g11b10) return {kernels.r11g11b10ToFloats, width};
    if (format.loader == Loader::r9g9b9e5) return {kernels.r9g9b9e5ToFloats, width};
    const std::uint64_t channels = std::uint64_t{width} * format.channels;
    return {format.has(isHalf) ? kernels.halfsToFloats : nullptr, channels};
}

}  // namespace

int TddsReader::loadFloatingPointImage(std::FILE* stream) {
    return loadFloats(stream, Loader::floatingPoint);
}

int TddsReader::loadR11G11B10FloatingPointImage(std::FILE* stream) {
    return loadFloats(stream, Loader::r11g11b10);
}

int TddsReader::loadR9G9B9E5FloatingPointImage(std::FILE* stream) {
    return loadFloats(stream, Loader::r9g9b9e5);
}

// Unlike the loaders of bytes, prints no message if an allocation fails.
int TddsReader::loadFloats(std::FILE* stream, Loader loader) {
    const Format* format = formatFor(loader);
    if (format == nullptr) return -1;
    const LoadPlan plan = planFor(loader, format);
    RecordReader rows(plan.fileRowBytes, m_height);
    if (!begin(plan) || !rows.allocate()) return -1;
    const RowConversion conversion = conversionOf(*format, m_kernels, m_width);
    const std::uint64_t rowFloats = plan.storedRowBytes / sizeof(float);

    // An incomplete row, and all after it, stay zero.
    auto* out = reinterpret_cast<float*>(m_pixels.data());
    const std::uint64_t wholeRows =
        rows.read(stream, [&out, &conversion, rowFloats](const unsigned char* values, std::uint64_t count) {
            if (conversion.widen == nullptr) {
                std::memcpy(out, values, count * rowFloats * sizeof(float));
            } else {
                conversion.widen(values, count * conversion.valuesPerRow, out);
            }
            out += count * rowFloats;
        });
    m_pixels.zeroFrom(wholeRows * plan.storedRowBytes);
    return 0;
}

}  // namespace kpx
