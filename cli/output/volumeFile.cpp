#include "cli/output/volumeFile.h"

#include "comparison/failure.h"
#include "files/encodeVolume.h"
#include "files/nativeDeflate.h"

namespace zarngi
{

bool isWritableVolumeName(const std::string& path)
{
    return files::volumeFormatOf(path).has_value();
}

files::Bytes volumeFileOf(const std::string& name, const Image& image)
{
    const auto format = files::volumeFormatOf(name);
    if (!format) {
        throw InputError(name + ": does not end in .mha, .nrrd, .nii or .nii.gz");
    }
    files::Result<files::Bytes> file = files::encodeImage(*format, image, files::nativeDeflate());
    if (!file) {
        throw InputError(name + ": " + file.error().sentence);
    }
    return std::move(*file);
}

} // namespace zarngi
