/**
 * @file compareCommand.h
 * `zarngi compare`: reads two dose files, computes, tells and writes the results.
 */
#ifndef ZARNGI_CLI_COMMANDS_COMPARECOMMAND_H
#define ZARNGI_CLI_COMMANDS_COMPARECOMMAND_H

#include "cli/commands/compareOptions.h"
#include "cli/exitCode.h"
#include "comparison/failure.h"

namespace zarngi
{

/** @throws InputError, UsageError */
ExitCode compare(const CompareOptions& options);

} // namespace zarngi

#endif
