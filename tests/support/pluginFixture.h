// A fixture with the built plug-in, a fresh host and a temporary folder.
#pragma once

#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/Folder.h"
#include "tests/support/recordingHost.h"

namespace testing_support {

// kpx__err before every test.
inline constexpr int oldError = 77;

// Returns the plug-in's report of a file that it cannot open for a reason (errno).
inline std::string cannotOpen(const std::string& path, int reason) {
    return "902.52, severity 3: Cannot open file " + path + "; " + std::strerror(reason) + "\n";
}
inline std::string cannotRecognise(const std::string& path, int reason) {
    return "level 3: imageIsFile, can't open `" + path + "'. " + std::strerror(reason) + "\n";
}

// Runs work on four threads, numbered from 0.
template <typename Work>
void inThreads(Work work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) threads.emplace_back(work, i);
    for (std::thread& thread : threads) thread.join();
}

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
