/**
 * @file infoCommand.h
 * `zarngi info`: what a dose file holds.
 */
#ifndef ZARNGI_CLI_INFOCOMMAND_H
#define ZARNGI_CLI_INFOCOMMAND_H

#include <string>

#include "failure.h"

namespace cli
{

struct InfoOptions {
    std::string file;
    bool showPatient = false;
    bool asJson = false;
};

/** @throws InputError */
ExitCode info(const InfoOptions& options);

} // namespace cli

#endif
