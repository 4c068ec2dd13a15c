#include "files/readDose.h"
#include "files/toldResult.h"

#include "files/doseDoubts.h"
#include "files/fileFormat.h"
#include "files/formats/dicom/dose.h"
#include "files/formats/dicom/rtImage.h"
#include "files/formats/volumeFormats.h"
#include "files/measurements/tables.h"
#include "files/namedFile.h"
#include "files/simulations/simulations.h"

namespace files
{

namespace
{

constexpr const char* whatItIs = "dose file";

[[noreturn]] void refuseFormat()
{
    refuseForeign(
        "is not a dose file (DICOM RT Dose or RT Image, NRRD, MetaImage, NIfTI, or a table "
        "of measured doses)");
}

DoseImage readDicom(const Contents& contents, const Host& host)
{
    const DicomFile file = openDicomFile(contents, host.deflate);
    return isDicomRtImage(file) ? readDicomRtImage(file, host) : readDicomDose(file, host);
}

DoseImage readContents(const Contents& file, const std::string& name, const FindFile& find,
                       const Host& host)
{
    if (file.bytes.empty()) {
        refuseDamaged("is empty");
    }
    const std::optional<FileFormat> format = identifiedFormat(file.bytes, host.deflate, whatItIs);
    if (!format) {
        refuseFormat();
    }
    DoseImage dose = isTable(*format)        ? readTable(*format, file.bytes, host)
                     : isSimulation(*format) ? readSimulation(*format, file.bytes, find, host)
                     : *format == FileFormat::dicom ? readDicom(file, host)
                                                    : readVolume(*format, file, find, host);
    checkValues(dose, name);
    return dose;
}

DoseImage readPath(const std::string& path, const Host& host)
{
    NamedFile file(path, host);
    const Contents contents =
        file.read(whatItIs, [&](ByteView beginning) { checkMayBeDose(beginning, host.deflate); });
    return file.withPaths(readContents(contents, path, file.finder(), host));
}

} // namespace

void checkMayBeDose(ByteView beginning, const Deflate& deflate)
{
    if (!beginning.empty() && !identifiedFormat(beginning, deflate, whatItIs)) {
        refuseFormat();
    }
}

Result<DoseImage> readDose(const Contents& file, const std::string& name, const FindFile& find,
                           const Host& host)
{
    return toldResultOf(host, [&] { return readContents(file, name, find, host); });
}

Result<DoseImage> readDoseFile(const std::string& path, const Host& host)
{
    return toldResultOf(host, [&] { return readPath(path, host); });
}

} // namespace files
