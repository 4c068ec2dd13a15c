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

namespace zarngi
{

namespace
{

std::string writeDose(const std::filesystem::path& path, const Disturbance& disturbance)
{
    OutputFile file(path.string());
    writeImage(file, syntheticDose(demoGeometry(), disturbance));
    return path.string();
}

std::string writeStructures(const std::filesystem::path& path)
{
    const auto bytes = files::encodeStructureSet(syntheticStructures());
    if (!bytes) {
        throw failureOf(path.string(), bytes.error());
    }
    OutputFile file(path.string());
    file.write(files::asText(bytes->view()));
    return path.string();
}

} // namespace

ExitCode demo(const std::string& folder)
{
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) {
        throw InputError(folder + ": the folder cannot be made: " + error.message());
    }
    const std::filesystem::path place(folder);
    CompareOptions options;
    std::cout << "Two crossing photon fields; the verification is shifted by 1.5 mm, "
                 "1.5 % too high and noisy by 3 %.\n"
              << std::flush;
    options.reference = writeDose(place / "reference.mha", undisturbed);
    options.evaluation = writeDose(place / "evaluation.mha", fairVerification);
    options.structures = {writeStructures(place / "structures.dcm")};
    options.criteria = {"3%/2mm", "2%/1mm"};
    options.outputs.json = (place / "result.json").string();
    options.outputs.report = reportTemplate().empty() ? "" : (place / "report.html").string();
    const ExitCode result = compare(options);
    std::cout << "written to  " << oneLine(place.string())
              << "/: reference.mha, evaluation.mha, structures.dcm, result.json"
              << (options.outputs.report.empty() ? "\n" : ", report.html\n");
    return result;
}

} // namespace zarngi
