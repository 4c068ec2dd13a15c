#include "files/sourceFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "files/error.h"
#include "files/fileFormat.h"
#include "files/pairNames.h"

namespace files
{

namespace
{

[[noreturn]] void refuseSystem(const std::string& sentence, int error)
{
    throw Refusal({FileError::Kind::system, sentence, error});
}

bool exists(const std::string& path)
{
    std::error_code error;
    return std::filesystem::exists(path, error);
}

} // namespace

SourceFile::SourceFile(const std::string& path, const std::string& what)
{
    file_ = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
    if (file_ < 0) {
        const int error = errno;
        refuseSystem(error == ENOENT ? "no such file"
                                     : std::string("cannot be opened: ") + std::strerror(error),
                     error);
    }
    struct stat status {
    };
    fstat(file_, &status);
    if (S_ISREG(status.st_mode)) {
        told_ = static_cast<std::size_t>(status.st_size);
    } else if (!S_ISFIFO(status.st_mode)) {
        close(file_);
        refuseSystem((S_ISDIR(status.st_mode) ? "is a folder, not a " : "is a device, not a ") +
                         what,
                     S_ISDIR(status.st_mode) ? EISDIR : EINVAL);
    }
}

SourceFile::~SourceFile()
{
    close(file_);
}

std::size_t SourceFile::fill(std::span<unsigned char> buffer) const
{
    std::size_t done = 0;
    while (done < buffer.size()) {
        const ssize_t count = read(file_, buffer.data() + done, buffer.size() - done);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            refuseSystem(std::string("cannot be read: ") + std::strerror(errno), errno);
        }
        if (count == 0) {
            break;
        }
        done += static_cast<std::size_t>(count);
    }
    return done;
}

Bytes SourceFile::readBeginning()
{
    Bytes beginning(identifyingBytes);
    beginning.shorten(fill(beginning.buffer()));
    return beginning;
}

Bytes SourceFile::readRest(Bytes beginning)
{
    if (beginning.size() < identifyingBytes) {
        return beginning;
    }
    // One byte more than the file has shows its end.
    std::size_t size = std::max(told_ + 1, 2 * beginning.size());
    for (Bytes all = std::move(beginning);; size *= 2) {
        Bytes larger(size);
        std::copy_n(all.data(), all.size(), larger.data());
        const std::size_t filled = all.size() + fill(larger.buffer().subspan(all.size()));
        larger.shorten(filled);
        if (filled < size) {
            return larger;
        }
        all = std::move(larger);
    }
}

Bytes readDataFile(const std::string& path)
{
    try {
        SourceFile source(path);
        return source.readRest(source.readBeginning());
    } catch (const Refusal& refusal) {
        const FileError& error = refusal.error();
        refuseDamaged(sentenceAboutData(path, error.systemError == ENOENT ? "" : error.sentence));
    }
}

std::optional<std::string> headerOfPair(const std::string& path)
{
    const std::optional<std::string> header = headerBeside(path, exists);
    if (!header) {
        return {};
    }
    // A packed header is told by its name alone: nothing else comes as .hdr.gz.
    const Bytes beginning = SourceFile(*header).readBeginning();
    const bool isPair =
        header->ends_with(".gz") || identifiedFormat(beginning.view()) == FileFormat::nifti;
    return isPair ? header : std::nullopt;
}

std::string dataOfPair(const std::string& header)
{
    return dataOfPair(header, exists);
}

} // namespace files
