// kpxmanifest MANIFEST: writes the manifest anew, where the reader and the model agree on every file. Lines of sample
// files that are not there are kept as they are.
#include <cstdio>
#include <exception>

#include "tests/manifest/manifest.h"
#include "tests/support/likeModel.h"

using namespace testing_support;

namespace {

// Whether the two agree; then the line is in the manifest.
bool addLine(Manifest& manifest, const NamedFile& file) {
    manifest[file.name] = manifestLine(file.bytes);
    const testing::AssertionResult agreement = readsLikeModel(file.bytes);
    if (!agreement) std::fprintf(stderr, "%s: %s\n", file.name.c_str(), agreement.message());
    return static_cast<bool>(agreement);
}

Manifest linesToKeep(const std::filesystem::path& path) {
    if (!std::filesystem::exists(path)) return {};
    Manifest manifest = readManifest(path);
    std::erase_if(manifest, [](const auto& entry) { return entry.first.starts_with("examples/"); });
    return manifest;
}

int rewrite(const std::filesystem::path& path) {
    const std::vector<NamedFile> samples = sampleFiles();
    Manifest manifest = samples.empty() ? linesToKeep(path) : Manifest{};
    bool agree = true;
    for (const NamedFile& file : exampleFiles()) agree = addLine(manifest, file) && agree;
    for (const NamedFile& file : samples) agree = addLine(manifest, file) && agree;
    if (!agree) {
        std::fprintf(stderr, "The reader and the model differ: nothing is written.\n");
        return 1;
    }
    writeManifest(path, manifest);
    std::printf("%zu files in %s%s\n", manifest.size(), path.c_str(),
                samples.empty() ? "; the sample files are missing, their lines are kept" : "");
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: kpxmanifest MANIFEST\n");
        return 2;
    }
    try {
        return rewrite(argv[1]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kpxmanifest: %s\n", error.what());
        return 1;
    }
}
