#include "files/simulations/simulations.h"

#include "files/error.h"
#include "files/formats/volumeFormats.h"
#include "files/text.h"

namespace files
{

DoseImage readSimulation(FileFormat format, ByteView file, const FindFile& find, const Host& host)
{
    DoseImage dose =
        format == FileFormat::topas ? readTopas(file, find, host) : readThreeDdose(file, host);
    dose.format = formatName(format);
    dose.tellsOrientation = false;
    warnOfOrientation(dose);
    return dose;
}

void checkIsTold(std::size_t voxels, std::size_t bytes)
{
    constexpr std::size_t mostPerByte = 1000;
    if (voxels / mostPerByte > bytes) {
        refuseDamaged("its grid of " + grouped(voxels) + " voxels is more than " + grouped(bytes) +
                      " bytes can tell");
    }
}

} // namespace files
