#include "cli/commands/commandOptions.h"

#include <CLI/CLI.hpp>

#include <utility>

#include "comparison/conversion/volumeFile.h"
#include "comparison/request/typedNumber.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

/** Takes numbers from above `smallest` up to `largest`. */
CLI::Validator numberAbove(double smallest, double largest, const std::string& what)
{
    return CLI::Validator(
        [=](std::string& text) {
            const double value = parseTyped(text);
            if (!(value > smallest && value <= largest)) {
                return "\"" + oneLine(text) + "\" is not " + what;
            }
            text = exactNumber(value);
            return std::string();
        },
        "");
}

CLI::Validator positive()
{
    return numberAbove(1e-30, 1e30, "a positive number");
}

void addCriteria(CLI::App& command, CompareOptions& options)
{
    auto* const several = command
                              .add_option("-c,--criteria", options.criteria,
                                          "Like 3%/2mm, 2%L/2mm (L: local), 'PTV*:2%/1mm'")
                              ->type_name("DD/DTA")
                              ->expected(1)
                              ->take_all()
                              ->group("Criteria");
    const auto add = [&](const char* name, std::optional<double>& value, const char* unit,
                         const char* text) {
        command.add_option(name, value, text)
            ->type_name(unit)
            ->transform(positive())
            ->excludes(several)
            ->group("Criteria");
    };
    add("--dd", options.doseDifference, "%", "Dose difference (3)");
    add("--dta", options.distance, "MM", "Distance to agreement (2)");
    command.add_flag("--local", options.isLocal, "Dose difference relative to the voxel's dose")
        ->excludes(several)
        ->group("Criteria");
}

void addDoseLevels(CLI::App& command, CompareOptions& options)
{
    command.add_option("--dco", options.cutOff, "Dose cut-off: test voxels above it (10)")
        ->type_name("%")
        ->transform(numberAbove(-1e-30, 1e30, "a number from 0"))
        ->group("Criteria");
    auto* const norm =
        command
            .add_option("--norm", options.norm, "Dose of 100 % (reference maximum), or evaluation")
            ->type_name("GY")
            ->group("Criteria");
    command.add_option("--norm-at", options.normAt, "Dose of 100 % is that of the reference there")
        ->type_name("X,Y[,Z]")
        ->excludes(norm)
        ->group("Criteria");
}

void addSearch(CLI::App& command, CompareOptions& options)
{
    const auto flag = [&](const char* name, bool& value, const char* text) {
        command.add_flag(name, value, text)->group("Search");
    };
    command.add_option("--max-gamma", options.maxGamma, "Largest gamma searched for (3)")
        ->type_name("GAMMA")
        ->transform(positive())
        ->group("Search");
    command.add_option("--step", options.step, "Spacing of the search lattice (DTA / 10)")
        ->type_name("MM")
        ->transform(positive())
        ->group("Search");
    flag("--pass-rate-only", options.passRateOnly, "Only decide passed or failed: faster");
    flag("--nearest", options.nearest, "Dose of the containing voxel, no interpolation");
    flag("--slices", options.slices, "Interpolate within planes of constant z only");
    flag("--rotate", options.rotate, "Turn the search lattice at random");
    command.add_option("--threads", options.threads, "Worker threads (all cores)")
        ->check(CLI::Range(1, 4096))
        ->type_name("N")
        ->group("Search");
}

CLI::Option* addRepeated(CLI::App& command, const char* name, std::vector<std::string>& values,
                         const char* type, const char* text)
{
    return command.add_option(name, values, text)->type_name(type)->expected(1)->take_all();
}

void addLimits(CLI::App& command, CompareOptions& options)
{
    const auto add = [&](const char* name, std::vector<std::string>& values, const char* text) {
        addRepeated(command, name, values, "%", text)->group("Limits");
    };
    add("--tolerance", options.tolerance, "Pass rate for a pass (95); 'PTV*:98' for structures");
    add("--action", options.action, "Pass rate that calls for action (90); also 'NAME:90'");
    add("--fail-below", options.failBelow, "Exit with 3 below this pass rate; also 'NAME:95'");
    addRepeated(command, "--refuse", options.refuse, "NAME",
                "Refuse where this warning comes up: identical-doses")
        ->group("Limits");
}

void addMeasurements(CLI::App& command, CompareOptions& options)
{
    constexpr const char* group = "Planes, points and sums";
    const auto text = [&](const char* name, std::string& value, const char* type,
                          const char* what) {
        command.add_option(name, value, what)->type_name(type)->group(group);
    };
    const auto files = [&](const char* name, std::vector<std::string>& values, const char* what) {
        addRepeated(command, name, values, "FILE", what)->group(group);
    };
    text("--plane", options.plane, "PLANE", "axial, coronal, sagittal or gantry:ANGLE");
    text("--at", options.at, "X,Y,Z", "Where the plane's point 0, 0 lies in the patient (mm)");
    text("--reference-scale", options.referenceScale, "N",
         "Doses of the reference times this; also 1/33");
    text("--evaluation-scale", options.evaluationScale, "N",
         "Doses of the evaluation times this; also 1/33");
    files("--reference-add", options.referenceAdded, "Add this dose to the reference, on its grid");
    files("--evaluation-add", options.evaluationAdded,
          "Add this dose to the evaluation, on its grid");
    addTableUnits(command, options.units);
    command
        .add_flag("--allow-error-doses", options.allowErrorDoses,
                  "Take RT Doses of Dose Type ERROR for doses")
        ->group(group);
}

void addExplanation(CLI::App& command, CompareOptions& options)
{
    auto* const explain = command
                              .add_flag("--explain", options.explain,
                                        "Find the shift and dose factor that explain what fails\n"
                                        "by the first criterion that is for all voxels")
                              ->group("Explanation");
    command
        .add_option("--explain-range", options.explainRange,
                    "Largest shift along each axis (larger of 5 and 2 DTA)")
        ->type_name("MM")
        ->needs(explain)
        ->group("Explanation");
    command
        .add_option("--explain-structure", options.explainStructure,
                    "Explain what fails in it alone")
        ->type_name("NAME")
        ->needs(explain)
        ->group("Explanation");
    addRepeated(command, "--sweep", options.sweeps, "RANGE",
                "Pass rates by criterion: 1:5%/1:5mm, 1:0.5:3%L/2mm")
        ->group("Explanation");
}

void addNoise(CLI::App& command, CompareOptions& options)
{
    constexpr const char* group = "Statistical noise";
    auto* const noise =
        command
            .add_flag("--noise", options.noise, "Estimate the rates of doses without their noise")
            ->group(group);
    const auto text = [&](const char* name, std::string& value, const char* type,
                          const char* what) {
        command.add_option(name, value, what)->type_name(type)->group(group);
    };
    text("--reference-uncertainty", options.referenceUncertainty, "FILE|P%",
         "Of the reference, where its file tells none");
    text("--evaluation-uncertainty", options.evaluationUncertainty, "FILE|P%",
         "Of the evaluation, where its file tells none");
    text("--uncertainty-unit", options.uncertaintyUnit, "UNIT",
         "Of uncertainty files: percent, fraction or gray");
    command.add_option("--noise-seed", options.noiseSeed, "Of the random numbers of --noise (1)")
        ->type_name("N")
        ->needs(noise)
        ->group(group);
}

void addAnonymousOption(CLI::App& command, CompareOptions& options)
{
    command
        .add_option("--anonymous", options.outputs.alias,
                    "Tell nothing of files in outputs, call them so")
        ->type_name("NAME")
        ->excludes("--identify")
        ->group("Output");
}

void addOutput(CLI::App& command, CompareOptions& options)
{
    const auto file = [&](const char* name, std::string& value, const char* text) {
        command.add_option(name, value, text)->type_name("FILE")->group("Output");
    };
    file("--report", options.outputs.report, "Page with slices, profiles and histogram (.html)");
    file("--save-request", options.outputs.request,
         "What is asked for, to be used again: --request");
    file("--json", options.outputs.json, "Everything about the comparison, for programs");
    file("--csv", options.outputs.csv, "One row per criterion, for spreadsheets");
    addAnonymousOption(command, options);
    file("--gamma-map", options.outputs.gammaMap,
         "Gamma of every voxel (.mha, .nrrd, .nii.gz, .dcm)");
    file("--difference", options.outputs.difference,
         "Evaluation less reference (formats of --gamma-map)");
    file("--like", options.outputs.like, "DICOM of the patient and study of such a .dcm");
    command.add_option("--verbose", options.verbose, "Reports of the search, 0 to 5 (0)")
        ->check(CLI::Range(0, 5))
        ->type_name("N")
        ->group("Output");
}

void addStructureOptions(CLI::App& command, CompareOptions& options)
{
    const auto several = [&](const char* name, std::vector<std::string>& values, const char* type,
                             const char* text) {
        addRepeated(command, name, values, type, text)->group("Structures");
    };
    several("--structures", options.structures, "FILE", "DICOM RT Structure Set or label mask");
    several("--structure", options.shown, "NAME",
            "Show these only: 'PTV*', 'ring=PTV57-PTV67' (|, &, -)");
    several("--exclude", options.excluded, "NAME", "Show all but these");
    several("--dvh", options.metrics, "LIST", "More dose-volume figures: D99,D1cc,V20Gy,V95%");
    command
        .add_option("--prescription", options.prescription,
                    "Dose of 100 % in V95% (dose that percentages refer to)")
        ->type_name("GY")
        ->transform(positive())
        ->group("Structures");
    command
        .add_flag("--ignore-frame", options.ignoreFrame,
                  "Take structures of another frame as they lie")
        ->group("Structures");
    command
        .add_flag("--if-present", options.ifPresent,
                  "Leave out names that no structure has, and tell")
        ->group("Structures");
}

void addGoalOption(CLI::App& command, CompareOptions& options)
{
    addRepeated(command, "--goal", options.goals, "GOAL",
                "Exit with 3 unless met: 'PTV*: D95% >= 57 Gy'")
        ->group("Limits");
}

void addProtocolOption(CLI::App& command, CompareOptions& options)
{
    command
        .add_option("--protocol", options.protocol,
                    "Ask for what this protocol asks for (zarngi protocols)")
        ->type_name("NAME|FILE");
}

void addHeaderOptions(CLI::App& command, CompareOptions& options)
{
    constexpr const char* group = "Patient and plan";
    addRepeated(command, "--plan", options.plans, "FILE", "RT Plan or RT Ion Plan of the doses")
        ->group(group);
    command
        .add_flag("--identify", options.identify, "Outputs tell what files say of patient and plan")
        ->group(group);
    addRepeated(command, "--header", options.header, "KEY=TEXT",
                "Text for the header: 'comment=...', 'patientId=...'")
        ->group(group);
}

} // namespace

void addTableUnits(CLI::App& command, UnitOptions& options)
{
    const auto unit = [&](const char* name, std::string& value, const char* type,
                          std::vector<std::string> accepted, const char* text) {
        command.add_option(name, value, text)
            ->type_name(type)
            ->check(CLI::IsMember(std::move(accepted)))
            ->group("Planes, points and sums");
    };
    unit("--dose-unit", options.dose, "UNIT", {"Gy", "cGy"},
         "Of doses in tables, TIFFs and RT Doses that tell none");
    unit("--length-unit", options.length, "UNIT", {"mm", "cm"},
         "Of lengths in tables that tell none (mm)");
    command
        .add_option("--pixel-size", options.pixelSize,
                    "Of TIFFs, and of matrices without coordinates")
        ->type_name("MM")
        ->transform(positive())
        ->group("Planes, points and sums");
}

void addCompareOptions(CLI::App& command, CompareOptions& options)
{
    command.add_option("REFERENCE", options.reference, "Dose file that is tested voxel by voxel")
        ->type_name("");
    command
        .add_option("EVALUATION", options.evaluation, "Dose file that is searched for agreement")
        ->type_name("");
    command
        .add_option("--request", options.requestFile,
                    "Ask for what this file (request or record) asks for")
        ->type_name("FILE");
    addProtocolOption(command, options);
    command.get_option("--protocol")->excludes("--request");
    addCriteria(command, options);
    addDoseLevels(command, options);
    addSearch(command, options);
    addStructureOptions(command, options);
    command.add_option("--within", options.within, "Test voxels of these structures only: faster")
        ->type_name("NAME")
        ->group("Structures");
    addMeasurements(command, options);
    addLimits(command, options);
    addGoalOption(command, options);
    addHeaderOptions(command, options);
    addExplanation(command, options);
    addNoise(command, options);
    addOutput(command, options);
}

void addDvhOptions(CLI::App& command, CompareOptions& options)
{
    command.add_option("DOSE", options.reference, "Dose file")->type_name("")->required();
    command.add_flag("--allow-error-doses", options.allowErrorDoses,
                     "Take RT Doses of Dose Type ERROR for doses");
    addStructureOptions(command, options);
    addGoalOption(command, options);
    addProtocolOption(command, options);
    addHeaderOptions(command, options);
    const auto file = [&](const char* name, std::string& value, const char* text) {
        command.add_option(name, value, text)->type_name("FILE")->group("Output");
    };
    file("--report", options.outputs.report, "Page with goals, figures and histograms (.html)");
    file("--json", options.outputs.json, "Everything about it, for programs");
    file("--csv", options.outputs.csv, "One row per structure and per goal, for spreadsheets");
    addAnonymousOption(command, options);
}

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

} // namespace zarngi
