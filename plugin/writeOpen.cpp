// Opens an image for writing: checks the host's image, reads the options and installs the callbacks.
#include <cerrno>
#include <cstring>
#include <memory>
#include <new>

#include "plugin/options.h"
#include "plugin/protocol.h"
#include "writer/TddsWriter.h"

namespace {

using kpx::TddsWriter;

enum class Kind {
    collected,       // report, and go on with the next check
    stopping,        // report, and refuse the image at once
    stopsAfterNext,  // report, and refuse the image after one more check
};

// Reasons to refuse an image, in the order in which they are checked.
struct Check {
    bool (*refuses)(const ImageHandle& handle);
    int message;
    int severity;
    const char* text;
    Kind kind;
    bool namesChannelFormat;  // the second argument of the text
};

const ImageFileDescriptor& imageOf(const ImageHandle& handle) {
    return *handle.descriptor;
}

bool isRgb(const char* channelFormat) {
    return channelFormat != nullptr && std::strcmp(channelFormat, KPX_LITERAL_HARD_FORMAT_TYPE_RGB) == 0;
}

constexpr const char* multipleImages = "%s cannot store multiple images";
constexpr const char* channelFormat = "%s cannot handle image channel format, \"%s\"";

constexpr Check checks[] = {
    {[](const ImageHandle& h) { return h.imageCount > 1; }, 61, kpx::errorSeverity, multipleImages, Kind::collected,
     false},
    {[](const ImageHandle& h) { return h.descriptor == nullptr; }, 61, kpx::errorSeverity, multipleImages,
     Kind::stopping, false},
    {[](const ImageHandle& h) { return h.channelFormatData != nullptr; }, 75, kpx::errorSeverity, channelFormat,
     Kind::collected, true},
    {[](const ImageHandle& h) { return imageOf(h).orientation != kpx::bottomUpOrientation; }, 50, kpx::errorSeverity,
     "Invalid orientation for \"%s\" format", Kind::collected, false},
    {[](const ImageHandle& h) { return !isRgb(imageOf(h).channelFormat); }, 75, kpx::errorSeverity, channelFormat,
     Kind::collected, true},
    {[](const ImageHandle& h) { return imageOf(h).channelCount != 3; }, 75, kpx::errorSeverity, channelFormat,
     Kind::collected, true},
    {[](const ImageHandle& h) { return imageOf(h).channelBits != 8; }, 73, kpx::errorSeverity,
     "%s cannot handle image channel width", Kind::collected, false},
    {[](const ImageHandle& h) { return imageOf(h).matteCount > 1; }, 78, kpx::errorSeverity,
     "%s cannot handle multiple matte channels", Kind::collected, false},
    {[](const ImageHandle& h) { return imageOf(h).matteBits != 8; }, 80, kpx::errorSeverity,
     "%s cannot handle matte channel width", Kind::stopsAfterNext, false},
    {[](const ImageHandle& h) { return imageOf(h).auxCount != 0; }, 68, kpx::warningSeverity,
     "%s cannot use auxiliary channels", Kind::stopping, false},
};

const char* orEmpty(const char* text) {
    return text == nullptr ? "" : text;
}

void report(const Check& check, const ImageHandle& handle) {
    const char* name = orEmpty(handle.formatName);
    if (check.namesChannelFormat) {
        ERR_report_cat(kpx__msg_cat, kpx::errorSet, check.message, check.severity, check.text, name,
                       orEmpty(imageOf(handle).channelFormat));
    } else {
        ERR_report_cat(kpx__msg_cat, kpx::errorSet, check.message, check.severity, check.text, name);
    }
}

// Returns whether the image can be stored, and reports each reason against it.
bool acceptsOrReports(const ImageHandle& handle) {
    bool accepted = true;
    bool lastCheck = false;
    for (const Check& check : checks) {
        const bool stopHere = lastCheck;
        if (check.refuses(handle)) {
            report(check, handle);
            kpx__err = kpx::refusedCode;
            accepted = false;
            if (check.kind == Kind::stopping) return false;
            lastCheck = check.kind == Kind::stopsAfterNext;
        }
        if (stopHere) return false;
    }
    return accepted;
}

struct Choices {
    std::uint8_t alpha = kpx::outputAlpha;
    std::uint8_t compression = kpx::compressionOff;
};

bool isOption(std::uint16_t code) {
    for (const CapabilityEntry& row : kpx::optionRows()) {
        if (row.code == code) return true;
    }
    return false;
}

// Reads the settings in order. At the first with an unknown code, reports it and stops.
Choices readOptions(OptionSetting* const* settings) {
    Choices choices;
    if (settings == nullptr) return choices;
    for (; *settings != nullptr; ++settings) {
        const OptionSetting& setting = **settings;
        if (!isOption(setting.code)) {
            ERR_report_cat(kpx__msg_cat, kpx::errorSet, 92, kpx::warningSeverity,
                           "Unknown type-specific capability code (%d) specified when trying to open image file",
                           static_cast<unsigned>(setting.code));
            kpx__err = kpx::refusedCode;
            break;
        }
        if (setting.code == kpx::alphaOption) choices.alpha = setting.value[0];
        if (setting.code == kpx::compressionOption) choices.compression = setting.value[0];
    }
    return choices;
}

// Returns the number of pixels from first to last, inclusive; 0 if last is before first. Only the full range of 2^32
// pixels does not fit 32 bits; it becomes a number that the writer refuses as too large.
unsigned pixelsFromTo(std::int32_t first, std::int32_t last) {
    if (last < first) return 0;
    const std::int64_t pixels = std::int64_t{last} - first + 1;
    return pixels > UINT32_MAX ? UINT32_MAX : static_cast<unsigned>(pixels);
}

// Opens the writer, or refuses a null file name and a window without pixels. Returns 0, or -1 with errno set.
int openWriter(TddsWriter& writer, const char* path, const ImageFileDescriptor& image, const Choices& choices) {
    if (path == nullptr) {
        errno = ENOENT;
        return -1;
    }
    const unsigned width = pixelsFromTo(image.window.xMin, image.window.xMax);
    const unsigned height = pixelsFromTo(image.window.yMin, image.window.yMax);
    if (width == 0 || height == 0) {
        errno = EINVAL;
        return -1;
    }
    const bool alpha = image.matteCount == 1 && choices.alpha == kpx::outputAlpha;
    return writer.open(path, width, height, static_cast<unsigned>(image.channelCount), alpha ? 1 : 0,
                       choices.compression);
}

}  // namespace

extern "C" {

int imageWriteOpen(ImageHandle* handle) {
    if (!kpx::attachPrivateBlock(handle)) {
        kpx::reportNoMemory();
        return 0;
    }
    kpx__err = 0;
    // After a refusal the private block stays attached; the host releases it with the handle.
    if (!acceptsOrReports(*handle)) return 0;

    std::unique_ptr<TddsWriter> writer(new (std::nothrow) TddsWriter);
    if (writer == nullptr) {
        kpx::reportNoMemory();
        kpx::detachPrivateBlock(handle);
        return 0;
    }
    *handle->pluginData = writer.get();
    handle->scanlineFunction = reinterpret_cast<ScanlineFunction>(ScanlineWriteCallback);
    handle->closeFunction = WriterCloseCallback;
    const Choices choices = readOptions(handle->options);
    const char* path = kpx::pathOf(handle);
    if (openWriter(*writer, path, *handle->descriptor, choices) < 0) {
        writer->lacksMemory() ? kpx::reportNoMemory() : kpx::reportCannotOpen(path, errno);
        writer.reset();
        kpx::detachPrivateBlock(handle);
        return 0;
    }
    (void)writer.release();  // from here on owned by the private block
    kpx__err = 0;
    return 1;
}

int ScanlineWriteCallback(void* object, int y, unsigned char** rows) {
    const bool stored = object != nullptr && static_cast<TddsWriter*>(object)->setScanlineChannelsAsBytes(y, rows) >= 0;
    kpx__err = stored ? 0 : kpx::scanlineFailure;
    return kpx__err;
}

int WriterCloseCallback(ImageHandle* handle) {
    kpx__err = 0;
    if (handle == nullptr) return 0;
    if (handle->pluginData != nullptr) {
        delete static_cast<TddsWriter*>(*handle->pluginData);
        kpx::detachPrivateBlock(handle);
    }
    kpx__free_obj(handle);
    return kpx__err;
}

}  // extern "C"
