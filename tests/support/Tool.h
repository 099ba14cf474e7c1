// Runs kpximage like a user, in a temporary folder.
#pragma once

#include <sys/wait.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/support/Folder.h"

namespace testing_support {

struct RunResult {
    int status;
    std::string out, err;
};

class Tool : public testing::Test, public Folder {
protected:
    void SetUp() override {
        if (sizeof KPX_TOOL_PATH == 1) GTEST_SKIP() << "built without the tool";
    }

    // Runs the program in the folder. The arguments are parsed by a shell; `before` precedes the program's name.
    [[nodiscard]] RunResult run(const std::string& arguments, const std::string& before = "") const {
        return shell(before + " KPX_PLUGIN='" KPX_PLUGIN_PATH "' '" KPX_TOOL_PATH "' " + arguments);
    }

    // Runs a shell command in the folder.
    [[nodiscard]] RunResult shell(const std::string& line) const {
        const std::string prefix = std::filesystem::path(at("")).parent_path();
        const std::string command =
            "cd '" + prefix + "' && { " + line + "; } >'" + prefix + ".out' 2>'" + prefix + ".err'";
        const int status = std::system(command.c_str());
        RunResult result{WIFEXITED(status) ? WEXITSTATUS(status) : -1, textOfFile(prefix + ".out"),
                         textOfFile(prefix + ".err")};
        std::filesystem::remove(prefix + ".out");
        std::filesystem::remove(prefix + ".err");
        return result;
    }

    // Returns the sorted names in the folder.
    [[nodiscard]] std::string names() const {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(at(""))) found.push_back(entry.path().filename());
        std::sort(found.begin(), found.end());
        std::string joined;
        for (const std::string& name : found) joined += (joined.empty() ? "" : " ") + name;
        return joined;
    }
};

}  // namespace testing_support
