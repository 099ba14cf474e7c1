// Loads plug-ins by dlopen. All exports are checked before the plug-in is called.
#include "host/Plugin.h"

#include <dlfcn.h>
#include <locale.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "host/Catalogue.h"
#include "host/HostError.h"
#include "host/messages.h"

namespace kpx::host {
namespace {

// The variables that every plug-in exports. A text may be null until imageInit has run.
constexpr std::array texts = {"imageKey",          "imageName", "imageExtension", "imageNameSyntax",
                              "imageFormatString", "type",      "version",        "program"};
constexpr std::array numbers = {"imageAccess",
                                "imageSupportsActiveWindow",
                                "imageNumberOfChannels",
                                "imageBitsPerChannel",
                                "imageNumberOfMattes",
                                "imageBitsPerMatte",
                                "imageOrientation",
                                "imageUsage",
                                "imageAddExtension",
                                "imageMultiFrame",
                                "imageNumberOfZChannels",
                                "imageBitsPerZChannel",
                                "imageNumberOfLuts",
                                "imageBitsPerLut"};
constexpr std::array functions = {"imageInit", "imageCapability", "imageIsFile", "imageReadOpen"};
constexpr const char* protocolVersion = "3.2";
constexpr uint16_t lastValue = 0xFFFF;

// dlsym returns functions as object pointers; POSIX guarantees the conversion.
template <typename Function>
Function asFunction(void* symbol) {
    return reinterpret_cast<Function>(symbol);
}

// Makes the services of this library global, as plug-ins look for them there. They already are if the program is linked
// with the library, but not if the library was loaded by an interpreter's module.
void exportServices() {
    Dl_info self{};
    if (dladdr(&protocolVersion, &self) != 0) dlopen(self.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_GLOBAL);
}

// Returns the message of dlerror, in English like the sentence around it.
std::string englishLoadError() {
    const locale_t english = newlocale(LC_ALL_MASK, "C", nullptr);
    const locale_t before = english == nullptr ? nullptr : uselocale(english);
    std::string text = dlerror();
    if (english != nullptr) {
        uselocale(before);
        freelocale(english);
    }
    return text;
}

void* load(const std::string& path) {
    exportServices();
    void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) throw HostError("cannot load the plug-in: " + englishLoadError());
    return library;
}

std::vector<OptionValue> valuesOf(const CapabilityEntry& row) {
    std::vector<OptionValue> values;
    if (row.values == nullptr || row.values->entries == nullptr) return values;
    for (const CapabilityValue* value = row.values->entries; value->code != lastValue; ++value) {
        const char* text = value->defaultText == nullptr ? "" : value->defaultText;
        values.push_back({value->code, catalogueText(value->catalogSet, value->messageNumber, text), text});
    }
    return values;
}

}  // namespace

Plugin::Plugin(const std::string& path) : m_path(path), m_library(load(path)) {
    try {
        checkExports();
        openCatalogueOfEnvironment();
        if (asFunction<ImageInitFunction*>(symbol("imageInit"))() != 1) {
            throw HostError("cannot use the plug-in " + path + ": it could not be initialised");
        }
        m_readOpen = asFunction<ImageOpenFunction*>(symbol("imageReadOpen"));
        m_writeOpen = asFunction<ImageOpenFunction*>(dlsym(m_library, "imageWriteOpen"));
        m_isFile = asFunction<ImageIsFileFunction*>(symbol("imageIsFile"));
        readOptions();
    } catch (...) {
        dlclose(m_library);
        throw;
    }
}

Plugin::~Plugin() {
    dlclose(m_library);
}

void* Plugin::symbol(const char* name) const {
    void* found = dlsym(m_library, name);
    if (found == nullptr) throw HostError("cannot use the plug-in " + m_path + ": it does not export " + name);
    return found;
}

const char* Plugin::text(const char* variable) const {
    return *static_cast<const char**>(symbol(variable));
}

void Plugin::checkExports() const {
    for (const char* name : texts) symbol(name);
    for (const char* name : numbers) symbol(name);
    for (const char* name : functions) symbol(name);
    const char* version = text("version");
    if (version == nullptr || std::strcmp(version, protocolVersion) != 0) {
        throw HostError("cannot use the plug-in " + m_path + ": its version is \"" +
                        (version == nullptr ? "" : version) + "\", not \"" + protocolVersion + "\"");
    }
}

void Plugin::readOptions() {
    CapabilityEntry* rows = nullptr;
    int flag1Rows = 0;
    int flag2Rows = 0;
    int rowCount = 0;
    asFunction<ImageCapabilityFunction*>(symbol("imageCapability"))(&rows, &flag1Rows, &flag2Rows, &rowCount);
    for (int i = 0; rows != nullptr && i < rowCount; ++i) {
        const CapabilityEntry& row = rows[i];
        const char* name = row.defaultText == nullptr ? "" : row.defaultText;
        m_options.push_back(
            {row.code, catalogueText(row.catalogSet, row.messageNumber, name), name, row.flags, valuesOf(row)});
    }
}

bool Plugin::isFile(const std::string& path) const {
    FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) throw systemError("cannot open the file", errno);
    const bool recognised = m_isFile(nullptr, file) == 1;
    std::fclose(file);
    return recognised;
}

}  // namespace kpx::host
