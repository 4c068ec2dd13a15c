/**
 * @file compareOptions.h
 * The command line of a comparison.
 */
#ifndef ZARNGI_CLI_COMMANDS_COMPAREOPTIONS_H
#define ZARNGI_CLI_COMMANDS_COMPAREOPTIONS_H

#include <optional>
#include <string>
#include <vector>

#include "cli/commands/measurementOptions.h"
#include "cli/output/outputs.h"
#include "comparison/criterion.h"
#include "comparison/gammaRun.h"
#include "comparison/verdict.h"

namespace CLI
{
class App;
}

namespace zarngi
{

/** A criterion, and the patterns of the structures that it is for; none: for everything. */
struct CriterionRequest {
    Criterion criterion;
    std::vector<std::string> patterns{};
};

/** What is asked for about structures, as given. */
struct StructureOptions {
    std::vector<std::string> files;
    std::vector<std::string> shown;
    std::vector<std::string> excluded;
    std::string within;
    std::vector<std::string> metrics;   ///< lists
    std::optional<double> prescription; ///< Gy
    bool ignoreFrame = false;
};

/** Percentages, also of single structures; as given until checkCompareOptions() reads them. */
struct LimitOptions {
    std::vector<std::string> tolerance;
    std::vector<std::string> action;
    std::vector<std::string> failBelow;
};

struct CompareOptions {
    std::string reference;
    std::string evaluation;
    std::vector<std::string> criteria; ///< as given with --criteria
    Criterion single;                  ///< --dd, --dta, --local: used without --criteria
    GammaSettings settings;
    LimitOptions limits;
    StructureOptions structures;
    MeasurementOptions measurements;
    OutputNames outputs;
    std::string commandLine; ///< kept in the outputs

    /** The criteria asked for, each once. @throws UsageError */
    std::vector<CriterionRequest> requests() const;
    std::vector<Criterion> criteriaToCompute() const;
};

/** Adds the arguments to a command; the options must outlive the parsing. */
void addCompareOptions(CLI::App& command, CompareOptions& options);

/** The limits of all voxels. @throws UsageError */
Limits generalLimits(const LimitOptions& options);

/** What the parser cannot see: combinations that make no sense. @throws UsageError */
void checkCompareOptions(const CompareOptions& options);

} // namespace zarngi

#endif
