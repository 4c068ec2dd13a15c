#include <utility>

#include "files/error.h"
#include "files/measurements/tables.h"

namespace files
{

namespace
{

/** Refuses what is known by name, but does not tell enough. */
[[noreturn]] void refuseKnown()
{
    refuse("is an IBA plane in binary form (.opd); export it as text (.opg)");
}

DoseImage readAny(FileFormat format, ByteView file, const TableUnits& units)
{
    switch (format) {
    case FileFormat::detectorArray:
        return readDetectorArray(file);
    case FileFormat::extractedPlane:
        return readExtractedPlane(file);
    case FileFormat::ptwArray:
        return readPtwArray(file);
    case FileFormat::ibaPlane:
        return readIbaPlane(file, units);
    case FileFormat::binaryIbaPlane:
        refuseKnown();
    default:
        return readPlainTable(file, units);
    }
}

/** Whether a text has an end of its own, so that a missing end of its last line tells nothing. */
bool endsInWords(FileFormat format)
{
    return format == FileFormat::detectorArray || format == FileFormat::ptwArray ||
           format == FileFormat::ibaPlane;
}

} // namespace

DoseImage readTable(FileFormat format, ByteView file, const TableUnits& units)
{
    DoseImage dose = readAny(format, file, units);
    dose.format = formatName(format);
    if (!endsInWords(format) && !file.empty() && file.back() != '\n') {
        dose.warnings.emplace_back("does not end with the end of a line; it may be cut short");
    }
    return dose;
}

} // namespace files
