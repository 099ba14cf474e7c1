// The message catalogues against the plug-in's own texts, and a German one at work.
#include <gtest/gtest.h>
#include <nl_types.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <regex>
#include <string>
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

std::string unquoted(const std::string& literal) {
    return std::regex_replace(literal, std::regex(R"(\\(.))"), "$1");
}

// Every number in the plug-in's sources that a text follows: in quotes or by the name of a constant, and with a
// severity between them where it is an error's.
Texts textsOfPlugin() {
    Texts texts;
    for (const auto& entry : fs::directory_iterator(KPX_SOURCE_DIR "/plugin")) {
        if (entry.path().extension() != ".cpp") continue;
        const std::string source = textOfFile(entry.path());
        std::map<std::string, std::string> constants;
        const std::regex constant(R"re(constexpr const char\* (\w+) = "((?:[^"\\]|\\.)*)")re");
        for (std::sregex_iterator i(source.begin(), source.end(), constant), end; i != end; ++i) {
            constants[(*i)[1]] = unquoted((*i)[2]);
        }
        const std::regex text(
            R"re(\b(\d{2,3}),\s+(?:kpx::)?(errorSeverity,|warningSeverity,)?\s*(?:"((?:[^"\\]|\\.)*)"|(\w+)))re");
        for (std::sregex_iterator i(source.begin(), source.end(), text), end; i != end; ++i) {
            const std::smatch& match = *i;
            if (!match[3].matched && !constants.contains(match[4])) continue;
            const int set = match[2].matched ? errorSet : textSet;
            const std::string value = match[3].matched ? unquoted(match[3]) : constants[match[4]];
            const auto [place, isNew] = texts.emplace(std::pair{set, std::stoi(match[1])}, value);
            EXPECT_EQ(place->second, value) << "two texts of number " << match[1];
        }
    }
    return texts;
}

// Every message of a catalogue, through catopen as a host does.
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
    const std::regex conversion("%[^%a-zA-Z]*[a-zA-Z%]");
    for (std::sregex_iterator i(text.begin(), text.end(), conversion), end; i != end; ++i) all += i->str();
    return all;
}

TEST(Catalogue, InEnglishHasTheTextsOfThePluginAndNoOthers) {
    const Texts texts = textsOfPlugin();
    EXPECT_EQ(texts.at({textSet, 131}), "unknown");
    EXPECT_EQ(texts.at({errorSet, 75}), "%s cannot handle image channel format, \"%s\"");
    EXPECT_EQ(textsOfCatalogue("en"), texts);
}

TEST(Catalogue, InGermanHasEveryTextWithItsConversions) {
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

TEST_F(Tool, SpeaksTheLanguageOfTheCatalogue) {
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

}  // namespace
