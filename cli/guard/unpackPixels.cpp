#include "cli/guard/unpackPixels.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <string>

#include "cli/jpeg/exitCodes.h"

namespace zarngi
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

files::FileError unsupported(const std::string& sentence)
{
    return {files::FileError::Kind::notSupported, sentence};
}

/** The decoding program: beside this one in a build, in libexec where they are installed. */
std::string decoderPath()
{
    std::error_code error;
    const std::filesystem::path folder =
        std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    const std::filesystem::path beside = folder / "zarngi-jpeg";
    return std::filesystem::exists(beside, error)
               ? beside.string()
               : (folder.parent_path() / "libexec" / "zarngi" / "zarngi-jpeg").string();
}

bool writeAll(int file, files::ByteView contents)
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

/** Starts the decoder with its input and output; gives its process, or -1. */
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

int waitFor(pid_t process)
{
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

/** What the way in which the decoder ended says of the file. */
std::string sentenceOf(int status, bool isComplete)
{
    if (WIFSIGNALED(status)) {
        return WTERMSIG(status) == SIGALRM ? "is damaged: unpacking its dose does not end"
                                           : "is damaged: its dose grid cannot be unpacked";
    }
    const bool isFine = WEXITSTATUS(status) == jpeg::unpacked;
    return isFine && isComplete ? "" : "has a dose grid that cannot be unpacked";
}

} // namespace

files::Result<files::Bytes> unpackPixels(files::ByteView file, std::size_t bytes)
{
    const std::string program = decoderPath();
    if (access(program.c_str(), X_OK) != 0) {
        return unsupported("holds a dose packed as JPEG, and the program that unpacks it, " +
                           program + ", is not there");
    }
    const Descriptor input(memfd_create("zarngi-dicom", MFD_CLOEXEC));
    int ends[2] = {-1, -1};
    if (input.number() < 0 || !writeAll(input.number(), file) || pipe2(ends, O_CLOEXEC) != 0) {
        return files::FileError{files::FileError::Kind::outOfMemory, "does not fit in memory"};
    }
    const Descriptor pixels(ends[0]);
    Descriptor childEnd(ends[1]);
    lseek(input.number(), 0, SEEK_SET);
    const pid_t process = start(program, input.number(), childEnd.number());
    childEnd.closeNow();
    if (process < 0) {
        return unsupported("holds a dose packed as JPEG, and " + program + " cannot be started");
    }
    files::Bytes unpacked(bytes + 1); // one more shows that there are too many
    unpacked.shorten(readAll(pixels.number(), unpacked.buffer()));
    if (unpacked.size() > bytes) {
        kill(process, SIGKILL);
    }
    const std::string sentence = sentenceOf(waitFor(process), unpacked.size() == bytes);
    if (!sentence.empty()) {
        return files::FileError{files::FileError::Kind::damaged, sentence};
    }
    return unpacked;
}

} // namespace zarngi
