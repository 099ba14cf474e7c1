// The built plug-in, loaded by the test program, with a fresh host and a folder of its own.
#pragma once

#include "tests/support/Folder.h"
#include "tests/support/recordingHost.h"

namespace testing_support {

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
