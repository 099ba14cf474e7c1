// Tests the order of the five places where kpximage searches its plug-in, with a copy of the program in an installed
// tree.
#include <map>

#include "tests/support/Tool.h"

namespace {

namespace fs = std::filesystem;
using testing_support::RunResult;
using testing_support::Tool;

class PluginChoice : public Tool {
protected:
    // Returns the path of a place by its letter in a case.
    [[nodiscard]] std::string placeOf(char letter) const {
        const std::map<char, const char*> places = {{'o', "option.so"},
                                                    {'e', "environment.so"},
                                                    {'1', "first/KPXDDS.so"},
                                                    {'2', "second/KPXDDS.so"},
                                                    {'c', "KPXDDS.so"},
                                                    {'b', "usr/bin/KPXDDS.so"},
                                                    {'i', "usr/bin/" KPX_INSTALLED_FROM_PROGRAM "/KPXDDS.so"}};
        return fs::path(at(places.at(letter))).lexically_normal();
    }

    // Makes an installed tree with plug-ins only in the places of the letters.
    void install(const std::string& letters) const {
        fs::create_directories(at("usr/bin"));
        fs::copy_file(KPX_TOOL_PATH, at("usr/bin/kpximage"));
        for (const char letter : letters) {
            fs::create_directories(fs::path(placeOf(letter)).parent_path());
            fs::copy_file(KPX_PLUGIN_PATH, placeOf(letter));
        }
    }

    [[nodiscard]] RunResult formats(const std::string& environment, const std::string& option) const {
        return shell("env -u KPX_PLUGIN -u KPX_PLUGIN_PATH " + environment + " usr/bin/kpximage formats " + option);
    }
};

TEST_F(PluginChoice, TakesTheFirstPlaceInOrder) {
    const struct {
        const char *there, *environment, *option;
        char loaded;
        const char* place;
    } cases[] = {
        {"oe12bi", "KPX_PLUGIN=environment.so KPX_PLUGIN_PATH=first:second", "--plugin option.so", 'o', "--plugin"},
        {"oe12bi", "KPX_PLUGIN=environment.so KPX_PLUGIN_PATH=first:second", "", 'e', "KPX_PLUGIN"},
        {"oe12bi", "KPX_PLUGIN_PATH=first:second", "", '1', "KPX_PLUGIN_PATH"},
        {"2bi", "KPX_PLUGIN_PATH=first:second", "", '2', "KPX_PLUGIN_PATH"},
        {"1cbi", "KPX_PLUGIN_PATH=\"::$PWD/first:\" KPX_PLUGIN=", "", '1', "KPX_PLUGIN_PATH"},
        {"bi", "KPX_PLUGIN_PATH=first:second", "", 'b', "beside the program"},
        {"12bi", "KPX_PLUGIN_PATH=", "", 'b', "beside the program"},
        {"i", "KPX_PLUGIN_PATH=nowhere", "", 'i', "the installed place"},
    };
    for (const auto& c : cases) {
        install(c.there);
        const RunResult result = formats(c.environment, c.option);
        const std::string start = "plug-in: " + placeOf(c.loaded) + "\nfound by: " + c.place + "\n";
        EXPECT_EQ(result.out.substr(0, start.size()), start) << c.there << " " << c.environment << result.err;
        fs::remove_all(at("usr"));
        for (const char letter : std::string("oe12c")) fs::remove(placeOf(letter));
    }
}

TEST_F(PluginChoice, FailsIfTheNamedFileIsMissing) {
    install("1bi");
    for (const char* environment : {"KPX_PLUGIN=missing.so", "KPX_PLUGIN=missing.so KPX_PLUGIN_PATH=first"}) {
        const RunResult result = formats(environment, "");
        EXPECT_EQ(result.status, 1);
        EXPECT_NE(result.err.find("missing.so"), std::string::npos) << result.err;
    }
}

TEST_F(PluginChoice, NamesEveryPlaceThatWasSearched) {
    if (fs::exists(KPX_INSTALLED "/KPXDDS.so")) GTEST_SKIP() << "a plug-in is installed in " KPX_INSTALLED;
    install("");
    const RunResult result = formats("KPX_PLUGIN_PATH=first:second", "");
    EXPECT_EQ(result.status, 1);
    for (const char letter : std::string("12bi")) {
        EXPECT_NE(result.err.find(placeOf(letter)), std::string::npos) << result.err;
    }
    EXPECT_NE(result.err.find(KPX_INSTALLED "/KPXDDS.so"), std::string::npos) << result.err;
}

}  // namespace
