/**
 * @file selfTestCommand.h
 * `zarngi selftest`: the acceptance test of this installation.
 */
#ifndef ZARNGI_CLI_COMMANDS_SELFTESTCOMMAND_H
#define ZARNGI_CLI_COMMANDS_SELFTESTCOMMAND_H

#include "cli/exitCode.h"
#include "cli/output/outputs.h"

namespace zarngi
{

/**
 * @param names of the record: as JSON and as a page
 * @throws InputError, UsageError
 */
ExitCode selfTestCommand(const OutputNames& names);

} // namespace zarngi

#endif
