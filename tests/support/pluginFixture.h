// The built plug-in, loaded by the test program, with a fresh host and a folder of its own.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "tests/support/recordingHost.h"

namespace testing_support {

// An empty folder, removed with whatever is in it.
class Folder {
public:
    Folder() {
        std::string pattern = testing::TempDir() + "kpxplugin-XXXXXX";
        m_path = mkdtemp(pattern.data());
    }
    ~Folder() { std::filesystem::remove_all(m_path); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    [[nodiscard]] std::string at(const std::string& name) const { return (m_path / name).string(); }

private:
    std::filesystem::path m_path;
};

// kpx__err before every test.
inline constexpr int oldError = 77;

class PluginFixture : public testing::Test {
protected:
    PluginFixture() {
        resetHost();
        kpx__err = oldError;
    }
    ~PluginFixture() override { resetHost(); }

    LoadedPlugin m_plugin;
    Folder m_folder;
};

}  // namespace testing_support
