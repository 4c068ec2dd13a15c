#include "files/formats/volumeFormats.h"

namespace files
{

namespace
{

DoseImage readAs(FileFormat format, const Contents& file, const FindFile& find, const Host& host)
{
    switch (format) {
    case FileFormat::metaImage:
        return readMetaImage(file, find, host);
    case FileFormat::nifti:
        return readNifti(file, find, host);
    default:
        return readNrrd(file, find, host);
    }
}

} // namespace

void warnOfOrientation(DoseImage& dose)
{
    if (!dose.tellsOrientation) {
        dose.warnings.emplace_back("tells no orientation; its axes are taken for those of the "
                                   "patient (to the left, to the back, to the head)");
    }
}

void assumeGray(DoseImage& dose)
{
    dose.tellsUnit = false;
    dose.doubts.emplace_back("tells no unit of dose; its values are taken for Gy");
}

void completeVolume(FileFormat format, DoseImage& dose)
{
    dose.format = formatName(format);
    if (!dose.tellsPosition) {
        dose.warnings.emplace_back("tells no position; its first voxel is put at 0, 0, 0");
    }
    warnOfOrientation(dose);
}

DoseImage readVolume(FileFormat format, const Contents& file, const FindFile& find,
                     const Host& host)
{
    DoseImage dose = readAs(format, file, find, host);
    completeVolume(format, dose);
    return dose;
}

} // namespace files
