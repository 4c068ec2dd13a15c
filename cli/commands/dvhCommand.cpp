#include "cli/commands/dvhCommand.h"

#include <CLI/CLI.hpp>

#include <iostream>

#include "cli/commands/optionNames.h"
#include "cli/guard/unpackPixels.h"
#include "cli/output/dvhTable.h"
#include "cli/output/outputs.h"
#include "comparison/sources/diskSource.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

std::vector<std::string> inputsOf(const DoseEvaluation& evaluation)
{
    std::vector<std::string> files{evaluation.dose.path, evaluation.dose.dataPath};
    for (const files::StructureSet& set : evaluation.structures.catalogue->sets()) {
        files.insert(files.end(), {set.path, set.dataPath});
    }
    return files;
}

} // namespace

void addDvhOptions(CLI::App& command, CompareOptions& options)
{
    command.add_option("DOSE", options.reference, "Dose file")->type_name("")->required();
    command.add_flag("--allow-error-doses", options.allowErrorDoses,
                     "Take RT Doses of Dose Type ERROR for doses");
    addStructureOptions(command, options);
    addGoalOption(command, options);
    addIdentifyOption(command, options);
    const auto file = [&](const char* name, std::string& value, const char* text) {
        command.add_option(name, value, text)->type_name("FILE")->group("Output");
    };
    file("--json", options.outputs.json, "Everything about it, for programs");
    file("--csv", options.outputs.csv, "One row per structure and per goal, for spreadsheets");
}

ExitCode dvh(const CompareOptions& options)
{
    const Request request = options.requestOfOneDose();
    options.outputs.checkFiles(request.files(), {});
    DiskSource source(unpackPixels, !options.outputs.json.empty());
    const DoseEvaluation evaluation = evaluate(request, source);
    options.outputs.checkFiles(inputsOf(evaluation), {});
    Outputs outputs(options.outputs, {});
    for (const Sentence& warning : evaluation.warnings) {
        std::cerr << "zarngi: warning: " << oneLine(warning.text(programWording())) << '\n';
    }
    std::cout << describeDvh(evaluation) << std::flush;
    outputs.write(evaluation);
    return hasMissed(evaluation.goals) ? ExitCode::belowLimit : ExitCode::fine;
}

} // namespace zarngi
