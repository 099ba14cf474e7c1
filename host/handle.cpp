// Creates and releases handles and descriptors, and sets their defaults.
#include "host/handle.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include "host/strings.h"

using namespace kpx::host;

int kpx__err = 0;
const char* KPX_LITERAL_HARD_FORMAT_TYPE_RGB = "RGB";

float FMT_def_input_gamma() {
    return 2.2F;
}

ImageHandle* kpx::host::newHandle(std::string& path, const char* formatName) {
    auto* handle = static_cast<ImageHandle*>(std::calloc(1, sizeof(ImageHandle)));
    if (handle == nullptr) throw std::bad_alloc();
    handle->formatName = formatName;
    handle->name = path.data();
    handle->nameIsPath = 1;
    return handle;
}

int kpx__init_ifd(ImageHandle* handle) {
    if (handle == nullptr || handle->descriptor == nullptr) return -1;
    ImageFileDescriptor& descriptor = *handle->descriptor;
    std::memset(&descriptor, 0, sizeof descriptor);
    descriptor.gamma = FMT_def_input_gamma();
    descriptor.aspectRatio = 1.0F;
    descriptor.channelBytes = 1;
    descriptor.channelBits = 8;
    descriptor.matteBytes = 1;
    descriptor.matteBits = 8;
    return 0;
}

// Also frees the descriptor and its strings, and the private block, which a refused open leaves attached. The caller
// owns name and options.
int kpx__free_obj(ImageHandle* handle) {
    if (handle == nullptr) return 0;
    if (ImageFileDescriptor* descriptor = handle->descriptor; descriptor != nullptr) {
        releaseString(descriptor->channelFormat);
        releaseString(descriptor->matteFormat);
        releaseString(descriptor->auxFormat);
        std::free(descriptor);
    }
    std::free(static_cast<void*>(handle->pluginData));
    std::free(handle);
    return 0;
}
