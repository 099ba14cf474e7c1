#include "tests/manifest/manifest.h"

#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "examples/examples.h"
#include "explain/surprises.h"
#include "reader/TddsReader.h"
#include "tests/support/ddsFiles.h"

namespace testing_support {
namespace {

constexpr std::uint64_t largestDigested = std::uint64_t{64} << 20;
constexpr const char* nothing = "-";

constexpr const char* heading =
    "# What comes of each file: written by scripts/golden.sh, which writes nothing down on which the reader and the "
    "model differ.\n"
    "# file\tresult\twidth\theight\tcolour\tmatte\tbits\tprinted\tpicture's sha256\tcauses\tsurprises\tfile's sha256\n";

// In hexadecimal.
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

std::string idsOf(const std::vector<kpx::Remark>& remarks) {
    std::string ids;
    for (const kpx::Remark& remark : remarks) ids += (ids.empty() ? "" : ",") + remark.id;
    return ids.empty() ? nothing : ids;
}

}  // namespace

std::string manifestLine(std::span<const unsigned char> file) {
    const kpx::FileFacts facts = kpx::factsOf(file.first(std::min(file.size(), kpx::factBytes)), file.size());
    const kpx::Verdict verdict = kpx::judge(facts);
    const TemporaryFile temporary(file);
    kpx::TddsReader reader;
    testing::internal::CaptureStdout();
    const int opened = reader.open(temporary.path());
    std::string printed = testing::internal::GetCapturedStdout();
    if (!printed.empty()) printed.pop_back();
    // The black picture is told by its verdict.
    const kpx::Result result = opened < 0 ? kpx::Result::refused : verdict.result;
    std::ostringstream line;
    line << kpx::resultName(result) << '\t';
    std::string digest = nothing;
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
    line << '\t' << (printed.empty() ? nothing : printed) << '\t' << digest << '\t'
         << idsOf(kpx::causesOf(facts, verdict)) << '\t' << idsOf(kpx::surprisesOf(facts, verdict)) << '\t'
         << sha256(file);
    return line.str();
}

Manifest readManifest(const std::filesystem::path& path) {
    std::ifstream file(path);
    if (!file) throw std::runtime_error("cannot read " + path.string());
    Manifest manifest;
    for (std::string line; std::getline(file, line);) {
        const std::size_t tab = line.find('\t');
        if (!line.starts_with('#') && tab != std::string::npos) manifest[line.substr(0, tab)] = line.substr(tab + 1);
    }
    return manifest;
}

void writeManifest(const std::filesystem::path& path, const Manifest& manifest) {
    std::ofstream file(path);
    file << heading;
    for (const auto& [name, line] : manifest) file << name << '\t' << line << '\n';
    if (!file.flush()) throw std::runtime_error("cannot write " + path.string());
}

std::vector<NamedFile> exampleFiles() {
    std::vector<NamedFile> files;
    for (const kpx::example::Example& example : kpx::example::examples()) {
        files.push_back({std::string("examples/") + example.name, example.bytes()});
    }
    return files;
}

std::vector<NamedFile> sampleFiles() {
    std::vector<NamedFile> files;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(KPX_SAMPLES_DIR, error)) {
        if (entry.path().extension() != ".dds") continue;
        files.push_back({"samples/" + entry.path().filename().string(), readFile(entry.path())});
    }
    return files;
}

}  // namespace testing_support
