// Writes the documents that are made of the program's own commands: the manual page and the completions.
#include <cstring>
#include <fstream>
#include <iostream>

#include "tools/documents/completions.h"
#include "tools/documents/manualPage.h"

namespace {

using kpx::tool::ProgramFacts;

constexpr struct {
    const char* name;
    void (*write)(std::ostream&, const ProgramFacts&);
} documents[] = {
    {"man", kpx::tool::writeManualPage},
    {"bash", kpx::tool::writeBashCompletion},
    {"zsh", kpx::tool::writeZshCompletion},
    {"fish", kpx::tool::writeFishCompletion},
};

}  // namespace

int main(int argc, char** argv) {
    if (argc == 3) {
        for (const auto& document : documents) {
            if (std::strcmp(argv[1], document.name) != 0) continue;
            std::ofstream file(argv[2]);
            document.write(file, kpx::tool::programFacts());
            file.close();
            return file.good() ? 0 : 1;
        }
    }
    std::cerr << "usage: kpxdocs man|bash|zsh|fish FILE\n";
    return 2;
}
