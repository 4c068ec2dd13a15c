#include "capturedOutput.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <stdexcept>

namespace
{

int openMemory()
{
#ifdef __EMSCRIPTEN__ // has files of its memory, but none without a name
    return open("/captured", O_RDWR | O_CREAT | O_TRUNC, 0600);
#else
    return memfd_create("stdout", 0);
#endif
}

void flushBoth()
{
    std::cout.flush();
    std::fflush(stdout);
}

} // namespace

CapturedOutput::CapturedOutput() : memory_(openMemory()), original_(dup(STDOUT_FILENO))
{
    if (memory_ < 0 || original_ < 0) {
        throw std::runtime_error("cannot redirect standard output");
    }
    flushBoth();
    dup2(memory_, STDOUT_FILENO);
}

CapturedOutput::~CapturedOutput()
{
    flushBoth();
    dup2(original_, STDOUT_FILENO);
    close(original_);
    close(memory_);
}

std::string CapturedOutput::text() const
{
    flushBoth();
    std::string text(static_cast<std::size_t>(lseek(memory_, 0, SEEK_END)), '\0');
    const ssize_t count = pread(memory_, text.data(), text.size(), 0);
    text.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
    return text;
}
