#include "cli/output/pendingFile.h"

#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstring>

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

} // namespace

PendingFile::PendingFile(const std::filesystem::path& folder)
{
    const SignalsHeld untilItIsPending;
    file_.emplace(folder);
    setPending(file_->path());
}

PendingFile::~PendingFile()
{
    const std::string path = file_->path();
    file_.reset();
    clearPending(path);
}

void PendingFile::renameTo(const std::string& path)
{
    file_->renameTo(path);
    clearPending(file_->path());
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
