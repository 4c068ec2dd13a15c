#include "files/error.h"
#include "files/measurements/tables.h"

namespace files
{

namespace
{

/** Refuses what is known by name, but does not tell enough. */
[[noreturn]] void refuseKnown(FileFormat format)
{
    if (format == FileFormat::iplanPlane) {
        refuseUnsupported(
            "is a plane by BrainLAB iPlan, which does not tell which way its axes point; export "
            "the dose as DICOM RT Dose");
    }
    if (format == FileFormat::exchangedImage) {
        refuseUnsupported(
            "is of the Generic Dosimetry Exchange Format, which does not tell where its image "
            "lies and which way it points; export a DICOM RT Image in Gy or cGy");
    }
    refuseUnsupported("is an IBA plane in binary form (.opd); export it as text (.opg)");
}

DoseImage readAny(FileFormat format, ByteView file, const Host& host)
{
    switch (format) {
    case FileFormat::detectorArray:
        return readDetectorArray(file);
    case FileFormat::extractedPlane:
        return readExtractedPlane(file);
    case FileFormat::ptwArray:
        return readPtwArray(file);
    case FileFormat::ibaPlane:
        return readIbaPlane(file, host.units);
    case FileFormat::qaPlane:
        return readQaPlane(file);
    case FileFormat::tiff:
        return readTiffPlane(file, host);
    case FileFormat::iplanPlane:
    case FileFormat::exchangedImage:
    case FileFormat::binaryIbaPlane:
        refuseKnown(format);
    default:
        return readPlainTable(file, host.units);
    }
}

/** Whether it has an end of its own, so that a missing end of its last line tells nothing. */
bool hasOwnEnd(FileFormat format)
{
    return format == FileFormat::detectorArray || format == FileFormat::ptwArray ||
           format == FileFormat::ibaPlane || format == FileFormat::tiff;
}

} // namespace

DoseImage readTable(FileFormat format, ByteView file, const Host& host)
{
    DoseImage dose = readAny(format, file, host);
    dose.format = formatName(format);
    if (!hasOwnEnd(format) && !file.empty() && file.back() != '\n') {
        dose.warnings.emplace_back("does not end with the end of a line; it may be cut short");
    }
    return dose;
}

} // namespace files
