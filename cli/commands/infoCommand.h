/**
 * @file infoCommand.h
 * `zarngi info`: what a file of doses, structures or a plan holds.
 */
#ifndef ZARNGI_CLI_COMMANDS_INFOCOMMAND_H
#define ZARNGI_CLI_COMMANDS_INFOCOMMAND_H

#include <string>

#include "cli/commands/compareOptions.h"
#include "cli/exitCode.h"
#include "comparison/failure.h"

namespace zarngi
{

struct InfoOptions {
    std::string file;
    bool asStructures = false; ///< a label mask, which is told as a dose otherwise
    bool showPatient = false;
    bool asJson = false;
    UnitOptions units; ///< of tables
};

/** @throws InputError */
ExitCode info(const InfoOptions& options);

} // namespace zarngi

#endif
