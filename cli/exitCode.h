/**
 * @file exitCode.h
 * How the program ends.
 */
#ifndef ZARNGI_CLI_EXITCODE_H
#define ZARNGI_CLI_EXITCODE_H

namespace zarngi
{

/** Exit codes of the program, as its manual page lists them. */
enum class ExitCode { fine = 0, badInput = 1, wrongUsage = 2, belowLimit = 3, selfTestFailed = 5 };

} // namespace zarngi

#endif
