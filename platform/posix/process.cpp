#include "platform/process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <new>

namespace platform
{

namespace
{

/** A file descriptor that is closed at the end. */
class Descriptor
{
public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() { closeNow(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int number() const { return number_; }
    void closeNow()
    {
        if (number_ >= 0) {
            close(number_);
        }
        number_ = -1;
    }

private:
    int number_;
};

bool writeAll(int file, std::span<const unsigned char> contents)
{
    while (!contents.empty()) {
        const ssize_t count = write(file, contents.data(), contents.size());
        if (count < 0 && errno != EINTR) {
            return false;
        }
        contents = contents.subspan(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    return true;
}

/** Reads up to the end or as far as the buffer goes; tells how much. */
std::size_t readAll(int file, std::span<unsigned char> buffer)
{
    std::size_t done = 0;
    while (done < buffer.size()) {
        const ssize_t count = read(file, buffer.data() + done, buffer.size() - done);
        if (count == 0 || (count < 0 && errno != EINTR)) {
            break;
        }
        done += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
    return done;
}

/** Starts a program with its input and output; gives its process, or -1. */
pid_t start(const std::string& program, int input, int output)
{
    posix_spawn_file_actions_t actions{};
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    std::string name = program;
    char* arguments[] = {name.data(), nullptr};
    pid_t process = -1;
    if (posix_spawn(&process, program.c_str(), &actions, nullptr, arguments, environ) != 0) {
        process = -1;
    }
    posix_spawn_file_actions_destroy(&actions);
    return process;
}

ProcessEnd endOf(pid_t process, std::size_t received)
{
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFSIGNALED(status)) {
        const bool tookTooLong = WTERMSIG(status) == SIGALRM;
        return {tookTooLong ? ProcessEnd::Kind::tookTooLong : ProcessEnd::Kind::killed, 0,
                received};
    }
    return {ProcessEnd::Kind::exited, WEXITSTATUS(status), received};
}

} // namespace

bool isProgram(const std::string& path)
{
    return access(path.c_str(), X_OK) == 0;
}

std::optional<ProcessEnd> runProgram(const std::string& path, std::span<const unsigned char> input,
                                     std::span<unsigned char> output)
{
    const Descriptor source(memfd_create("zarngi-input", MFD_CLOEXEC));
    int ends[2] = {-1, -1};
    if (source.number() < 0 || !writeAll(source.number(), input) || pipe2(ends, O_CLOEXEC) != 0) {
        throw std::bad_alloc();
    }
    const Descriptor results(ends[0]);
    Descriptor childEnd(ends[1]);
    lseek(source.number(), 0, SEEK_SET);
    const pid_t process = start(path, source.number(), childEnd.number());
    childEnd.closeNow();
    if (process < 0) {
        return std::nullopt;
    }
    const std::size_t received = readAll(results.number(), output);
    if (received == output.size()) {
        kill(process, SIGKILL);
    }
    return endOf(process, received);
}

void limitThisProcess(unsigned seconds, std::size_t bytes)
{
    constexpr rlimit noCoreDump{0, 0};
    const rlimit memory{bytes, bytes};
    setrlimit(RLIMIT_CORE, &noCoreDump);
    setrlimit(RLIMIT_AS, &memory);
    alarm(seconds);
}

} // namespace platform
