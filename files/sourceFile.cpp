#include "files/sourceFile.h"

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "files/error.h"
#include "files/fileFormat.h"
#include "files/pairNames.h"
#include "platform/paths.h"
#include "platform/systemError.h"

namespace files
{

namespace
{

[[noreturn]] void refuseSystem(const std::string& sentence, int error)
{
    throw Refusal({FileError::Kind::system, sentence, error});
}

platform::InputFile opened(const std::string& path)
{
    try {
        return platform::InputFile(path);
    } catch (const std::system_error& error) {
        const int number = error.code().value();
        refuseSystem(number == ENOENT ? "no such file"
                                      : "cannot be opened: " + platform::reasonOf(error.code()),
                     number);
    }
}

bool exists(const std::string& path)
{
    std::error_code error;
    return std::filesystem::exists(platform::pathOf(path), error);
}

} // namespace

SourceFile::SourceFile(const std::string& path, const std::string& what) : file_(opened(path))
{
    using Kind = platform::InputFile::Kind;
    const bool isFolder = file_.kind() == Kind::folder;
    if (isFolder || file_.kind() == Kind::device) {
        refuseSystem((isFolder ? "is a folder, not a " : "is a device, not a ") + what,
                     isFolder ? EISDIR : EINVAL);
    }
}

std::size_t SourceFile::fill(std::span<unsigned char> buffer) const
{
    std::size_t done = 0;
    try {
        while (done < buffer.size()) {
            const std::size_t count = file_.read(buffer.subspan(done));
            if (count == 0) {
                break;
            }
            done += count;
        }
    } catch (const std::system_error& error) {
        refuseSystem("cannot be read: " + platform::reasonOf(error.code()), error.code().value());
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
    std::size_t size = std::max(file_.size() + 1, 2 * beginning.size());
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
