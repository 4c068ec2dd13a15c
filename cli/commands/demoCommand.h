/**
 * @file demoCommand.h
 * `zarngi demo`: a synthetic pair of dose files and their comparison.
 */
#ifndef ZARNGI_CLI_COMMANDS_DEMOCOMMAND_H
#define ZARNGI_CLI_COMMANDS_DEMOCOMMAND_H

#include <string>

#include "cli/exitCode.h"
#include "comparison/failure.h"

namespace zarngi
{

/** Writes the pair into the folder, which is made when it does not exist, and compares it. */
ExitCode demo(const std::string& folder);

} // namespace zarngi

#endif
