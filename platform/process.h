/**
 * @file process.h
 * A program as a process apart, between a buffer that it reads and one that it fills.
 */
#ifndef ZARNGI_PLATFORM_PROCESS_H
#define ZARNGI_PLATFORM_PROCESS_H

#include <cstddef>
#include <optional>
#include <span>
#include <string>

namespace platform
{

/** How a process ended. */
struct ProcessEnd {
    enum class Kind { exited, tookTooLong, killed };
    Kind kind;
    int code;             ///< of one that exited
    std::size_t received; ///< bytes
};

/** Whether a program is there that this user may start. */
bool isProgram(const std::string& path);

/**
 * Runs a program with the input on its standard input, until it has ended; what it says to standard
 * error is lost. One that fills the whole output is ended at once: there has to be room for more
 * than is expected. Nothing where the program cannot be started. @throws std::bad_alloc
 */
std::optional<ProcessEnd> runProgram(const std::string& path, std::span<const unsigned char> input,
                                     std::span<unsigned char> output);

/** Bounds on this process, before it reads what may be damaged. */
void limitThisProcess(unsigned seconds, std::size_t bytes);

} // namespace platform

#endif
