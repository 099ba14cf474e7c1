// Reads every scanline of files through the plug-in, and does nothing with them: readAll PLUGIN FILE...
#include <exception>
#include <iostream>

#include "host/ImageReader.h"
#include "host/Plugin.h"

int main(int argc, char** argv) try {
    if (argc < 3) {
        std::cerr << "usage: readAll PLUGIN FILE...\n";
        return 2;
    }
    const kpx::host::Plugin plugin(argv[1]);
    for (int i = 2; i < argc; ++i) {
        kpx::host::ImageReader reader(plugin, argv[i]);
        for (int y = 0; y < reader.height(); ++y) reader.scanline(y);
    }
    return 0;
} catch (const std::exception& error) {
    std::cerr << "readAll: " << error.what() << '\n';
    return 1;
}
