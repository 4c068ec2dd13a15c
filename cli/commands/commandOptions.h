/**
 * @file commandOptions.h
 * The arguments of the commands, as the parser of the command line knows them. The options that
 * they fill in must outlive the parsing.
 */
#ifndef ZARNGI_CLI_COMMANDS_COMMANDOPTIONS_H
#define ZARNGI_CLI_COMMANDS_COMMANDOPTIONS_H

#include "cli/commands/compareOptions.h"
#include "cli/commands/convertCommand.h"

namespace CLI
{
class App;
}

namespace zarngi
{

void addCompareOptions(CLI::App& command, CompareOptions& options);

/** @param options of the reference alone */
void addDvhOptions(CLI::App& command, CompareOptions& options);

void addConvertOptions(CLI::App& command, ConvertOptions& options);

/** Adds --dose-unit, --length-unit and --pixel-size. */
void addTableUnits(CLI::App& command, UnitOptions& options);

} // namespace zarngi

#endif
