/**
 * @file optionNames.h
 * How the program calls the members of a request.
 */
#ifndef ZARNGI_CLI_COMMANDS_OPTIONNAMES_H
#define ZARNGI_CLI_COMMANDS_OPTIONNAMES_H

#include "comparison/sentence.h"

namespace zarngi
{

/** "--criteria"; the doses themselves are "REFERENCE" and "EVALUATION". */
const char* optionName(Member member);

/** Members by their options, files by their paths. */
const Wording& programWording();

} // namespace zarngi

#endif
