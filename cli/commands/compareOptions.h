/**
 * @file compareOptions.h
 * The command line of a comparison.
 */
#ifndef ZARNGI_CLI_COMMANDS_COMPAREOPTIONS_H
#define ZARNGI_CLI_COMMANDS_COMPAREOPTIONS_H

#include <optional>
#include <string>
#include <vector>

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

struct CompareOptions {
    std::string reference;
    std::string evaluation;
    std::vector<std::string> criteria; ///< as given with --criteria
    Criterion single;                  ///< --dd, --dta, --local: used without --criteria
    GammaSettings settings;
    Limits limits;
    std::optional<double> failBelow;
    OutputNames outputs;
    std::string commandLine; ///< kept in the outputs

    /** The criteria asked for. @throws UsageError */
    std::vector<Criterion> criteriaToCompute() const;
};

/** Adds the arguments to a command; the options must outlive the parsing. */
void addCompareOptions(CLI::App& command, CompareOptions& options);

/** What the parser cannot see: combinations that make no sense. @throws UsageError */
void checkCompareOptions(const CompareOptions& options);

} // namespace zarngi

#endif
