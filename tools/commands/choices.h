// Options whose values are words that stand for the enumerators of a type.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <utility>
#include <vector>

#include "explain/findings.h"

namespace kpx::tool {

// Adds an option that takes one of the words.
template <typename Value>
CLI::Option* addChoice(CLI::App& command, const std::string& name, Value& value,
                       const std::vector<std::pair<std::string, Value>>& choices, const std::string& help) {
    std::vector<std::string> words;
    words.reserve(choices.size());
    for (const auto& choice : choices) words.push_back(choice.first);
    const auto choose = [&value, choices](const std::string& word) {
        for (const auto& choice : choices) {
            if (choice.first == word) value = choice.second;
        }
    };
    return command.add_option_function<std::string>(name, choose, help)->check(CLI::IsMember(words));
}

// Adds --only, which takes a grade.
inline void addOnly(CLI::App& command, Grade& grade) {
    std::vector<std::pair<std::string, Grade>> grades;
    for (int i = 0; i <= static_cast<int>(Grade::unreadable); ++i) grades.emplace_back(gradeName(Grade(i)), Grade(i));
    addChoice(command, "--only", grade, grades, "Show only files of this grade or a worse one");
}

}  // namespace kpx::tool
