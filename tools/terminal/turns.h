// Results of files that are worked on at once, told in the order of the files.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace kpx::tool {

using Actions = std::vector<std::function<void()>>;

// Does what tells a file's result: at once, or, while the thread has a Turn, when that is asked for its actions.
void inTurn(std::function<void()> action);

// Writes to standard output, in turn; never into the silence that plug-ins are kept in.
void print(const std::string& text);

// The work of this thread on a file whose turn may not have come.
class Turn {
public:
    Turn();
    ~Turn();
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    [[nodiscard]] Actions takeActions();
};

}  // namespace kpx::tool
