#include "cli/commands/convertCommand.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <vector>

#include "cli/commands/optionNames.h"
#include "cli/guard/unpackPixels.h"
#include "cli/output/outputs.h"
#include "cli/output/volumeFile.h"
#include "comparison/composition/doseChecks.h"
#include "comparison/failure.h"
#include "comparison/measurements/doseSum.h"
#include "comparison/request/values.h"
#include "comparison/sources/diskSource.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

void checkIsVolume(const DoseImage& dose)
{
    if (dose.measurement) {
        const bool arePoints = dose.measurement->kind == files::Measurement::Kind::points;
        const bool isPlane = dose.measurement->kind == files::Measurement::Kind::plane;
        throw InputError(dose.path +
                         (arePoints ? ": holds single points"
                          : isPlane ? ": holds a plane"
                                    : ": has places without a dose") +
                         "; a volume is converted");
    }
}

DoseFactor factorOf(const std::string& text)
{
    if (text.empty()) {
        return {};
    }
    try {
        return parseFactor({Member::evaluationScale}, text);
    } catch (const UsageError& error) {
        throw UsageError("--scale: " + error.reason());
    }
}

/** A factor makes gray of what a simulation counts in. */
bool isGray(const DoseImage& dose, const ConvertOptions& options)
{
    return dose.unit == DoseUnit::gray ||
           (dose.unit != DoseUnit::relative && !options.scale.empty());
}

files::RtDoseFacts factsOf(const DoseImage& dose, const ConvertOptions& options)
{
    files::RtDoseFacts facts;
    facts.isRelative = !isGray(dose, options);
    facts.isDifference = dose.isError();
    facts.comment = facts.isRelative && dose.unit != DoseUnit::relative
                        ? std::string("in ") + files::unitName(dose.unit)
                        : std::string();
    facts.study = studyLike(options.like);
    return facts;
}

DoseImage readInput(const ConvertOptions& options)
{
    DiskSource source(unpackPixels, false);
    DoseImage dose = source.dose(options.input, options.units.parsed());
    if (!options.allowErrorDoses) {
        checkIsDose(dose);
    }
    checkIsVolume(dose);
    std::vector<Sentence> warnings;
    addWarnings(warnings, dose);
    for (const Sentence& warning : warnings) {
        std::cerr << "zarngi: warning: " << oneLine(warning.text(programWording())) << '\n';
    }
    return dose;
}

} // namespace

void addConvertOptions(CLI::App& command, ConvertOptions& options)
{
    command.add_option("INPUT", options.input, "Dose file")->type_name("")->required();
    command
        .add_option("OUTPUT", options.output,
                    std::string("File to write, which ends in ") + writableEndings)
        ->type_name("")
        ->required();
    command
        .add_option("--like", options.like,
                    "DICOM file whose patient, study, frame and plan an RT Dose gets")
        ->type_name("FILE");
    command.add_option("--scale", options.scale, "Multiply doses by a number or a fraction")
        ->type_name("F");
    command.add_flag("--allow-error-doses", options.allowErrorDoses,
                     "Take RT Doses of Dose Type ERROR, too");
    addTableUnits(command, options.units);
}

ExitCode convert(const ConvertOptions& options)
{
    if (!isWritableVolumeName(options.output)) {
        throw UsageError(options.output + ": does not end in " + writableEndings);
    }
    if (!options.like.empty() && !isDicomName(options.output)) {
        throw UsageError("--like is for RT Doses, and " + options.output + " is none (.dcm)");
    }
    const DoseFactor factor = factorOf(options.scale);
    OutputNames names;
    names.difference = options.output;
    names.checkFiles({options.input, options.like}, {});
    DoseImage dose = readInput(options);
    names.checkFiles({dose.path, dose.dataPath}, {});
    const files::RtDoseFacts facts = factsOf(dose, options);
    OutputFile output(options.output);
    std::vector<DoseImage> others;
    combine(dose, others, factor);
    output.write(files::asText(volumeFileOf(output.name(), dose.image, facts).view()));
    return ExitCode::fine;
}

} // namespace zarngi
