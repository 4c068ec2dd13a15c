/**
 * @file console.h
 * The words that a program was started with, and the streams that it prints to.
 */
#ifndef ZARNGI_PLATFORM_CONSOLE_H
#define ZARNGI_PLATFORM_CONSOLE_H

#include <string>
#include <string_view>
#include <vector>

namespace platform
{

constexpr int standardOutput = 1; ///< its descriptor

/** The words of the command line behind the program's name. */
std::vector<std::string> arguments(int argc, char** argv);

/** While it lives, what is printed is UTF-8 with the line ends that it has. */
class PlainStreams
{
public:
    PlainStreams();
    ~PlainStreams();
    PlainStreams(const PlainStreams&) = delete;
    PlainStreams& operator=(const PlainStreams&) = delete;

private:
    unsigned previous_ = 0; ///< character set of the console; 0: left alone
};

/** Whether standard error is a terminal that can show a line and replace it. */
bool isTerminalForProgress();

/** Writes to standard error; a terminal that does not take it is no reason to stop. */
void writeToTerminal(std::string_view text);

/** From now on, what is printed to standard output goes to standard error. @throws
 * std::system_error
 */
void printToStandardError();

} // namespace platform

#endif
