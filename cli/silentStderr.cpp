#include "silentStderr.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

namespace cli
{

SilentStderr::SilentStderr() : saved_(dup(STDERR_FILENO))
{
    std::fflush(stderr);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere >= 0) {
        dup2(nowhere, STDERR_FILENO);
        close(nowhere);
    }
}

SilentStderr::~SilentStderr()
{
    std::fflush(stderr);
    if (saved_ >= 0) {
        dup2(saved_, STDERR_FILENO);
        close(saved_);
    }
}

} // namespace cli
