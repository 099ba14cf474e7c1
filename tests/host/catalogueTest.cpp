// Compares the message catalogues with the texts in the plug-in, and uses the German one.
#include <gtest/gtest.h>
#include <nl_types.h>

#include <map>
#include <regex>
#include <utility>

#include "tests/support/Tool.h"

namespace {

namespace fs = std::filesystem;
using testing_support::RunResult;
using testing_support::textOfFile;
using testing_support::Tool;

// Texts by set and number.
using Texts = std::map<std::pair<int, int>, std::string>;

constexpr int textSet = 901;
constexpr int errorSet = 902;

// Returns the matches of a pattern, with their groups.
std::vector<std::smatch> matchesOf(const std::string& pattern, const std::string& text) {
    const std::regex regex(pattern);
    return {std::sregex_iterator(text.begin(), text.end(), regex), {}};
}

// Returns every number in the plug-in's sources that is followed by a text, quoted or a constant, with a severity
// between them for errors.
Texts textsOfPlugin() {
    Texts texts;
    for (const auto& entry : fs::directory_iterator(KPX_SOURCE_DIR "/plugin")) {
        if (entry.path().extension() != ".cpp") continue;
        const std::string written = textOfFile(entry.path());
        std::string source = written;
        for (const auto& constant : matchesOf(R"re(constexpr const char\* (\w+) = ("(?:[^"\\]|\\.)*"))re", written)) {
            source = std::regex_replace(source, std::regex("\\b" + constant.str(1) + "\\b"), constant.str(2));
        }
        const char* numbered =
            R"re(\b(\d{2,3}),\s+(?:kpx::)?(errorSeverity,|warningSeverity,)?\s*"((?:[^"\\]|\\.)*)")re";
        for (const std::smatch& match : matchesOf(numbered, source)) {
            const std::string text = std::regex_replace(match.str(3), std::regex(R"(\\(.))"), "$1");
            const std::pair place(match[2].matched ? errorSet : textSet, std::stoi(match[1]));
            EXPECT_EQ(texts.emplace(place, text).first->second, text) << "two texts of number " << place.second;
        }
    }
    return texts;
}

// Returns every message of a catalogue, read by catopen like a host.
Texts textsOfCatalogue(const std::string& language) {
    Texts texts;
    nl_catd catalogue = catopen((std::string(KPX_CATALOGUES "/") + language + "/kpxbase.cat").c_str(), 0);
    if (reinterpret_cast<intptr_t>(catalogue) == -1) return texts;
    const char* const missing = "";
    for (const int set : {textSet, errorSet}) {
        for (int number = 1; number < 1000; ++number) {
            const char* text = catgets(catalogue, set, number, missing);
            if (text != missing) texts[{set, number}] = text;
        }
    }
    catclose(catalogue);
    return texts;
}

std::string conversionsOf(const std::string& text) {
    std::string all;
    for (const std::smatch& conversion : matchesOf("%[^%a-zA-Z]*[a-zA-Z%]", text)) all += conversion.str();
    return all;
}

TEST(Catalogue, HasExactlyTheTextsOfThePlugin) {
    const Texts texts = textsOfPlugin();
    EXPECT_EQ(texts.at({textSet, 131}), "unknown");
    EXPECT_EQ(texts.at({errorSet, 75}), "%s cannot handle image channel format, \"%s\"");
    EXPECT_EQ(textsOfCatalogue("en"), texts);
}

TEST(Catalogue, HasEveryTextInGerman) {
    const Texts german = textsOfCatalogue("de");
    const Texts english = textsOfCatalogue("en");
    ASSERT_EQ(german.size(), english.size());
    for (const auto& [place, text] : english) {
        ASSERT_TRUE(german.contains(place)) << place.first << "." << place.second;
        EXPECT_EQ(conversionsOf(german.at(place)), conversionsOf(text)) << place.first << "." << place.second;
        if (place.first == errorSet) {
            EXPECT_NE(german.at(place), text);
        }
    }
}

TEST_F(Tool, UsesTheLanguageOfTheCatalogue) {
    const std::string german = "NLSPATH='" KPX_CATALOGUES "/de/%N'";
    const struct {
        const char* what;
        std::string environment, option;
    } cases[] = {
        {"no catalogue", "NLSPATH=/nowhere/%N", "Compression: Off (0)"},
        {"found by its name", german, "Kompression: Aus (0)"},
        {"named", "KPX_CATALOG='" KPX_CATALOGUES "/de/kpxbase.cat'", "Kompression: Aus (0)"},
        {"of another locale", "NLSPATH='" KPX_CATALOGUES "/%l/kpxbase.cat'", "Compression: Off (0)"},
    };
    for (const auto& c : cases) {
        const RunResult formats = run("formats", "LC_ALL=C " + c.environment);
        EXPECT_NE(formats.out.find(c.option), std::string::npos) << c.what << formats.out;
    }
}

// In a German locale, the system's reasons stay English like the sentences around them.
TEST_F(Tool, PrintsSystemErrorsInEnglish) {
    const std::string german = "LOCPATH='" + at("") + "' LC_ALL=de_DE.UTF-8";
    (void)shell("localedef -i de_DE -f UTF-8 ./de_DE.UTF-8");
    if (shell(german + " cat missing").err.find("nicht gefunden") == std::string::npos) {
        GTEST_SKIP() << "there are no German messages of the system: install the package locales";
    }
    const struct {
        const char *arguments, *reason;
    } cases[] = {{"info missing.dds", "missing.dds: cannot open the file: No such file or directory"},
                 {"formats --plugin /no.so", "/no.so: cannot open shared object file: No such file or directory"},
                 {"convert missing.png -o .", "No such file or directory"}};
    for (const auto& c : cases) {
        const RunResult result = run(c.arguments, german);
        EXPECT_NE(result.err.find(c.reason), std::string::npos) << result.err;
    }
}

}  // namespace
