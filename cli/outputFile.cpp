#include "outputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "failure.h"

namespace cli
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

[[noreturn]] void failToWrite(const std::string& path)
{
    throw InputError(path + ": cannot be written: " + std::strerror(errno));
}

/** Waits until the contents are on the disk: some file systems tell only then that it is full. */
bool flushToDisk(const std::string& path)
{
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return false;
    }
    const bool isFlushed = fsync(file) == 0;
    close(file);
    return isFlushed;
}

} // namespace

OutputFile::OutputFile(std::string path) : path_(std::move(path))
{
    const std::filesystem::path target(path_);
    if (std::filesystem::is_directory(target)) {
        throw InputError(path_ + ": cannot be written: is a folder");
    }
    const std::string name = target.filename().string();
    const std::string pattern = ".XXXXXX-" + name;
    temporaryPath_ = (target.parent_path() / pattern).string();
    const SignalsHeld untilItIsPending;
    const int file = mkstemps(temporaryPath_.data(), static_cast<int>(name.size()) + 1);
    if (file < 0) {
        failToWrite(path_);
    }
    setPending(temporaryPath_);
    const mode_t mask = umask(0);
    umask(mask);
    fchmod(file, 0666 & ~mask);
    close(file);
}

OutputFile::~OutputFile()
{
    if (!isCommitted_) {
        unlink(temporaryPath_.c_str());
        clearPending(temporaryPath_);
    }
}

void OutputFile::write(std::string_view contents)
{
    errno = 0;
    std::ofstream file(temporaryPath_, std::ios::binary | std::ios::trunc);
    file.write(contents.data(), static_cast<std::streamsize>(contents.size()));
    file.close();
    if (!file) {
        failToWrite(path_);
    }
    commit();
}

void OutputFile::commit()
{
    if (!flushToDisk(temporaryPath_) || std::rename(temporaryPath_.c_str(), path_.c_str()) != 0) {
        failToWrite(path_);
    }
    isCommitted_ = true;
    clearPending(temporaryPath_);
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

} // namespace cli
