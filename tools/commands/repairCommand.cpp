// kpximage repair: a copy of a DDS file whose header says the same picture in a form that is decoded.
#include <iostream>

#include "explain/fileFacts.h"
#include "explain/mends.h"
#include "explain/otherFile.h"
#include "tools/commands/commands.h"
#include "tools/files/ddsCopy.h"
#include "tools/terminal/console.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

struct Arguments {
    std::string input, output;
    bool isDryRun = false;
};

// The file needs no mend, or there is none.
Outcome tellWhyNot(const std::string& input, const FileFacts& facts, const Repair& repair) {
    // A mend that would make a decoded picture black is none.
    const bool isDecoded = judge(facts).result == Result::decoded;
    switch (isDecoded ? Result::decoded : repair.verdict.result) {
        case Result::decoded: {
            const std::string other = otherFileText(facts);
            tell(input, !other.empty()        ? other
                        : !startsAsDds(facts) ? "does not start with \"DDS\""
                                              : "has nothing to mend: it is decoded as it is");
            return Outcome::failed;
        }
        case Result::black:
            tell(input,
                 "cannot be mended and comes out as a black picture. " + causeText(repair.facts, repair.verdict));
            return Outcome::fallback;
        case Result::refused:
            break;
    }
    tell(input, "cannot be mended. " + causeText(repair.facts, repair.verdict));
    return Outcome::failed;
}

Outcome repair(const Arguments& arguments) {
    const FileFacts facts = readFacts(arguments.input);
    const Repair repair = repairOf(facts);
    if (!repair.helps()) return tellWhyNot(arguments.input, facts, repair);
    if (!arguments.isDryRun) {
        const ByteRange data{repair.dataStart, facts.fileBytes - repair.dataStart};
        writeCopy(arguments.input, {&data, 1}, headerBytes(repair.facts), arguments.output);
    }
    for (const Remark& mend : repair.mends) std::cout << printable(arguments.input) << ": " << mend.sentence << "\n";
    return Outcome::done;
}

Outcome run(const Arguments& arguments) {
    if (arguments.output.empty() && !arguments.isDryRun) throw UsageError("OUT is required, or --dry-run");
    return workOnFile(arguments.input, [&] {
        try {
            return repair(arguments);
        } catch (const OutputError& error) {
            tell(arguments.output, error.what());
            return Outcome::failed;
        }
    });
}

}  // namespace

void addRepairCommand(CLI::App& app, Invocation& invocation) {
    CLI::App* command = app.add_subcommand(
        "repair", "Copy a DDS file that comes out black or wrong with a header that is read well, its data untouched");
    auto arguments = std::make_shared<Arguments>();
    command->add_option("IN", arguments->input, "File to mend")->required();
    command->add_option("OUT", arguments->output, "Mended copy; may be left out with --dry-run");
    command->add_flag("--dry-run", arguments->isDryRun, "Say what would be changed and write nothing");
    command->footer(
        "Exit status: 1 as well where there is nothing to mend, 3 where the file is black and no mend is known.");
    command->callback([&invocation, arguments] { invocation.run = [arguments] { return run(*arguments); }; });
}

}  // namespace kpx::tool
