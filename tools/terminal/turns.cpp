// A thread's actions wait in a list of its own.
#include "tools/terminal/turns.h"

#include <optional>
#include <utility>

#include "tools/terminal/StdoutSilence.h"

namespace kpx::tool {
namespace {

thread_local std::optional<Actions> waiting;

}  // namespace

void inTurn(std::function<void()> action) {
    if (waiting)
        waiting->push_back(std::move(action));
    else
        action();
}

void print(const std::string& text) {
    inTurn([text] { printAfterSilence(text); });
}

Turn::Turn() {
    waiting.emplace();
}

Turn::~Turn() {
    waiting.reset();
}

Actions Turn::takeActions() {
    return std::exchange(*waiting, {});
}

}  // namespace kpx::tool
