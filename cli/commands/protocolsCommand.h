/**
 * @file protocolsCommand.h
 * The command `zarngi protocols`.
 */
#ifndef ZARNGI_CLI_COMMANDS_PROTOCOLSCOMMAND_H
#define ZARNGI_CLI_COMMANDS_PROTOCOLSCOMMAND_H

#include <string>

#include "cli/exitCode.h"

namespace zarngi
{

/** Lists the shipped protocols, or prints the document of one. @throws UsageError */
ExitCode protocols(const std::string& name, bool asJson);

} // namespace zarngi

#endif
