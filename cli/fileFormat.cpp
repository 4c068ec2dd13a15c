#include "fileFormat.h"

#include <zlib.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string_view>

#include "failure.h"

namespace cli
{

namespace
{

void checkReadable(const std::string& path)
{
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (!std::filesystem::exists(status)) {
        throw InputError("no such file");
    }
    if (std::filesystem::is_directory(status)) {
        throw InputError("is a folder, not a dose file");
    }
    if (!std::filesystem::is_regular_file(status)) {
        throw InputError("is not a regular file");
    }
    errno = 0;
    if (!std::ifstream(path, std::ios::binary)) {
        throw InputError(std::string("cannot be opened: ") + std::strerror(errno));
    }
    if (std::filesystem::file_size(path, error) == 0) {
        throw InputError("is empty");
    }
}

bool startsLikeNifti(std::string_view beginning)
{
    constexpr std::size_t magicPosition = 344;
    return beginning.size() >= magicPosition + 4 && (beginning.substr(magicPosition, 3) == "n+1" ||
                                                     beginning.substr(magicPosition, 3) == "ni1");
}

bool startsLikeMetaImage(std::string_view beginning)
{
    for (const std::string_view key : {"ObjectType", "NDims", "Comment", "FormType"}) {
        const auto position = beginning.find_first_not_of(" \t\r\n");
        if (position != std::string_view::npos && beginning.substr(position, key.size()) == key) {
            return beginning.find('=') != std::string_view::npos;
        }
    }
    return false;
}

bool startsLikeDicom(std::string_view beginning)
{
    constexpr std::size_t preamble = 128;
    constexpr std::string_view identifyingGroup("\x08\x00", 2);
    return (beginning.size() > preamble && beginning.substr(preamble, 4) == "DICM") ||
           (beginning.size() > 8 && beginning.substr(0, 2) == identifyingGroup &&
            beginning[3] == '\0');
}

} // namespace

std::string formatName(FileFormat format)
{
    switch (format) {
    case FileFormat::nrrd:
        return "NRRD";
    case FileFormat::metaImage:
        return "MetaImage";
    case FileFormat::nifti:
        return "NIfTI";
    case FileFormat::dicom:
        break;
    }
    return "DICOM RT Dose";
}

std::string readBeginning(const std::string& path, unsigned length)
{
    const std::unique_ptr<gzFile_s, int (*)(gzFile)> file(gzopen(path.c_str(), "rb"), gzclose);
    std::string beginning(length, '\0');
    const int count = file ? gzread(file.get(), beginning.data(), length) : 0;
    beginning.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return beginning;
}

FileFormat identifyFormat(const std::string& path)
{
    checkReadable(path);
    const std::string beginning = readBeginning(path, 1024);
    if (beginning.starts_with("NRRD000")) {
        return FileFormat::nrrd;
    }
    if (startsLikeNifti(beginning)) {
        return FileFormat::nifti;
    }
    if (startsLikeDicom(beginning)) {
        return FileFormat::dicom;
    }
    if (startsLikeMetaImage(beginning)) {
        return FileFormat::metaImage;
    }
    throw InputError("is not a dose file (DICOM RT Dose, NRRD, MetaImage or NIfTI)");
}

} // namespace cli
