// Tests that manual pages and completions are well-formed, have everything that the help has, and work in bash.
#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <string>

#include "tests/support/Tool.h"

namespace {

using testing_support::RunResult;
using testing_support::Tool;

class Documents : public Tool {
protected:
    [[nodiscard]] bool isInstalled(const std::string& program) const {
        return shell("command -v " + program).status == 0;
    }

    // Returns the names in the first column of a command's help, below the heading.
    [[nodiscard]] std::set<std::string> offered(const std::string& command, const std::string& heading,
                                                const std::string& pattern) const {
        std::string help = run(command + " --help").out;
        help.erase(0, help.find(heading));
        std::set<std::string> names;
        const std::regex line("\n  (" + pattern + ")");
        const std::regex name("[a-z-]*[a-z]");
        for (std::sregex_iterator i(help.begin(), help.end(), line), end; i != end; ++i) {
            const std::string column = (*i)[1];
            for (std::sregex_iterator j(column.begin(), column.end(), name); j != end; ++j) names.insert(j->str());
        }
        return names;
    }
    [[nodiscard]] std::set<std::string> commands() const { return offered("", "Subcommands:", "[a-z]+"); }
    [[nodiscard]] std::set<std::string> options(const std::string& command) const {
        return offered(command, "Options:", "-[a-z,-]+");
    }

    // Returns what bash offers to complete the last word of a line.
    [[nodiscard]] std::string completed(const std::string& words, int last) const {
        const std::string path = std::filesystem::path(KPX_TOOL_PATH).parent_path();
        return shell("PATH='" + path +
                     "':$PATH bash --norc --noprofile -uc 'source \"" KPX_COMPLETIONS "/kpximage\"; COMP_WORDS=(" +
                     words + "); COMP_CWORD=" + std::to_string(last) + "; _kpximage; echo \"${COMPREPLY[*]}\"'")
            .out;
    }
};

TEST_F(Documents, AreAcceptedByTheirReaders) {
    const struct {
        const char *program, *reading;
    } cases[] = {
        {"groff", "for i in '" KPX_DOCUMENTS "'/*.gz; do zcat \"$i\" | groff -man -ww -Tutf8 >/dev/null; done"},
        {"bash", "bash -n '" KPX_COMPLETIONS "/kpximage'"},
        {"zsh", "zsh -n '" KPX_COMPLETIONS "/_kpximage'"},
        {"fish", "fish -n '" KPX_COMPLETIONS "/kpximage.fish'"}};
    std::string missing;
    for (const auto& c : cases) {
        if (!isInstalled(c.program)) {
            missing += std::string(" ") + c.program;
            continue;
        }
        const RunResult result = shell(c.reading);
        EXPECT_EQ(result.status, 0) << c.program;
        EXPECT_EQ(result.err, "") << c.program;
    }
    if (!missing.empty()) GTEST_SKIP() << "not installed:" << missing;
}

TEST_F(Documents, DescribeEveryOptionOfEveryCommand) {
    const auto has = [](const std::string& text, const std::string& part) { return text.find(part) != text.npos; };
    ASSERT_TRUE(commands().contains("convert"));
    ASSERT_TRUE(options("convert").contains("--swizzle"));
    for (const std::string& command : commands()) {
        const std::string page = shell("zcat '" KPX_DOCUMENTS "/kpximage-" + command + ".1.gz'").out;
        for (const char* part : {".SS \"Exit status:\"", ".SH ENVIRONMENT", "beside the program", "guide.md"})
            EXPECT_TRUE(has(page, part)) << command << part;
        for (const std::string& option : options(command))
            EXPECT_TRUE(has(page, std::regex_replace(option, std::regex("-"), "\\-"))) << command << option;
    }
}

TEST_F(Documents, CompleteInBash) {
    const struct {
        const char* words;
        int last;
        const char* expected;
    } cases[] = {
        {"kpximage con", 1, "convert\n"},
        {"kpximage --plug", 1, "--plugin\n"},
        {"kpximage --plugin x.so ex", 3, "explain\n"},
        {"kpximage convert --swiz", 2, "--swizzle\n"},
        {"kpximage convert --exr ha", 3, "half\n"},
        {"kpximage convert --exr float --op", 4, "--opaque --option\n"},
        {"kpximage thumbnail --si", 2, "--size\n"},
        {"kpximage info --swiz", 2, "\n"},
        {"kpximage info --only bl", 3, "black\n"},
        {"kpximage help spl", 2, "split\n"},
        // bash itself completes files.
        {"kpximage convert con", 2, "\n"},
    };
    for (const auto& c : cases) EXPECT_EQ(completed(c.words, c.last), c.expected) << c.words;
}

}  // namespace
