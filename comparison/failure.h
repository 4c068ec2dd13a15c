/**
 * @file failure.h
 * The failures a user sees: one line of text each.
 */
#ifndef ZARNGI_COMPARISON_FAILURE_H
#define ZARNGI_COMPARISON_FAILURE_H

#include <stdexcept>
#include <string>

namespace zarngi
{

/** A file or a computation that cannot give a result; the text is one line without a full stop. */
class InputError : public std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/** A computation whose memory could not be had. */
class MemoryError : public InputError
{
    using InputError::InputError;
};

/** A command line that makes no sense. */
class UsageError : public std::runtime_error
{
    using std::runtime_error::runtime_error;
};

} // namespace zarngi

#endif
