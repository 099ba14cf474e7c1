// The part of the host protocol that reading and writing share: texts, messages, paths and the private block.
#include <cstdlib>
#include <cstring>

#include "plugin/protocol.h"

namespace kpx {

const char* translated(int number, const char* text) {
    return kpx__msg_cat != nullptr ? catgets(kpx__msg_cat, textSet, number, text) : text;
}

void reportNoMemory() {
    ERR_report_cat(kpx__msg_cat, errorSet, 94, errorSeverity, "No more internal memory");
}

void reportCannotOpen(const char* path, int reason) {
    ERR_report_cat(kpx__msg_cat, errorSet, 52, errorSeverity, "Cannot open file %s; %s", path == nullptr ? "" : path,
                   std::strerror(reason));
}

const char* pathOf(ImageHandle* handle) {
    if (handle->nameIsPath != 0) return handle->name;
    return kpx__build_handle(0, handle->name, handle->nameContext);
}

bool attachPrivateBlock(ImageHandle* handle) {
    handle->pluginData = static_cast<void**>(std::calloc(1, sizeof(void*)));
    return handle->pluginData != nullptr;
}

void detachPrivateBlock(ImageHandle* handle) {
    std::free(handle->pluginData);
    handle->pluginData = nullptr;
}

}  // namespace kpx
