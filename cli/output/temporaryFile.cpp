#include "cli/output/temporaryFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "cli/output/systemCall.h"

namespace zarngi
{

namespace
{

constexpr int endingSignals[] = {SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGPIPE};

/** Lets the signals that end the program wait, while this thread is the only one. */
class SignalsHeld
{
public:
    SignalsHeld()
    {
        sigset_t held;
        sigemptyset(&held);
        for (const int signal : endingSignals) {
            sigaddset(&held, signal);
        }
        pthread_sigmask(SIG_BLOCK, &held, &previous_);
    }
    ~SignalsHeld() { pthread_sigmask(SIG_SETMASK, &previous_, nullptr); }
    SignalsHeld(const SignalsHeld&) = delete;
    SignalsHeld& operator=(const SignalsHeld&) = delete;

private:
    sigset_t previous_{};
};

/** The temporary names, readable from a signal handler: entries are never removed. */
struct Pending {
    const char* name = nullptr;
    std::atomic<bool> isThere{true};
    Pending* next = nullptr;
};

std::atomic<Pending*> pendingFiles{nullptr};

void setPending(const std::string& name)
{
    auto* const entry = new Pending;
    entry->name = strdup(name.c_str());
    entry->next = pendingFiles;
    pendingFiles = entry;
}

void clearPending(const std::string& name)
{
    for (Pending* entry = pendingFiles; entry != nullptr; entry = entry->next) {
        if (name == entry->name) {
            entry->isThere = false;
        }
    }
}

extern "C" void removePendingAndEnd(int signal)
{
    for (const Pending* entry = pendingFiles; entry != nullptr; entry = entry->next) {
        if (entry->isThere) {
            unlink(entry->name);
        }
    }
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

/** The permissions that the user wants new files to have. */
mode_t usualPermissions()
{
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

} // namespace

TemporaryFile::TemporaryFile(const std::filesystem::path& folder)
    : path_((folder / ".zarngi-XXXXXX").string())
{
    const SignalsHeld untilItIsPending;
    const int file = checked(mkstemp(path_.data()));
    setPending(path_);
    close(file);
}

TemporaryFile::~TemporaryFile()
{
    if (!isKept_) {
        unlink(path_.c_str());
        clearPending(path_);
    }
}

void TemporaryFile::renameTo(const std::string& path)
{
    checked(chmod(path_.c_str(), usualPermissions()));
    checked(std::rename(path_.c_str(), path.c_str()));
    isKept_ = true;
    clearPending(path_);
}

void removeTemporaryFilesOnSignals()
{
    // A limit on the size of files then fails the write, as a full disk does.
    std::signal(SIGXFSZ, SIG_IGN);
    struct sigaction action {
    };
    action.sa_handler = removePendingAndEnd;
    sigemptyset(&action.sa_mask);
    for (const int signal : endingSignals) {
        struct sigaction previous {
        };
        sigaction(signal, nullptr, &previous);
        if (previous.sa_handler != SIG_IGN) {
            sigaction(signal, &action, nullptr);
        }
    }
}

} // namespace zarngi
