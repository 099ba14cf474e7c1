// kpximage repair: a copy of a DDS file whose header says the same picture in a form that is decoded.
#include <iostream>

#include "tools/commands/commands.h"
#include "tools/files/repairFile.h"
#include "tools/terminal/console.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

struct Arguments {
    std::string input, output;
    bool isDryRun = false;
};

Outcome outcomeOf(RepairResult result) {
    constexpr Outcome outcomes[] = {Outcome::done, Outcome::failed, Outcome::fallback, Outcome::failed};
    return outcomes[static_cast<std::size_t>(result)];
}

Outcome repair(const Arguments& arguments) {
    const RepairReport report =
        arguments.isDryRun ? reportRepair(arguments.input) : repairFile(arguments.input, arguments.output);
    for (const Remark& mend : report.mends) std::cout << printable(arguments.input) << ": " << mend.sentence << "\n";
    if (!report.reason.empty()) tell(arguments.input, report.reason);
    return outcomeOf(report.result);
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
