// OpenEXR output: 32-bit float channels, compressed without loss.
#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfIO.h>
#include <ImfOutputFile.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tools/OutputFormat.h"
#include "tools/channelUse.h"
#include "tools/errors.h"

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

Imf::Header headerOf(const ImageLayout& layout, std::string_view names) {
    Imf::Header header(layout.width, layout.height);
    header.compression() = Imf::ZIP_COMPRESSION;
    for (const char name : names) header.channels().insert(std::string(1, name), Imf::Channel(Imf::FLOAT));
    return header;
}

// Every row of the picture lies in the same memory, hence a stride of 0 between rows.
Imf::FrameBuffer frameOf(std::span<const unsigned char* const> rows, std::string_view names) {
    Imf::FrameBuffer frame;
    for (size_t i = 0; i < names.size(); ++i) {
        // The interface takes no pointer to constants; writing a file only reads them.
        char* row = reinterpret_cast<char*>(const_cast<unsigned char*>(rows[i]));
        frame.insert(std::string(1, names[i]), Imf::Slice(Imf::FLOAT, row, sizeof(float), 0));
    }
    return frame;
}

}  // namespace

void writeExr(PixelSource& source, const std::string& path, const std::string& /*name*/,
              const OutputSettings& /*settings*/) {
    const ImageLayout& layout = source.layout();
    if (!layout.isFloat) throw FileError("has 8-bit channels, which OpenEXR cannot hold as they are: write .png");
    const std::string_view names = channelUse(layout).exrNames;
    ExrStream stream(path);
    {
        Imf::OutputFile file(stream, headerOf(layout, names));
        for (int y = 0; y < layout.height; ++y) {
            file.setFrameBuffer(frameOf(source.nextRow(), names));
            file.writePixels(1);
        }
    }
    stream.finish();
}

}  // namespace kpx::tool
