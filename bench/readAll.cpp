// readAll PLUGIN FILE...: reads every scanline of the files through the plug-in and prints the peak memory.
#include <sys/resource.h>

#include <exception>
#include <iostream>

#include "host/ImageReader.h"
#include "host/Plugin.h"

namespace {

// Returns the peak resident memory of the process, in KiB.
long peakMemory() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

}  // namespace

int main(int argc, char** argv) try {
    if (argc < 3) {
        std::cerr << "usage: readAll PLUGIN FILE...\n";
        return 2;
    }
    const kpx::host::Plugin plugin(argv[1]);
    const long before = peakMemory();
    for (int i = 2; i < argc; ++i) {
        kpx::host::ImageReader reader(plugin, argv[i]);
        for (int y = 0; y < reader.height(); ++y) reader.scanline(y);
    }
    std::cout << "peak memory grew by " << (peakMemory() - before) / 1024 << " MiB\n";
    return 0;
} catch (const std::exception& error) {
    std::cerr << "readAll: " << error.what() << '\n';
    return 1;
}
