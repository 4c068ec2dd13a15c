/**
 * @file compareCommand.h
 * `zarngi compare`: reads two dose files, computes, tells and writes the results.
 */
#ifndef ZARNGI_CLI_COMPARECOMMAND_H
#define ZARNGI_CLI_COMPARECOMMAND_H

#include "compareOptions.h"
#include "failure.h"

namespace cli
{

/** @throws InputError, UsageError */
ExitCode compare(const CompareOptions& options);

} // namespace cli

#endif
