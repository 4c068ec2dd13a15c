/**
 * @file dvhCommand.h
 * `zarngi dvh`: dose-volume figures and goals of one dose.
 */
#ifndef ZARNGI_CLI_COMMANDS_DVHCOMMAND_H
#define ZARNGI_CLI_COMMANDS_DVHCOMMAND_H

#include "cli/commands/compareOptions.h"
#include "cli/exitCode.h"
#include "comparison/failure.h"

namespace zarngi
{

/** @param options whose reference is the dose. @throws InputError, UsageError */
ExitCode dvh(const CompareOptions& options);

} // namespace zarngi

#endif
