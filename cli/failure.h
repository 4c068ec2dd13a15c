/**
 * @file failure.h
 * The failures a user sees: one line of text and the exit code of the program.
 */
#ifndef ZARNGI_CLI_FAILURE_H
#define ZARNGI_CLI_FAILURE_H

#include <stdexcept>
#include <string>

namespace cli
{

/** Exit codes of the program, as its manual page lists them. */
enum class ExitCode { fine = 0, badInput = 1, wrongUsage = 2, belowLimit = 3 };

/** A file or a computation that cannot give a result; the text is one line without a full stop. */
class InputError : public std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/** A command line that makes no sense. */
class UsageError : public std::runtime_error
{
    using std::runtime_error::runtime_error;
};

} // namespace cli

#endif
