#include "cli/commands/compareOptions.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <thread>

#include "comparison/failure.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

/** Accepts numbers from above `smallest` up to `largest`. */
CLI::Validator numberAbove(double smallest, double largest, const std::string& what)
{
    return CLI::Validator(
        [=](const std::string& text) {
            const double value = parseNumber(text);
            const bool isAccepted = value > smallest && value <= largest;
            return isAccepted ? std::string() : "\"" + oneLine(text) + "\" is not " + what;
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
    const auto add = [&](const char* name, double& value, const char* unit, const char* text) {
        command.add_option(name, value, text)
            ->type_name(unit)
            ->check(positive())
            ->excludes(several)
            ->group("Criteria");
    };
    add("--dd", options.single.doseDifference, "%", "Dose difference (3)");
    add("--dta", options.single.distance, "MM", "Distance to agreement (2)");
    command
        .add_flag("--local", options.single.isLocal, "Dose difference relative to the voxel's dose")
        ->excludes(several)
        ->group("Criteria");
}

void addDoseLevels(CLI::App& command, CompareOptions& options)
{
    GammaSettings& settings = options.settings;
    command.add_option("--dco", settings.cutOff, "Dose cut-off: test voxels above it (10)")
        ->type_name("%")
        ->check(positive())
        ->group("Criteria");
    addNormalisation(command, options.measurements);
}

void addSearch(CLI::App& command, GammaSettings& settings)
{
    const auto flag = [&](const char* name, bool& value, const char* text) {
        command.add_flag(name, value, text)->group("Search");
    };
    command.add_option("--max-gamma", settings.maxGamma, "Largest gamma searched for (3)")
        ->type_name("GAMMA")
        ->check(positive())
        ->group("Search");
    command.add_option("--step", settings.step, "Spacing of the search lattice (DTA / 10)")
        ->type_name("MM")
        ->check(positive())
        ->group("Search");
    flag("--pass-rate-only", settings.passRateOnly, "Only decide passed or failed: faster");
    flag("--nearest", settings.nearest, "Dose of the containing voxel, no interpolation");
    flag("--slices", settings.slices, "Interpolate within planes of constant z only");
    flag("--rotate", settings.rotate, "Turn the search lattice at random");
    command.add_option("--threads", settings.threads, "Worker threads (all cores)")
        ->check(CLI::Range(1, 4096))
        ->type_name("N")
        ->group("Search");
}

CLI::Option* addRepeated(CLI::App& command, const char* name, std::vector<std::string>& values,
                         const char* type, const char* text)
{
    return command.add_option(name, values, text)->type_name(type)->expected(1)->take_all();
}

void addLimits(CLI::App& command, LimitOptions& limits)
{
    const auto add = [&](const char* name, std::vector<std::string>& values, const char* text) {
        addRepeated(command, name, values, "%", text)->group("Limits");
    };
    add("--tolerance", limits.tolerance, "Pass rate for a pass (95); 'PTV*:98' for structures");
    add("--action", limits.action, "Pass rate that calls for action (90); also 'NAME:90'");
    add("--fail-below", limits.failBelow, "Exit with 3 below this pass rate; also 'NAME:95'");
}

void addStructures(CLI::App& command, StructureOptions& options)
{
    const auto several = [&](const char* name, std::vector<std::string>& values, const char* type,
                             const char* text) {
        addRepeated(command, name, values, type, text)->group("Structures");
    };
    several("--structures", options.files, "FILE", "DICOM RT Structure Set or label mask");
    several("--structure", options.shown, "NAME",
            "Show these only: 'PTV*', 'ring=PTV57-PTV67' (|, &, -)");
    several("--exclude", options.excluded, "NAME", "Show all but these");
    command.add_option("--within", options.within, "Test voxels of these structures only: faster")
        ->type_name("NAME")
        ->group("Structures");
    several("--dvh", options.metrics, "LIST", "More dose-volume figures: D99,D1cc,V20Gy,V95%");
    command
        .add_option("--prescription", options.prescription,
                    "Dose of 100 % in V95% (dose that percentages refer to)")
        ->type_name("GY")
        ->check(positive())
        ->group("Structures");
    command
        .add_flag("--ignore-frame", options.ignoreFrame,
                  "Take structures of another frame as they lie")
        ->group("Structures");
}

void addExplanation(CLI::App& command, ExplainOptions& options)
{
    auto* const explain = command
                              .add_flag("--explain", options.isWanted,
                                        "Find the shift and dose factor that explain what fails\n"
                                        "by the first criterion that is for all voxels")
                              ->group("Explanation");
    command
        .add_option("--explain-range", options.range,
                    "Largest shift along each axis (larger of 5 and 2 DTA)")
        ->type_name("MM")
        ->needs(explain)
        ->group("Explanation");
    command.add_option("--explain-structure", options.structure, "Explain what fails in it alone")
        ->type_name("NAME")
        ->needs(explain)
        ->group("Explanation");
    addRepeated(command, "--sweep", options.sweeps, "RANGE",
                "Pass rates by criterion: 1:5%/1:5mm, 1:0.5:3%L/2mm")
        ->group("Explanation");
}

void addOutput(CLI::App& command, CompareOptions& options)
{
    const auto file = [&](const char* name, std::string& value, const char* text) {
        command.add_option(name, value, text)->type_name("FILE")->group("Output");
    };
    file("--report", options.outputs.report, "Page with slices, profiles and histogram (.html)");
    file("--json", options.outputs.json, "Everything about the comparison, for programs");
    file("--csv", options.outputs.csv, "One row per criterion, for spreadsheets");
    file("--gamma-map", options.outputs.gammaMap, "Gamma of every voxel (.mha, .nrrd, .nii.gz)");
    command.add_option("--verbose", options.settings.verbose, "Reports of the search, 0 to 5 (0)")
        ->check(CLI::Range(0, 5))
        ->type_name("N")
        ->group("Output");
}

} // namespace

void addCompareOptions(CLI::App& command, CompareOptions& options)
{
    options.settings.threads = static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
    command.add_option("REFERENCE", options.reference, "Dose file that is tested voxel by voxel")
        ->type_name("")
        ->required();
    command
        .add_option("EVALUATION", options.evaluation, "Dose file that is searched for agreement")
        ->type_name("")
        ->required();
    addCriteria(command, options);
    addDoseLevels(command, options);
    addSearch(command, options.settings);
    addStructures(command, options.structures);
    addMeasurements(command, options.measurements);
    addLimits(command, options.limits);
    addExplanation(command, options.explain);
    addOutput(command, options);
}

void checkCompareOptions(const CompareOptions& options)
{
    checkRequest(options);
    if (!options.outputs.report.empty() && options.settings.passRateOnly) {
        throw UsageError("--report needs gamma values, which --pass-rate-only does not compute");
    }
    options.outputs.checkFormats();
    std::vector<std::string> inputs = options.structures.files;
    inputs.insert(inputs.end(), {options.reference, options.evaluation});
    for (const std::vector<std::string>* const added :
         {&options.measurements.referenceAdded, &options.measurements.evaluationAdded}) {
        inputs.insert(inputs.end(), added->begin(), added->end());
    }
    options.outputs.checkFiles(inputs, options.criteriaToCompute());
}

} // namespace zarngi
