#include "cli/commands/demoCommand.h"

#include <filesystem>
#include <iostream>

#include "cli/commands/compareCommand.h"
#include "cli/output/outputs.h"
#include "cli/output/reportTemplate.h"
#include "comparison/example/syntheticDose.h"
#include "comparison/example/syntheticStructures.h"
#include "comparison/text.h"
#include "files/structures/writeStructureSet.h"
#include "platform/paths.h"
#include "platform/systemError.h"

namespace zarngi
{

namespace
{

std::string writeDose(const std::filesystem::path& path, const Disturbance& disturbance)
{
    OutputFile file(platform::textOf(path));
    writeImage(file, syntheticDose(demoGeometry(), disturbance));
    return platform::textOf(path);
}

std::string writeStructures(const std::filesystem::path& path)
{
    const auto bytes = files::encodeStructureSet(syntheticStructures());
    if (!bytes) {
        throw failureOf(platform::textOf(path), bytes.error());
    }
    OutputFile file(platform::textOf(path));
    file.write(files::asText(bytes->view()));
    return platform::textOf(path);
}

} // namespace

ExitCode demo(const std::string& folder)
{
    std::error_code error;
    const std::filesystem::path place = platform::pathOf(folder);
    std::filesystem::create_directories(place, error);
    if (error) {
        throw InputError(folder + ": the folder cannot be made: " + platform::reasonOf(error));
    }
    CompareOptions options;
    std::cout << "Two crossing photon fields; the verification is shifted by 1.5 mm, "
                 "1.5 % too high and noisy by 3 %.\n"
              << std::flush;
    options.reference = writeDose(place / "reference.mha", undisturbed);
    options.evaluation = writeDose(place / "evaluation.mha", fairVerification);
    options.structures = {writeStructures(place / "structures.dcm")};
    options.criteria = {"3%/2mm", "2%/1mm"};
    options.outputs.json = platform::textOf(place / "result.json");
    options.outputs.report =
        reportTemplate().empty() ? "" : platform::textOf(place / "report.html");
    const ExitCode result = compare(options);
    std::cout << "written to  " << oneLine(platform::textOf(place))
              << "/: reference.mha, evaluation.mha, structures.dcm, result.json"
              << (options.outputs.report.empty() ? "\n" : ", report.html\n");
    return result;
}

} // namespace zarngi
