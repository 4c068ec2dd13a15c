#include "platform/console.h"

#include <fcntl.h>
#include <windows.h>

#include <shellapi.h> // which needs it

#include <cstdio>
#include <system_error>

#include "platform/windows/handle.h"
#include "platform/windows/wide.h"

namespace platform
{

namespace
{

constexpr int standardError = 2;

bool isConsole(int descriptor)
{
    DWORD mode = 0;
    return GetConsoleMode(handleOf(descriptor), &mode) != 0;
}

} // namespace

/** Those of main() are in the system's old character set, and "*" in them has been replaced. */
std::vector<std::string> arguments(int /*argc*/, char** /*argv*/)
{
    int count = 0;
    wchar_t** const words = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::string> texts;
    for (int i = 1; i < count; ++i) {
        texts.push_back(narrowOf(words[i]));
    }
    LocalFree(words);
    return texts;
}

PlainStreams::PlainStreams()
{
    for (FILE* const stream : {stdin, stdout, stderr}) {
        _setmode(_fileno(stream), _O_BINARY);
    }
    if (isConsole(standardOutput) || isConsole(standardError)) {
        previous_ = GetConsoleOutputCP();
        SetConsoleOutputCP(CP_UTF8);
    }
}

PlainStreams::~PlainStreams()
{
    if (previous_ != 0) {
        std::fflush(stdout);
        SetConsoleOutputCP(previous_);
    }
}

bool isTerminalForProgress()
{
    const HANDLE terminal = handleOf(standardError);
    DWORD mode = 0;
    return GetConsoleMode(terminal, &mode) != 0 &&
           SetConsoleMode(terminal, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

void writeToTerminal(std::string_view text)
{
    DWORD count = 0;
    WriteFile(handleOf(standardError), text.data(), static_cast<DWORD>(text.size()), &count,
              nullptr);
}

void printToStandardError()
{
    if (_dup2(standardError, standardOutput) < 0) { // it is closed: nobody wants to see it
        const int nowhere = _wopen(L"NUL", _O_WRONLY | _O_BINARY);
        if (nowhere < 0) {
            throw std::system_error(errno, std::generic_category());
        }
        _dup2(nowhere, standardOutput);
        _close(nowhere);
    }
}

} // namespace platform
