/**
 * @file selfTestCommand.h
 * `zarngi selftest`: the acceptance test of this installation.
 */
#ifndef ZARNGI_CLI_COMMANDS_SELFTESTCOMMAND_H
#define ZARNGI_CLI_COMMANDS_SELFTESTCOMMAND_H

#include <string>

#include "cli/exitCode.h"

namespace zarngi
{

/** @param record file for the record as JSON; empty: none. @throws InputError */
ExitCode selfTestCommand(const std::string& record);

} // namespace zarngi

#endif
