// Every file of the manifest comes out as it was agreed on.
#include <gtest/gtest.h>

#include <set>

#include "examples/examples.h"
#include "tests/support/manifest.h"

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

}  // namespace

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
