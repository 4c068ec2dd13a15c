/**
 * @file doseUnit.h
 * What doses are told in.
 */
#ifndef ZARNGI_FILES_DOSEUNIT_H
#define ZARNGI_FILES_DOSEUNIT_H

namespace files
{

enum class DoseUnit {
    gray,
    relative,       ///< to a value that the file does not tell
    grayPerHistory, ///< of a simulation: a factor, the number of histories, makes Gy of it
    grayOfRun,      ///< of all histories that were simulated: a factor makes it that of a treatment
    calibrated      ///< CU, in which a portal imager is calibrated: a factor makes Gy of it
};

/** As documents have it: "Gy", "relative". */
constexpr const char* unitName(DoseUnit unit)
{
    switch (unit) {
    case DoseUnit::relative:
        return "relative";
    case DoseUnit::grayPerHistory:
        return "Gy/history";
    case DoseUnit::grayOfRun:
        return "Gy/run";
    case DoseUnit::calibrated:
        return "CU";
    case DoseUnit::gray:
        break;
    }
    return "Gy";
}

/** Whether only a factor makes doses of a treatment, in Gy, of it. */
constexpr bool needsFactor(DoseUnit unit)
{
    return unit == DoseUnit::grayPerHistory || unit == DoseUnit::grayOfRun ||
           unit == DoseUnit::calibrated;
}

} // namespace files

#endif
