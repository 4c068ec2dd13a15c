/**
 * @file convertCommand.h
 * `zarngi convert`: a dose as a file of another format.
 */
#ifndef ZARNGI_CLI_COMMANDS_CONVERTCOMMAND_H
#define ZARNGI_CLI_COMMANDS_CONVERTCOMMAND_H

#include <string>

#include "cli/commands/compareOptions.h"
#include "cli/exitCode.h"

namespace zarngi
{

struct ConvertOptions {
    std::string input;
    std::string output;
    std::string like;  ///< a DICOM file of the patient and study to which an RT Dose belongs
    std::string scale; ///< a number or a fraction; empty: 1
    bool allowErrorDoses = false;
    UnitOptions units; ///< of doses that tell none
};

/** @throws UsageError, InputError */
ExitCode convert(const ConvertOptions& options);

} // namespace zarngi

#endif
