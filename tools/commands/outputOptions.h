// The options of commands that write files.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "tools/files/OutputPlaces.h"

namespace kpx::tool {

struct OutputOptions {
    std::string output;
    Replacing replacing;

    void addTo(CLI::App& command, const std::string& whatItIs) {
        command.add_option("-o,--output", output, whatItIs)->type_name("OUT");
        CLI::Option* force = command.add_flag("-f,--force", replacing.isForced, "Replace existing output files");
        command
            .add_flag("-u,--update", replacing.isUpdating, "Replace output files older than their input; skip others")
            ->excludes(force);
    }
};

}  // namespace kpx::tool
