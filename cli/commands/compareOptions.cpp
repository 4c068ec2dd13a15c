#include "cli/commands/compareOptions.h"

#include <CLI/CLI.hpp>

#include <cmath>
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

CLI::Validator percentage()
{
    return numberAbove(-1e-300, 100, "a percentage from 0 to 100");
}

void addCriteria(CLI::App& command, CompareOptions& options)
{
    auto* const several = command
                              .add_option("-c,--criteria", options.criteria,
                                          "Like 3%/2mm or 2%L/2mm (L: local); may be repeated")
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
    command
        .add_option("--norm", settings.normalisation,
                    "Dose that the percentages refer to (reference maximum)")
        ->type_name("GY")
        ->check(positive())
        ->group("Criteria");
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

void addLimits(CLI::App& command, CompareOptions& options)
{
    command.add_option("--tolerance", options.limits.tolerance, "Pass rate for a pass (95)")
        ->type_name("%")
        ->check(percentage())
        ->group("Limits");
    command.add_option("--action", options.limits.action, "Pass rate that calls for action (90)")
        ->type_name("%")
        ->check(percentage())
        ->group("Limits");
    command.add_option("--fail-below", options.failBelow, "Exit with 3 below this pass rate")
        ->type_name("%")
        ->check(percentage())
        ->group("Limits");
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

std::vector<Criterion> CompareOptions::criteriaToCompute() const
{
    if (criteria.empty()) {
        return {single};
    }
    std::vector<Criterion> parsed;
    for (const std::string& text : criteria) {
        const Criterion criterion = parseCriterion(text);
        for (const Criterion& earlier : parsed) {
            if (earlier.label() == criterion.label()) {
                throw UsageError("--criteria: " + criterion.label() + " is given twice");
            }
        }
        parsed.push_back(criterion);
    }
    return parsed;
}

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
    addLimits(command, options);
    addOutput(command, options);
}

void checkCompareOptions(const CompareOptions& options)
{
    const std::vector<Criterion> criteria = options.criteriaToCompute();
    if (options.limits.action > options.limits.tolerance) {
        throw UsageError("--action " + number(options.limits.action) + " is above --tolerance " +
                         number(options.limits.tolerance));
    }
    if (!options.outputs.report.empty() && options.settings.passRateOnly) {
        throw UsageError("--report needs gamma values, which --pass-rate-only does not compute");
    }
    options.outputs.checkFormats();
    options.outputs.checkFiles({options.reference, options.evaluation}, criteria);
}

} // namespace zarngi
