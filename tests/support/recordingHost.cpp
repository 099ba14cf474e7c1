#include "tests/support/recordingHost.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace {

// Has a fixed size, so that recording a call cannot fail.
struct Record {
    char calls[4096];
    size_t length;
    char* held[16];
    size_t heldCount;
    int stringsToFailure;  // 1: the next string fails
    const char* builtPath;
    const ImageHandle* readInReports;
};
thread_local Record record;

void noteList(const char* format, va_list arguments) {
    const size_t room = sizeof record.calls - record.length;
    const int written = vsnprintf(record.calls + record.length, room, format, arguments);
    if (written > 0) record.length += std::min(static_cast<size_t>(written), room - 1);
}

[[gnu::format(printf, 1, 2)]] void note(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    noteList(format, arguments);
    va_end(arguments);
}

char* hold(const char* service, const char* text) {
    note("%s %s\n", service, text);
    if (record.stringsToFailure != 0 && --record.stringsToFailure == 0) return nullptr;
    if (record.heldCount == std::size(record.held)) return nullptr;
    const size_t bytes = std::strlen(text) + 1;
    void* copy = std::malloc(bytes);  // not strdup, which a sanitizer replaces
    if (copy == nullptr) return nullptr;
    std::memcpy(copy, text, bytes);
    record.held[record.heldCount] = static_cast<char*>(copy);
    return record.held[record.heldCount++];
}

}  // namespace

extern "C" {

nl_catd kpx__msg_cat = nullptr;
int kpx__err = 0;
const char* KPX_LITERAL_HARD_FORMAT_TYPE_RGB = "colours of this host";

int kpx__init_ifd(ImageHandle* handle) {
    note("kpx__init_ifd\n");
    std::memset(static_cast<void*>(handle->descriptor), testing_support::descriptorFill, sizeof(ImageFileDescriptor));
    return 0;
}

char* kpx__build_handle(int zero, const char* name, void* nameContext) {
    note("kpx__build_handle %d %s %zd\n", zero, name, reinterpret_cast<intptr_t>(nameContext));
    return const_cast<char*>(record.builtPath);
}

int kpx__free_obj(ImageHandle* handle) {
    note("kpx__free_obj%s\n", handle->pluginData == nullptr ? "" : " with a private block");
    return 0;
}

void ERR_report_cat(nl_catd catalogue, int set, int number, int severity, const char* format, ...) {
    note("%s%d.%d, severity %d: ", catalogue == kpx__msg_cat ? "" : "other catalogue, ", set, number, severity);
    va_list arguments;
    va_start(arguments, format);
    noteList(format, arguments);
    va_end(arguments);
    if (const ImageHandle* handle = record.readInReports; handle != nullptr) {
        unsigned char** rows = nullptr;
        const auto read = reinterpret_cast<ScanlineReadFunction>(handle->scanlineFunction);
        note(read(*handle->pluginData, 0, &rows) == 0 ? ", a row read" : ", no row read");
    }
    note("\n");
}

void ERR_printf(int level, const char* format, ...) {
    note("level %d: ", level);
    va_list arguments;
    va_start(arguments, format);
    noteList(format, arguments);
    va_end(arguments);
}

char* STR_save(const char* text) {
    return hold("STR_save", text);
}

char* STR_define(const char* text) {
    return hold("STR_define", text);
}

float FMT_def_input_gamma(void) {
    note("FMT_def_input_gamma\n");
    return 1.75F;
}

}  // extern "C"

namespace testing_support {

void resetHost() {
    while (record.heldCount != 0) std::free(record.held[--record.heldCount]);
    record.length = 0;
    setBuiltPath(nullptr);
    failHeldString(0);
    readInReports(nullptr);
}

std::string hostCalls() {
    std::string calls(record.calls, record.length);
    record.length = 0;
    return calls;
}

void failHeldString(int nth) {
    record.stringsToFailure = nth;
}

void readInReports(const ImageHandle* handle) {
    record.readInReports = handle;
}

void setBuiltPath(const char* path) {
    record.builtPath = path;
}

LoadedPlugin::LoadedPlugin()
    : m_library(dlopen(KPX_PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL)),
      imageInit(find<ImageInitFunction>("imageInit")),
      imageCapability(find<ImageCapabilityFunction>("imageCapability")),
      KPX_dds_capability(find<ImageCapabilityFunction>("KPX_dds_capability")),
      imageIsFile(find<ImageIsFileFunction>("imageIsFile")),
      imageReadOpen(find<ImageOpenFunction>("imageReadOpen")),
      imageWriteOpen(find<ImageOpenFunction>("imageWriteOpen")) {}

LoadedPlugin::~LoadedPlugin() {
    dlclose(m_library);
}

void* LoadedPlugin::address(const char* name) const {
    if (m_library == nullptr) throw std::runtime_error(dlerror());
    return dlsym(m_library, name);
}

std::string LoadedPlugin::text(const char* name) const {
    const char* value = *find<const char*>(name);
    return value == nullptr ? "null" : value;
}

std::string LoadedPlugin::translatedTexts() const {
    return text("imageName") + " " + text("imageExtension") + " " + text("imageNameSyntax");
}

TestHandle::TestHandle(std::string path) : ImageHandle{}, described{}, m_path(std::move(path)) {
    std::memset(static_cast<void*>(static_cast<ImageHandle*>(this)), handleFill, sizeof(ImageHandle));
    pluginData = nullptr;
    formatName = "Texture";
    name = m_path.data();
    nameIsPath = 1;
    options = nullptr;
    channelFormatData = nullptr;
    imageCount = 1;
    descriptor = nullptr;
    scanlineFunction = nullptr;
    closeFunction = nullptr;
}

TestHandle::~TestHandle() {
    std::free(pluginData);
    if (descriptor != &described) std::free(descriptor);
}

void TestHandle::describe(int width, int height) {
    std::memset(static_cast<void*>(&described), descriptorFill, sizeof described);
    described.window = {0, width - 1, 0, height - 1};
    described.orientation = 2;
    described.channelFormat = const_cast<char*>(KPX_LITERAL_HARD_FORMAT_TYPE_RGB);
    described.channelCount = 3;
    described.channelBits = 8;
    described.matteCount = 1;
    described.matteBits = 8;
    described.auxCount = 0;
    descriptor = &described;
}

}  // namespace testing_support
