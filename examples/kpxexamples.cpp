// kpxexamples FOLDER: writes the example files to a folder, faulty ones to its subfolder "bad".
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "examples/examples.h"

namespace {

namespace fs = std::filesystem;

void writeExamples(const fs::path& folder) {
    fs::create_directories(folder / "bad");
    for (const kpx::example::Example& example : kpx::example::examples()) {
        const fs::path path = folder / (std::string(example.name) + ".dds");
        const kpx::example::Bytes bytes = example.bytes();
        std::ofstream stream(path, std::ios::binary);
        stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        stream.close();
        if (!stream) throw std::runtime_error(path.string() + ": cannot be written");
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: kpxexamples FOLDER\n", stderr);
        return 2;
    }
    try {
        writeExamples(argv[1]);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kpxexamples: %s\n", error.what());
        return 1;
    }
}
