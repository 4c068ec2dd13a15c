#include "cli/commands/dvhCommand.h"

#include <iostream>
#include <string>
#include <vector>

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
    for (const ComparedPlan& compared : evaluation.plans) {
        files.push_back(compared.plan.path);
    }
    return files;
}

} // namespace

ExitCode dvh(const CompareOptions& options)
{
    const Request request = options.requestOfOneDose();
    options.outputs.checkFormats();
    std::vector<std::string> inputs = request.files();
    inputs.push_back(options.protocol);
    std::erase(inputs, "");
    options.outputs.checkFiles(inputs, {});
    const bool isDigested = !options.outputs.json.empty() || !options.outputs.report.empty();
    DiskSource source(unpackPixels, isDigested, !options.outputs.alias.empty());
    const DoseEvaluation evaluation = evaluate(request, source);
    options.outputs.checkFiles(inputsOf(evaluation), {});
    Outputs outputs(options.outputs, {});
    for (const Sentence& warning : evaluation.warnings) {
        std::cerr << "zarngi: warning: " << oneLine(warning.text(programWording())) << '\n';
    }
    for (const GateWarning& warning : evaluation.gate) {
        std::cerr << "zarngi: warning (" << gateName(warning.name)
                  << "): " << oneLine(warning.sentence.text(programWording())) << '\n';
    }
    std::cout << describeDvh(evaluation) << std::flush;
    outputs.write(evaluation);
    return hasMissed(evaluation.goals) ? ExitCode::belowLimit : ExitCode::fine;
}

} // namespace zarngi
