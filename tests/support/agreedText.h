// Files of questions and their expected answers. An answer consists of the lines below its question that start with a
// space. Empty lines and comments (#) separate the entries. If KPX_REWRITE is set in the environment, the answers are
// rewritten, to be reviewed as a diff.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

namespace testing_support {

struct AgreedEntry {
    std::string heading;  // empty lines and comments above the question
    std::string question;
    std::string answer;
};

inline std::vector<AgreedEntry> readAgreed(const std::string& path) {
    std::vector<AgreedEntry> entries;
    std::string heading;
    std::ifstream stream(path);
    for (std::string line; std::getline(stream, line);) {
        if (line.starts_with(' ')) {
            entries.back().answer += line + "\n";
        } else if (line.empty() || line[0] == '#') {
            heading += line + "\n";
        } else {
            entries.push_back({std::exchange(heading, ""), line, ""});
        }
    }
    EXPECT_FALSE(entries.empty()) << path;
    return entries;
}

// Compares the entries with those of the file from number `first` on, or rewrites those.
inline void expectAgreed(const std::string& path, const std::vector<AgreedEntry>& entries, std::size_t first = 0) {
    std::vector<AgreedEntry> agreed = readAgreed(path);
    ASSERT_LE(first + entries.size(), agreed.size());
    if (std::getenv("KPX_REWRITE") != nullptr && !testing::Test::HasFailure()) {
        for (std::size_t i = 0; i < entries.size(); ++i) agreed[first + i] = entries[i];
        std::ofstream stream(path);
        for (const AgreedEntry& each : agreed) stream << each.heading << each.question << "\n" << each.answer;
    }
    for (std::size_t i = 0; i < entries.size(); ++i)
        EXPECT_EQ(entries[i].answer, agreed[first + i].answer) << path << ": " << agreed[first + i].question;
}

}  // namespace testing_support
