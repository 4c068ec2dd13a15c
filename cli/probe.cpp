#include "probe.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "failure.h"
#include "silentStderr.h"

namespace cli
{

namespace
{

/** Whatever this process does about signals: in the child those of a fault have to end it. */
void endOnFaults()
{
    for (const int signal : {SIGABRT, SIGALRM, SIGBUS, SIGFPE, SIGILL, SIGSEGV}) {
        std::signal(signal, SIG_DFL);
    }
}

[[noreturn]] void runInChild(const std::function<void()>& step, unsigned seconds)
{
    const rlimit noCoreDump{0, 0};
    setrlimit(RLIMIT_CORE, &noCoreDump);
    endOnFaults();
    alarm(seconds);
    const SilentStderr silence;
    try {
        step();
    } catch (...) {
        _exit(0);
    }
    _exit(0);
}

} // namespace

void probe(const std::function<void()>& step, unsigned seconds)
{
    const pid_t child = fork();
    if (child < 0) {
        return; // no process to be had: the step runs unprotected
    }
    if (child == 0) {
        runInChild(step, seconds);
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (!WIFEXITED(status)) {
        throw InputError(WTERMSIG(status) == SIGALRM ? "is damaged: reading it does not end"
                                                     : "is damaged beyond reading");
    }
}

} // namespace cli
