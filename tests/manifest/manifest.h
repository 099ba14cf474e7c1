// The manifest of files: a line each, with what comes of it. tests/manifest.tsv holds the lines that were agreed on.
#pragma once

#include <filesystem>
#include <map>
#include <span>
#include <string>
#include <vector>

namespace testing_support {

// Lines without the file's name, as columns parted by tabs:
// result, width, height, colour channels, matte channels, bits, the message printed, the digest of the picture,
// the causes and the surprises of the verdict, the digest of the file. "-" where there is nothing.
//
// The digest of a picture is SHA-256 over its scanlines from the bottom, each channel row in turn. Pictures over
// 64 MiB and the black one have none.

// As the reader does it.
std::string manifestLine(std::span<const unsigned char> file);

// Lines by the name of the file, which is "examples/..." or "samples/...".
using Manifest = std::map<std::string, std::string>;

// Throw std::runtime_error.
Manifest readManifest(const std::filesystem::path& path);
void writeManifest(const std::filesystem::path& path, const Manifest& manifest);

struct NamedFile {
    std::string name;
    std::vector<unsigned char> bytes;
};

// The files that the project makes itself.
std::vector<NamedFile> exampleFiles();
// The real files; none where the folder is missing.
std::vector<NamedFile> sampleFiles();

}  // namespace testing_support
