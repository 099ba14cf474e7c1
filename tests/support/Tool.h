// kpximage run as a user runs it, in a folder of its own.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace testing_support {

inline std::string textOfFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

struct RunResult {
    int status;
    std::string out, err;
};

class Tool : public testing::Test {
protected:
    Tool() {
        std::string pattern = testing::TempDir() + "kpxtool-XXXXXX";
        m_folder = mkdtemp(pattern.data());
    }
    ~Tool() override { std::filesystem::remove_all(m_folder); }

    [[nodiscard]] std::string at(const std::string& name) const { return (m_folder / name).string(); }

    void file(const std::string& name, std::string_view bytes) const {
        std::ofstream(at(name), std::ios::binary) << bytes;
    }

    // Runs the program in the folder, with arguments as a shell takes them, and `before` in front of it.
    [[nodiscard]] RunResult run(const std::string& arguments, const std::string& before = "") const {
        return shell(before + " KPX_PLUGIN='" KPX_PLUGIN_PATH "' '" KPX_TOOL_PATH "' " + arguments);
    }

    // Runs any command of a shell in the folder.
    [[nodiscard]] RunResult shell(const std::string& line) const {
        const std::string prefix = m_folder.string();
        const std::string command =
            "cd '" + prefix + "' && { " + line + "; } >'" + prefix + ".out' 2>'" + prefix + ".err'";
        const int status = std::system(command.c_str());
        RunResult result{WIFEXITED(status) ? WEXITSTATUS(status) : -1, textOfFile(prefix + ".out"),
                         textOfFile(prefix + ".err")};
        std::filesystem::remove(prefix + ".out");
        std::filesystem::remove(prefix + ".err");
        return result;
    }

    // The names in the folder, in order.
    [[nodiscard]] std::string names() const {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(m_folder))
            found.push_back(entry.path().filename());
        std::sort(found.begin(), found.end());
        std::string joined;
        for (const std::string& name : found) joined += (joined.empty() ? "" : " ") + name;
        return joined;
    }

private:
    std::filesystem::path m_folder;
};

}  // namespace testing_support
