// OpenEXR output: float channels of 16 or 32 bits, compressed without loss.
#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfIO.h>
#include <ImfOutputFile.h>

#include <half.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "tools/pictures/OutputFormat.h"
#include "tools/pictures/channelUse.h"
#include "tools/terminal/console.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

// OpenEXR writes its table of rows in a destructor, where it has to swallow errors: the stream keeps the first.
class ExrStream : public Imf::OStream {
public:
    explicit ExrStream(const std::string& path) : OStream(path.c_str()), m_file(std::fopen(path.c_str(), "wb")) {
        if (m_file == nullptr) throw OutputError(std::string("cannot be created: ") + std::strerror(errno));
    }
    ~ExrStream() override {
        if (m_file != nullptr) std::fclose(m_file);
    }
    ExrStream(const ExrStream&) = delete;
    ExrStream& operator=(const ExrStream&) = delete;

    void write(const char bytes[], int count) override {
        check(std::fwrite(bytes, 1, static_cast<size_t>(count), m_file) == static_cast<size_t>(count));
    }
    uint64_t tellp() override { return static_cast<uint64_t>(ftello(m_file)); }
    void seekp(uint64_t position) override { check(fseeko(m_file, static_cast<off_t>(position), SEEK_SET) == 0); }

    // Throws OutputError when anything since the start has failed.
    void finish() {
        FILE* file = m_file;
        m_file = nullptr;
        if (std::fclose(file) != 0 && m_error == 0) m_error = errno;
        throwError();
    }

private:
    void check(bool succeeded) {
        if (!succeeded && m_error == 0) m_error = errno == 0 ? EIO : errno;
        throwError();
    }
    void throwError() const {
        if (m_error != 0) throw OutputError(std::string("cannot be written: ") + std::strerror(m_error));
    }

    FILE* m_file;
    int m_error = 0;
};

Imf::PixelType typeOf(const PixelSource& source, ExrValues values) {
    const bool isHalf = values == ExrValues::source ? source.traits().isHalf : values == ExrValues::half;
    return isHalf ? Imf::HALF : Imf::FLOAT;
}

Imf::Header headerOf(const ImageLayout& layout, std::string_view names, Imf::PixelType valueType) {
    Imf::Header header(layout.width, layout.height);
    header.compression() = Imf::ZIP_COMPRESSION;
    for (const char name : names) header.channels().insert(std::string(1, name), Imf::Channel(valueType));
    return header;
}

// The rows of a picture on their way to the file, rounded to 16 bits where the file has no more.
class ExrRows {
public:
    ExrRows(const ImageLayout& layout, std::string_view names, Imf::PixelType valueType)
        : m_width(static_cast<size_t>(layout.width)), m_names(names), m_type(valueType) {
        if (valueType == Imf::HALF) m_halves.resize(m_width * names.size());
    }

    // Whether any finite value so far was too large for 16 bits.
    [[nodiscard]] bool hasOverflowed() const { return m_hasOverflowed; }

    // Every row of the picture lies in the same memory, hence a stride of 0 between rows.
    Imf::FrameBuffer frameOf(std::span<const unsigned char* const> rows) {
        Imf::FrameBuffer frame;
        for (size_t i = 0; i < m_names.size(); ++i) {
            // The interface takes no pointer to constants; writing a file only reads them.
            char* row = m_type == Imf::HALF ? roundedRow(rows[i], i)
                                            : reinterpret_cast<char*>(const_cast<unsigned char*>(rows[i]));
            const size_t bytes = m_type == Imf::HALF ? sizeof(Imath::half) : sizeof(float);
            frame.insert(std::string(1, m_names[i]), Imf::Slice(m_type, row, bytes, 0));
        }
        return frame;
    }

private:
    char* roundedRow(const unsigned char* row, size_t channel) {
        Imath::half* halves = &m_halves[channel * m_width];
        for (size_t x = 0; x < m_width; ++x) {
            float value = 0.0F;
            std::memcpy(&value, row + x * sizeof value, sizeof value);
            halves[x] = Imath::half(value);
            m_hasOverflowed |= halves[x].isInfinity() && std::isfinite(value);
        }
        return reinterpret_cast<char*>(halves);
    }

    size_t m_width;
    std::string_view m_names;
    Imf::PixelType m_type;
    std::vector<Imath::half> m_halves;  // one row of each channel in turn
    bool m_hasOverflowed = false;
};

}  // namespace

void writeExr(PixelSource& source, const std::string& path, const std::string& name, const OutputSettings& settings) {
    const ImageLayout& layout = source.layout();
    if (!layout.isFloat) throw FileError("has 8-bit channels, which OpenEXR cannot hold as they are: write .png");
    const std::string_view names = channelUse(layout).exrNames;
    const Imf::PixelType type = typeOf(source, settings.exrValues);
    ExrRows rows(layout, names, type);
    ExrStream stream(path);
    {
        Imf::OutputFile file(stream, headerOf(layout, names, type));
        for (int y = 0; y < layout.height; ++y) {
            file.setFrameBuffer(rows.frameOf(source.nextRow()));
            file.writePixels(1);
        }
    }
    stream.finish();
    if (rows.hasOverflowed()) {
        tell(name, "note: values of 65520 and more have become infinite, as 16 bits hold none; --exr float keeps them");
    }
}

}  // namespace kpx::tool
