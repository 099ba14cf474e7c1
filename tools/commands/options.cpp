// Options that several commands share.
#include "tools/commands/options.h"

#include <cmath>

#include "tools/json/fileJson.h"
#include "tools/json/gradeText.h"

namespace kpx::tool {

void addExposure(CLI::App& command, std::optional<double>& stops, const std::string& help) {
    const auto check = [](const std::string& text) -> std::string {
        double value = 0;
        const bool isNumber = CLI::detail::lexical_cast(text, value) && std::abs(value) <= 64.0;
        return text == "auto" || isNumber ? "" : text + " is not \"auto\" or a number from -64 to 64, such as 1.5";
    };
    const auto choose = [&stops](const std::string& text) {
        if (text != "auto") stops = std::stod(text);
    };
    command.add_option_function<std::string>("--exposure", choose, help)
        ->check(CLI::Validator(check, "auto or -64 to 64"))
        ->type_name("STOPS");
}

void OutputOptions::addTo(CLI::App& command, const std::string& whatItIs) {
    command.add_option("-o,--output", output, whatItIs)->type_name("OUT");
    CLI::Option* force = command.add_flag("-f,--force", replacing.isForced, "Overwrite existing output files");
    command
        .add_flag("-u,--update", replacing.isUpdating,
                  "Write only output files that are missing or older than their input")
        ->excludes(force);
}

void ListOptions::addTo(CLI::App& command) {
    batch.addTo(command, "DDS files, or folders of them");
    command.add_flag("--json", json, "Print one JSON object per line");
    std::vector<std::pair<std::string, Grade>> grades;
    for (int i = 0; i <= static_cast<int>(Grade::unreadable); ++i) grades.emplace_back(gradeName(Grade(i)), Grade(i));
    addChoice(command, "--only", only, grades, "Show only files of this grade or a worse one");
    command.add_flag("--strict", isStrict, "Exit with 3 also if a file is suspect");
}

Outcome runJsonBatch(const InputFiles& inputs, const BatchOptions& options, bool json, const Work& work) {
    return runBatch(inputs, options, [&](const InputFile& input, Report& report) {
        return withFailureAsJson(report, json, [&] { return work(input, report); });
    });
}

Outcome list(const ListOptions& options, const Explanation& file, const std::string& text, Report& report) {
    report.countAs(gradeName(file.grade));
    if (file.grade < options.only) return Outcome::done;
    report.print(options.json ? jsonText(fileAsJson(report.file(), file)) + "\n" : text);
    return outcomeOf(file.grade, options.isStrict);
}

}  // namespace kpx::tool
