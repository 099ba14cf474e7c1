#include "tests/support/manifest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "examples/examples.h"
#include "reader/TddsReader.h"
#include "tests/model/readerModel.h"
#include "tests/model/sha256.h"
#include "tests/support/ddsFiles.h"
#include "tools/surprises.h"

namespace testing_support {
namespace {

constexpr std::uint64_t largestDigested = std::uint64_t{64} << 20;
constexpr const char* nothing = "-";

constexpr const char* heading =
    "# What comes of each file: written by scripts/golden.sh, which writes nothing down on which the reader and the "
    "model differ.\n"
    "# file\tresult\twidth\theight\tcolour\tmatte\tbits\tprinted\tpicture's sha256\tcauses\tsurprises\tfile's sha256\n";

// What the reader and the model both tell.
struct Seen {
    kpx::Result result;
    std::uint32_t width, height, colours, mattes;
    int bits;
    std::string printed;
    std::string digest;
};

bool hasDigest(const Seen& seen) {
    const std::uint64_t bytes = std::uint64_t{seen.width} * seen.height * (seen.colours + seen.mattes) *
                                static_cast<std::uint64_t>(seen.bits / 8);
    return seen.result == kpx::Result::decoded && bytes <= largestDigested;
}

std::string idsOf(const std::vector<kpx::tool::Remark>& remarks) {
    std::string ids;
    for (const kpx::tool::Remark& remark : remarks) ids += (ids.empty() ? "" : ",") + remark.id;
    return ids.empty() ? nothing : ids;
}

std::string lineOf(const Seen& seen, std::span<const unsigned char> file) {
    std::ostringstream line;
    line << kpx::resultName(seen.result);
    if (seen.result == kpx::Result::refused) {
        line << "\t-\t-\t-\t-\t-";
    } else {
        line << '\t' << seen.width << '\t' << seen.height << '\t' << seen.colours << '\t' << seen.mattes << '\t'
             << seen.bits;
    }
    const kpx::FileFacts facts = kpx::factsOf(file.first(std::min(file.size(), kpx::factBytes)), file.size());
    const kpx::Verdict verdict = kpx::judge(facts);
    model::Sha256 fileDigest;
    fileDigest.add(file);
    line << '\t' << (seen.printed.empty() ? nothing : seen.printed) << '\t'
         << (seen.digest.empty() ? nothing : seen.digest) << '\t' << idsOf(kpx::tool::causesOf(facts, verdict)) << '\t'
         << idsOf(kpx::tool::surprisesOf(facts, verdict)) << '\t' << fileDigest.hex();
    return line.str();
}

std::string digestOf(kpx::TddsReader& reader, const Seen& seen) {
    model::Sha256 digest;
    for (std::uint32_t y = 0; y < seen.height; ++y) {
        unsigned char** rows = reader.getScanlineChannelsAsBytes(static_cast<int>(y));
        for (std::uint32_t channel = 0; channel < seen.colours + seen.mattes; ++channel) {
            digest.add({rows[channel], std::size_t{seen.width} * static_cast<std::size_t>(seen.bits / 8)});
        }
    }
    return digest.hex();
}

std::string digestOf(const model::Picture& picture) {
    model::Sha256 digest;
    for (std::uint32_t y = 0; y < picture.height; ++y) {
        for (const auto& row : picture.scanline(y)) digest.add(row);
    }
    return digest.hex();
}

// The black picture is told by its verdict, as is a file that is refused.
kpx::Result resultOf(int opened, std::span<const unsigned char> file) {
    if (opened < 0) return kpx::Result::refused;
    return kpx::judge(kpx::factsOf(file.first(std::min(file.size(), kpx::factBytes)), file.size())).result;
}

}  // namespace

std::string manifestLine(std::span<const unsigned char> file) {
    const TemporaryFile temporary(file);
    kpx::TddsReader reader;
    testing::internal::CaptureStdout();
    const int opened = reader.open(temporary.path());
    std::string printed = testing::internal::GetCapturedStdout();
    if (!printed.empty()) printed.pop_back();
    Seen seen{resultOf(opened, file),
              reader.width(),
              reader.height(),
              static_cast<std::uint32_t>(reader.numColourChannels()),
              static_cast<std::uint32_t>(reader.hasAlphaChannel()),
              reader.bitsPerChannel(),
              printed,
              {}};
    if (hasDigest(seen)) seen.digest = digestOf(reader, seen);
    return lineOf(seen, file);
}

std::string modelManifestLine(std::span<const unsigned char> file) {
    const model::Picture picture = model::read(file);
    const kpx::Result result = picture.result == model::Result::refused   ? kpx::Result::refused
                               : picture.result == model::Result::decoded ? kpx::Result::decoded
                                                                          : kpx::Result::black;
    Seen seen{result,
              picture.width,
              picture.height,
              picture.colourChannels,
              picture.hasAlpha ? 1U : 0U,
              picture.bits,
              picture.printed,
              {}};
    if (hasDigest(seen)) seen.digest = digestOf(picture);
    return lineOf(seen, file);
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
