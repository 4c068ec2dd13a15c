#include "cli/guard/unpackPixels.h"

#include <filesystem>
#include <string>

#include "cli/jpeg/exitCodes.h"
#include "platform/machine.h"
#include "platform/process.h"

namespace zarngi
{

namespace
{

files::FileError unsupported(const std::string& sentence)
{
    return {files::FileError::Kind::notSupported, sentence};
}

/** The decoding program: beside this one in a build, in libexec where they are installed. */
std::string decoderPath()
{
    std::error_code error;
    const std::filesystem::path folder =
        std::filesystem::path(platform::programFile()).parent_path();
    const std::filesystem::path beside = folder / "zarngi-jpeg";
    return std::filesystem::exists(beside, error)
               ? beside.string()
               : (folder.parent_path() / "libexec" / "zarngi" / "zarngi-jpeg").string();
}

/** What the way in which the decoder ended says of the file. */
std::string sentenceOf(const platform::ProcessEnd& end, bool isComplete)
{
    if (end.kind != platform::ProcessEnd::Kind::exited) {
        return end.kind == platform::ProcessEnd::Kind::tookTooLong
                   ? "is damaged: unpacking its dose does not end"
                   : "is damaged: its dose grid cannot be unpacked";
    }
    const bool isFine = end.code == jpeg::unpacked;
    return isFine && isComplete ? "" : "has a dose grid that cannot be unpacked";
}

} // namespace

files::Result<files::Bytes> unpackPixels(files::ByteView file, std::size_t bytes)
{
    const std::string program = decoderPath();
    if (!platform::isProgram(program)) {
        return unsupported("holds a dose packed as JPEG, and the program that unpacks it, " +
                           program + ", is not there");
    }
    files::Bytes unpacked(bytes + 1); // one more shows that there are too many
    const auto end = platform::runProgram(program, file, unpacked.buffer());
    if (!end) {
        return unsupported("holds a dose packed as JPEG, and " + program + " cannot be started");
    }
    const std::string sentence = sentenceOf(*end, end->received == bytes);
    if (!sentence.empty()) {
        return files::FileError{files::FileError::Kind::damaged, sentence};
    }
    unpacked.shorten(bytes);
    return unpacked;
}

} // namespace zarngi
