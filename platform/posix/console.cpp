#include "platform/console.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "platform/posix/checked.h"

namespace platform
{

std::vector<std::string> arguments(int argc, char** argv)
{
    return {argv + std::min(argc, 1), argv + argc};
}

PlainStreams::PlainStreams() = default;
PlainStreams::~PlainStreams() = default;

bool isTerminalForProgress()
{
    const char* const terminal = std::getenv("TERM");
    return isatty(STDERR_FILENO) == 1 && terminal != nullptr &&
           std::string_view(terminal) != "dumb";
}

void writeToTerminal(std::string_view text)
{
    static_cast<void>(!write(STDERR_FILENO, text.data(), text.size()));
}

void printToStandardError()
{
    if (dup2(STDERR_FILENO, STDOUT_FILENO) < 0) { // it is closed: nobody wants to see it
        const int nowhere = checked(open("/dev/null", O_WRONLY | O_CLOEXEC));
        dup2(nowhere, STDOUT_FILENO);
        close(nowhere);
    }
}

} // namespace platform
