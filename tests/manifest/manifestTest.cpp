// Every file of the manifest comes out as it was agreed on.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <set>

#include "examples/examples.h"
#include "tests/manifest/manifest.h"
#include "tests/support/Tool.h"
#include "tests/support/ddsFiles.h"
#include "tests/support/likeModel.h"

using namespace testing_support;

namespace {

const Manifest& agreed() {
    static const Manifest manifest = readManifest(KPX_SOURCE_DIR "/tests/manifest.tsv");
    return manifest;
}

void expectAgreed(const std::vector<NamedFile>& files, const std::string& folder) {
    std::set<std::string> seen;
    for (const NamedFile& file : files) {
        seen.insert(file.name);
        const auto line = agreed().find(file.name);
        ASSERT_NE(line, agreed().end()) << file.name << " is not in the manifest: run scripts/golden.sh";
        EXPECT_EQ(manifestLine(file.bytes), line->second) << file.name;
    }
    for (const auto& [name, line] : agreed()) {
        EXPECT_TRUE(!name.starts_with(folder) || seen.contains(name)) << name << " is in the manifest but not there";
    }
}

// kpximage info by the headers alone, and through the plug-in.
class Info : public Tool {
protected:
    void expectAlike(const std::vector<NamedFile>& files) const {
        for (const NamedFile& each : files) {
            std::string name = each.name.substr(each.name.find('/') + 1);
            std::replace(name.begin(), name.end(), '/', '-');
            file(name.ends_with(".dds") ? name : name + ".dds", each.bytes);
        }
        const RunResult told = run("info --json .");
        const RunResult opened = run("info --json --open .");
        EXPECT_EQ(told.out, opened.out);
        EXPECT_EQ(told.err, opened.err);
        EXPECT_EQ(told.status, opened.status);
        EXPECT_EQ(std::count(told.out.begin(), told.out.end(), '\n'), static_cast<std::ptrdiff_t>(files.size()));
    }
};

}  // namespace

TEST_F(Info, OfExampleFilesIsAsThePluginOpensThem) {
    expectAlike(exampleFiles());
}

TEST_F(Info, OfSampleFilesIsAsThePluginOpensThem) {
    const std::vector<NamedFile> files = sampleFiles();
    if (files.empty()) GTEST_SKIP() << "there are no sample files in " KPX_SAMPLES_DIR;
    expectAlike(files);
}

TEST(ExampleFiles, ComeOutAsTheManifestSays) {
    expectAgreed(exampleFiles(), "examples/");
}

// The generator's own word on each file, which is no part of the manifest.
TEST(ExampleFiles, ComeOutAsTheirMakerSays) {
    using kpx::example::Outcome;
    for (const kpx::example::Example& example : kpx::example::examples()) {
        const std::string result = example.outcome == Outcome::decoded    ? "decoded"
                                   : example.outcome == Outcome::fallback ? "black"
                                                                          : "refused";
        const std::string line = agreed().at(std::string("examples/") + example.name);
        EXPECT_EQ(line.substr(0, line.find('\t')), result) << example.name;
    }
}

TEST(SampleFiles, ComeOutAsTheManifestSays) {
    const std::vector<NamedFile> files = sampleFiles();
    if (files.empty()) GTEST_SKIP() << "there are no sample files in " KPX_SAMPLES_DIR;
    expectAgreed(files, "samples/");
}

// The list beside the files was worked out apart from this project, and names the same columns as far as it goes.
TEST(SampleFiles, ComeOutAsTheirOwnListAndTheModelSay) {
    std::ifstream list(KPX_SAMPLES_DIR "/expected.tsv");
    if (!list) GTEST_SKIP() << "there are no sample files in " KPX_SAMPLES_DIR;
    int compared = 0;
    for (std::string line; std::getline(list, line);) {
        if (line.empty() || line[0] == '#' || line.starts_with("file\t")) continue;
        const std::string name = line.substr(0, line.find('\t'));
        std::string expected = line.substr(name.size() + 1);
        if (expected.ends_with("\t-")) expected.pop_back();  // a picture that is not compared
        const Bytes file = readFile(KPX_SAMPLES_DIR "/" + name);
        EXPECT_EQ(manifestLine(file).substr(0, expected.size()), expected) << name;
        EXPECT_TRUE(readsLikeModel(file)) << name;
        ++compared;
    }
    EXPECT_GT(compared, 0);
}
