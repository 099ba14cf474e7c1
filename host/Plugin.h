// A loaded format plug-in: its description and its entry points.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/kpxbase.h"

namespace kpx::host {

// A value of an option: its code and its display name.
struct OptionValue {
    uint16_t code;
    std::string name;         // from the catalogue, else the default
    std::string defaultName;  // as in the plug-in
};

struct Option {
    uint16_t code;
    std::string name;
    std::string defaultName;
    uint32_t flags;
    std::vector<OptionValue> values;
};

class Plugin {
public:
    // Loads and initialises the plug-in at a path, after opening the catalogue of the environment. Throws HostError if
    // that fails, an export is missing or the version is not "3.2".
    explicit Plugin(const std::string& path);
    ~Plugin();
    Plugin(const Plugin&) = delete;
    Plugin& operator=(const Plugin&) = delete;

    [[nodiscard]] const std::string& path() const { return m_path; }
    [[nodiscard]] const char* name() const { return text("imageName"); }
    [[nodiscard]] const char* extension() const { return text("imageExtension"); }

    [[nodiscard]] const std::vector<Option>& options() const { return m_options; }

    // Returns whether the plug-in recognises the file. Throws HostError if the file cannot be opened.
    [[nodiscard]] bool isFile(const std::string& path) const;

    [[nodiscard]] bool canWrite() const { return m_writeOpen != nullptr; }

    // Call the entry points, for ImageReader and ImageWriter. Return whether the plug-in accepts the image.
    bool readOpen(ImageHandle* handle) const { return m_readOpen(handle) == 1; }
    bool writeOpen(ImageHandle* handle) const { return m_writeOpen(handle) == 1; }

private:
    void checkExports() const;
    void readOptions();
    void* symbol(const char* name) const;  // throws HostError if there is none
    [[nodiscard]] const char* text(const char* variable) const;

    std::string m_path;
    void* m_library;
    ImageOpenFunction* m_readOpen = nullptr;
    ImageOpenFunction* m_writeOpen = nullptr;
    ImageIsFileFunction* m_isFile = nullptr;
    std::vector<Option> m_options;
};

}  // namespace kpx::host
