/**
 * @file compareOptions.h
 * The command line of a comparison.
 */
#ifndef ZARNGI_CLI_COMMANDS_COMPAREOPTIONS_H
#define ZARNGI_CLI_COMMANDS_COMPAREOPTIONS_H

#include "cli/commands/measurementOptions.h"
#include "cli/output/outputs.h"
#include "comparison/request/comparisonRequest.h"

namespace CLI
{
class App;
}

namespace zarngi
{

/** What is asked for, and where to write it. */
struct CompareOptions : ComparisonRequest {
    OutputNames outputs;
};

/** Adds the arguments to a command; the options must outlive the parsing. */
void addCompareOptions(CLI::App& command, CompareOptions& options);

/** What the parser cannot see: combinations that make no sense. @throws UsageError */
void checkCompareOptions(const CompareOptions& options);

} // namespace zarngi

#endif
