/**
 * @file demoCommand.h
 * `zarngi demo`: a synthetic pair of dose files and their comparison.
 */
#ifndef ZARNGI_CLI_DEMOCOMMAND_H
#define ZARNGI_CLI_DEMOCOMMAND_H

#include <string>

#include "failure.h"

namespace cli
{

/** Writes the pair into the folder, which is made when it does not exist, and compares it. */
ExitCode demo(const std::string& folder);

} // namespace cli

#endif
