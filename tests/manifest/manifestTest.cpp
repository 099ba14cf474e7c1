// Checks that every file of tests/manifest.tsv decodes to the digest listed there. If KPX_REWRITE is set in the
// environment, rewrites the manifest, provided that reader and model agree on every file.
//
// Columns, separated by tabs: file, result, width, height, colour channels, matte channels, bits, printed message,
// digest of the picture, causes and surprises of the verdict, digest of the file. "-" means none. The digest of a
// picture is SHA-256 over its scanlines from the bottom up, channel row by channel row. Pictures over 64 MiB and the
// black one have none.
#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <sstream>

#include "examples/examples.h"
#include "explain/findings.h"
#include "reader/TddsReader.h"
#include "tests/support/Tool.h"
#include "tests/support/ddsFiles.h"
#include "tests/support/likeModel.h"

using namespace testing_support;

namespace {

constexpr const char* agreedPath = KPX_SOURCE_DIR "/tests/manifest.tsv";
constexpr std::uint64_t largestDigested = std::uint64_t{64} << 20;

constexpr const char* heading =
    "# What comes of each file: written by scripts/golden.sh, which writes nothing down on which the reader and the "
    "model differ.\n"
    "# file\tresult\twidth\theight\tcolour\tmatte\tbits\tprinted\tpicture's sha256\tcauses\tsurprises\tfile's sha256\n";

// The rest of each line by its file name, "examples/..." or "samples/...".
using Manifest = std::map<std::string, std::string>;

Manifest agreedManifest() {
    Manifest manifest;
    std::ifstream file(agreedPath);
    for (std::string line; std::getline(file, line);) {
        const std::size_t tab = line.find('\t');
        if (!line.starts_with('#')) manifest[line.substr(0, tab)] = line.substr(tab + 1);
    }
    return manifest;
}

// Returns the example files, and the samples if their folder exists.
std::map<std::string, Bytes> allFiles() {
    std::map<std::string, Bytes> files;
    for (const auto& example : kpx::example::examples())
        files[std::string("examples/") + example.name] = example.bytes();
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(KPX_SAMPLES_DIR, error)) {
        const std::string name = entry.path().filename();
        if (name.ends_with(".dds")) files["samples/" + name] = readFile(entry.path());
    }
    return files;
}

// Returns the digest in hexadecimal.
std::string sha256(std::span<const unsigned char> bytes) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned size = 0;
    EVP_Digest(bytes.data(), bytes.size(), digest, &size, EVP_sha256(), nullptr);
    std::string text;
    for (unsigned i = 0; i < size; ++i) {
        text += "0123456789abcdef"[digest[i] / 16];
        text += "0123456789abcdef"[digest[i] % 16];
    }
    return text;
}

std::string digestOf(kpx::TddsReader& reader, std::uint32_t channels, std::size_t rowBytes) {
    Bytes picture;
    for (std::uint32_t y = 0; y < reader.height(); ++y) {
        unsigned char** rows = reader.getScanlineChannelsAsBytes(static_cast<int>(y));
        for (std::uint32_t c = 0; c < channels; ++c) picture.insert(picture.end(), rows[c], rows[c] + rowBytes);
    }
    return sha256(picture);
}

std::string idsOf(const std::vector<kpx::Finding>& remarks) {
    std::string ids;
    for (const kpx::Finding& remark : remarks) ids += (ids.empty() ? "" : ",") + remark.id;
    return ids.empty() ? "-" : ids;
}

// Returns the line for a file, computed by the reader.
std::string manifestLine(std::span<const unsigned char> file) {
    const kpx::FileFacts facts = kpx::factsOf(file.first(std::min(file.size(), kpx::factBytes)), file.size());
    const kpx::Verdict verdict = kpx::judge(facts);
    const TemporaryFile temporary(file);
    kpx::TddsReader reader;
    testing::internal::CaptureStdout();
    const int openResult = reader.open(temporary.path());
    std::string printed = testing::internal::GetCapturedStdout();
    if (!printed.empty()) printed.pop_back();
    // Only the verdict tells the black picture from others.
    const kpx::Result result = openResult < 0 ? kpx::Result::refused : verdict.result;
    std::ostringstream line;
    line << resultName(result) << '\t';
    std::string digest = "-";
    if (result == kpx::Result::refused) {
        line << "-\t-\t-\t-\t-";
    } else {
        const auto channels = static_cast<std::uint32_t>(reader.numColourChannels() + reader.hasAlphaChannel());
        const std::size_t rowBytes =
            std::size_t{reader.width()} * static_cast<std::size_t>(reader.bitsPerChannel() / 8);
        line << reader.width() << '\t' << reader.height() << '\t' << reader.numColourChannels() << '\t'
             << reader.hasAlphaChannel() << '\t' << reader.bitsPerChannel();
        if (result == kpx::Result::decoded && rowBytes * reader.height() * channels <= largestDigested)
            digest = digestOf(reader, channels, rowBytes);
    }
    line << '\t' << (printed.empty() ? "-" : printed) << '\t' << digest << '\t' << idsOf(causesOf(facts, verdict))
         << '\t' << idsOf(surprisesOf(facts, verdict)) << '\t' << sha256(file);
    return line.str();
}

}  // namespace

TEST(Manifest, MatchesEveryExampleFile) {
    const bool isRewriting = std::getenv("KPX_REWRITE") != nullptr;
    const Manifest agreed = agreedManifest();
    Manifest found;
    bool hasSamples = false;
    for (const auto& [name, bytes] : allFiles()) {
        hasSamples = hasSamples || name.starts_with("samples/");
        found[name] = manifestLine(bytes);
        EXPECT_TRUE(readsLikeModel(bytes)) << name;
        const bool isAgreed = agreed.contains(name) && agreed.at(name) == found[name];
        EXPECT_TRUE(isRewriting || isAgreed) << name << " is\n" << found[name];
    }
    for (const auto& [name, line] : agreed) {
        const bool isMissing = !hasSamples && name.starts_with("samples/");
        if (isMissing) found[name] = line;
        EXPECT_TRUE(isRewriting || found.contains(name)) << name << " is in the manifest but not there";
    }
    if (!isRewriting || HasFailure()) return;
    std::ofstream file(agreedPath);
    file << heading;
    for (const auto& [name, line] : found) file << name << '\t' << line << '\n';
}

// The generator of the examples states the outcome of each file.
TEST(Manifest, MatchesTheExampleGenerator) {
    const Manifest agreed = agreedManifest();
    for (const kpx::example::Example& example : kpx::example::examples()) {
        constexpr const char* results[] = {"decoded\t", "black\t", "refused\t"};
        const std::string line = agreed.at(std::string("examples/") + example.name);
        EXPECT_TRUE(line.starts_with(results[static_cast<int>(example.outcome)])) << example.name << " is " << line;
    }
}

// The list beside the samples was made independently of this project. Its columns are those of the manifest, but fewer.
TEST(Manifest, MatchesTheListOfSamples) {
    std::ifstream list(KPX_SAMPLES_DIR "/expected.tsv");
    if (!list) GTEST_SKIP() << "there are no sample files in " KPX_SAMPLES_DIR;
    const Manifest agreed = agreedManifest();
    int compared = 0;
    for (std::string line; std::getline(list, line);) {
        if (line.empty() || line[0] == '#' || line.starts_with("file\t")) continue;
        const std::string name = line.substr(0, line.find('\t'));
        std::string expected = line.substr(name.size() + 1);
        if (expected.ends_with("\t-")) expected.pop_back();  // pictures without a digest
        EXPECT_TRUE(agreed.at("samples/" + name).starts_with(expected)) << name;
        ++compared;
    }
    EXPECT_GT(compared, 0);
}

// Compares `kpximage info` by headers alone with `info --open`, through the plug-in.
TEST_F(Tool, InfoAgreesWithThePlugin) {
    const std::map<std::string, Bytes> files = allFiles();
    for (const auto& [path, bytes] : files) {
        std::string name = path + (path.ends_with(".dds") ? "" : ".dds");
        std::replace(name.begin(), name.end(), '/', '-');
        file(name, bytes);
    }
    const RunResult byHeaders = run("info --json .");
    const RunResult byDecoding = run("info --json --open .");
    EXPECT_EQ(byHeaders.out, byDecoding.out);
    EXPECT_EQ(byHeaders.err, byDecoding.err);
    EXPECT_EQ(byHeaders.status, byDecoding.status);
    EXPECT_EQ(std::count(byHeaders.out.begin(), byHeaders.out.end(), '\n'), static_cast<std::ptrdiff_t>(files.size()));
}
