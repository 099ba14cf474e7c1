// Fills a handle for writing, opens and closes it through the plug-in, and checks the size of the file.
#include "host/ImageWriter.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <new>

#include "host/HostError.h"
#include "host/handle.h"
#include "host/messages.h"

namespace kpx::host {
namespace {

constexpr size_t headerSize = 128;
constexpr size_t heightOffset = 12;
constexpr size_t widthOffset = 16;
constexpr size_t pitchOffset = 20;

char* savedString(const char* text) {
    char* copy = STR_save(text);
    if (copy == nullptr) throw std::bad_alloc();
    return copy;
}

uint64_t word(const std::array<char, headerSize>& header, size_t offset) {
    uint64_t value = 0;
    for (size_t i = 4; i-- > 0;) value = value << 8 | static_cast<unsigned char>(header[offset + i]);
    return value;
}

// Returns the width in the header. Throws HostError if the file is incomplete.
uint32_t widthOfWholeFile(const std::string& path) {
    std::array<char, headerSize> header{};
    std::ifstream file(path, std::ios::binary);
    file.read(header.data(), headerSize);
    if (file.gcount() != headerSize) {
        throw HostError("could not be written: only " + std::to_string(file.gcount()) +
                        " bytes were written; is the disk full?");
    }
    const uint64_t expected = headerSize + word(header, heightOffset) * word(header, pitchOffset);
    std::error_code error;
    const uint64_t actual = std::filesystem::file_size(path, error);
    if (error || actual != expected) {
        throw HostError("could not be written: " + std::to_string(error ? 0 : actual) + " of " +
                        std::to_string(expected) + " bytes were written; is the disk full?");
    }
    return static_cast<uint32_t>(word(header, widthOffset));
}

}  // namespace

ImageWriter::ImageWriter(const Plugin& plugin, std::string path, const ImageShape& shape,
                         const std::vector<OptionChoice>& choices)
    : m_path(std::move(path)) {
    if (!plugin.canWrite()) throw HostError("the plug-in does not write images");
    for (const OptionChoice& choice : choices) m_settings.push_back({choice.code, 0, {choice.value, 0, 0, 0}});
    for (OptionSetting& setting : m_settings) m_settingPointers.push_back(&setting);
    m_settingPointers.push_back(nullptr);
    m_handle = newHandle(m_path, plugin.name());
    try {
        openHandle(plugin, shape);
    } catch (...) {
        kpx__free_obj(m_handle);
        throw;
    }
}

ImageWriter::~ImageWriter() {
    if (m_handle != nullptr) m_handle->closeFunction(m_handle);
}

void ImageWriter::openHandle(const Plugin& plugin, const ImageShape& shape) {
    describe(shape);
    ReportCollector reports;
    errno = 0;  // quoted in the plug-in's message
    if (!plugin.writeOpen(m_handle)) {
        const int cause = errno;
        throw HostError(reports.take("the plug-in cannot write the image and gives no reason"), cause);
    }
}

void ImageWriter::describe(const ImageShape& shape) {
    m_handle->options = m_settingPointers.data();
    m_handle->imageCount = 1;
    m_handle->descriptor = static_cast<ImageFileDescriptor*>(std::malloc(sizeof(ImageFileDescriptor)));
    if (m_handle->descriptor == nullptr) throw std::bad_alloc();
    kpx__init_ifd(m_handle);
    ImageFileDescriptor& descriptor = *m_handle->descriptor;
    descriptor.width = shape.width;
    descriptor.height = shape.height;
    descriptor.window = {0, shape.width - 1, 0, shape.height - 1};
    descriptor.secondWindow = descriptor.window;
    descriptor.orientation = 2;
    descriptor.channelFormat = savedString(KPX_LITERAL_HARD_FORMAT_TYPE_RGB);
    descriptor.channelCount = 3;
    descriptor.matteCount = shape.hasMatte ? 1 : 0;
    descriptor.readyFlag = 1;
}

void ImageWriter::scanline(int y, unsigned char** rows) {
    const auto write = reinterpret_cast<ScanlineWriteFunction>(m_handle->scanlineFunction);
    if (write(m_handle->pluginData[0], y, rows) != 0) {
        throw HostError("the plug-in does not accept scanline " + std::to_string(y));
    }
}

uint32_t ImageWriter::close() {
    ImageHandle* handle = m_handle;
    m_handle = nullptr;
    // The result is the error code of the whole process, which another thread may have set. The file is checked
    // instead.
    handle->closeFunction(handle);
    return widthOfWholeFile(m_path);
}

}  // namespace kpx::host
