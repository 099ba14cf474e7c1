// Opens an image for reading: loads it, fills the descriptor and installs the callbacks.
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <new>

#include "plugin/protocol.h"
#include "reader/TddsReader.h"

namespace {

using kpx::TddsReader;

constexpr int bitsOfTwoBytes = 16;

void installCallbacks(ImageHandle* handle) {
    handle->hostFlags = 0;
    handle->scanlineFunction = reinterpret_cast<ScanlineFunction>(ScanlineReadCallback);
    handle->closeFunction = ReaderCloseCallback;
}

// Describes the image in the descriptor, which the host has set to its defaults. Returns false if a string cannot be
// allocated; the fields before it are set then.
bool describe(ImageFileDescriptor& image, const TddsReader& reader) {
    const unsigned width = reader.width();
    const unsigned height = reader.height();
    image.height = static_cast<std::int32_t>(height);
    image.width = static_cast<std::int32_t>(width);
    // The host's ratio is a whole number, and 0 for a picture without rows.
    const unsigned wholeRatio = height == 0 ? 0 : width / height;
    image.aspectRatio = static_cast<float>(wholeRatio);
    image.channelFormat = STR_save(KPX_LITERAL_HARD_FORMAT_TYPE_RGB);
    if (image.channelFormat == nullptr) return false;
    image.channelCount = reader.numColourChannels();
    image.channelBits = reader.bitsPerChannel();
    // The protocol only has 1 and 2; 32-bit floats are declared as 2.
    image.channelBytes = image.channelBits >= bitsOfTwoBytes ? 2 : 1;
    image.window = {0, static_cast<std::int32_t>(width - 1), 0, static_cast<std::int32_t>(height - 1)};
    image.secondWindow = image.window;
    image.readyFlag = 1;
    image.gamma = FMT_def_input_gamma();
    image.orientation = kpx::bottomUpOrientation;

    if (reader.hasAlphaChannel() != 0) {
        image.matteFormat = STR_save(kpx::translated(131, "unknown"));
        if (image.matteFormat == nullptr) return false;
        image.matteCount = 1;
        image.matteBits = reader.bitsPerChannel();
        image.matteBytes = 1;  // as the protocol requires, also for floats
    } else {
        image.matteFormat = nullptr;
        image.matteCount = 0;
        image.matteBits = 0;
    }
    image.auxFormat = nullptr;
    image.auxCount = 0;
    image.auxBits = 0;
    return true;
}

// Attaches a descriptor with the host's defaults. Returns false if it cannot be allocated.
bool attachDescriptor(ImageHandle* handle) {
    handle->descriptor = static_cast<ImageFileDescriptor*>(std::calloc(1, sizeof(ImageFileDescriptor)));
    if (handle->descriptor == nullptr) return false;
    kpx__init_ifd(handle);
    return true;
}

int failWithoutMemory(ImageHandle* handle) {
    kpx::reportNoMemory();
    kpx::detachPrivateBlock(handle);
    return 0;
}

}  // namespace

extern "C" {

int imageReadOpen(ImageHandle* handle) {
    if (!kpx::attachPrivateBlock(handle)) return failWithoutMemory(handle);
    const char* path = kpx::pathOf(handle);
    std::unique_ptr<TddsReader> reader(new (std::nothrow) TddsReader);
    if (reader == nullptr) return failWithoutMemory(handle);

    const int openResult = path == nullptr ? -1 : reader->open(path);
    if (openResult < 0) {
        kpx::reportCannotOpen(path, path == nullptr ? ENOENT : errno);
        kpx__err = kpx::cannotReadCode;
        // The private block stays attached; the host releases it with the handle.
        return 0;
    }
    *handle->pluginData = reader.get();
    handle->imageCount = 1;
    bool isDescribed = attachDescriptor(handle);
    if (isDescribed) {
        installCallbacks(handle);
        isDescribed = describe(*handle->descriptor, *reader);
    }
    if (!isDescribed) {
        // Report first: while the host handles the report, it still finds the reader in pluginData.
        kpx::reportNoMemory();
        reader.reset();
        kpx::detachPrivateBlock(handle);
        return 0;
    }
    (void)reader.release();  // from here on owned by the private block
    return 1;
}

int ScanlineReadCallback(void* object, int y, unsigned char*** rows) {
    if (object == nullptr) return kpx::scanlineFailure;
    *rows = static_cast<TddsReader*>(object)->getScanlineChannelsAsBytes(y);
    return *rows != nullptr ? 0 : kpx::scanlineFailure;
}

int ReaderCloseCallback(ImageHandle* handle) {
    if (handle == nullptr) return 0;
    if (handle->pluginData != nullptr) {
        delete static_cast<TddsReader*>(*handle->pluginData);
        kpx::detachPrivateBlock(handle);
    }
    kpx__free_obj(handle);
    return 0;
}

}  // extern "C"
