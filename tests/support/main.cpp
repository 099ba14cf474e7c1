// Runs the tests of a program in a fixed environment, so that the caller's language, umask and KPX_* variables do not
// matter.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace {

// KPX_REWRITE, which scripts/golden.sh sets, is for the tests themselves.
bool isOfCaller(std::string_view variable) {
    if (variable.starts_with("KPX_")) return !variable.starts_with("KPX_REWRITE=");
    return variable.starts_with("LC_") || variable.starts_with("LANG") || variable.starts_with("NLSPATH=");
}

void clearEnvironment() {
    std::vector<std::string> names;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        const std::string_view text = *variable;
        if (isOfCaller(text)) names.emplace_back(text.substr(0, text.find('=')));
    }
    for (const std::string& name : names) unsetenv(name.c_str());
    setenv("LC_ALL", "C.UTF-8", 1);
}

}  // namespace

int main(int argc, char** argv) {
    clearEnvironment();
    umask(022);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
