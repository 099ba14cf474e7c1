// A temporary folder of a test, with its files.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <span>
#include <string>
#include <string_view>

namespace testing_support {

inline std::string textOfFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline std::string textOf(std::span<const unsigned char> bytes) {
    return {bytes.begin(), bytes.end()};
}

// Removed by the destructor, with its content.
class Folder {
public:
    Folder() {
        std::string pattern = testing::TempDir() + "kpx-XXXXXX";
        m_folder = mkdtemp(pattern.data());
    }
    ~Folder() { std::filesystem::remove_all(m_folder); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    [[nodiscard]] std::string at(const std::string& name) const { return (m_folder / name).string(); }

    // Writes a file and returns its path.
    std::string file(const std::string& name, std::string_view bytes) const {
        std::ofstream(at(name), std::ios::binary) << bytes;
        return at(name);
    }
    std::string file(const std::string& name, std::span<const unsigned char> bytes) const {
        return file(name, textOf(bytes));
    }

    // Returns the path of a message catalogue, compiled from messages such as "$set 901\n423 Name\n".
    [[nodiscard]] std::string catalogue(const std::string& messages) const {
        const std::string command = "gencat '" + at("messages.cat") + "' '" + file("messages.msg", messages) + "'";
        EXPECT_EQ(std::system(command.c_str()), 0);
        return at("messages.cat");
    }

private:
    std::filesystem::path m_folder;
};

}  // namespace testing_support
