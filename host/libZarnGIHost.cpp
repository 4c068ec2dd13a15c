#include "libZarnGIHost.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>

#include "comparison/failedSides.h"
#include "files/encodeVolume.h"
#include "files/nativeDeflate.h"
#include "files/output/wholeFile.h"
#include "files/readDose.h"
#include "files/text.h"
#include "host/calls.h"
#include "host/doses.h"

namespace
{

using files::FileError;
using host::dosesOf;
using host::finder;
using host::geometryOf;
using host::guarded;
using host::holdsDoses;
using host::isGrid;
using host::readerHost;
using host::refuseArgument;
using host::report;

/** Hands a volume to the caller. */
int hand(files::Result<files::DoseImage> result, zarnGIHost_Dose** dose, zarnGIHost_Error* error)
{
    if (result && !result->hasVolume()) {
        return report(
            {FileError::Kind::notSupported, "holds a plane or points, not a volume of doses"},
            error);
    }
    return host::handDose(std::move(result), dose, error);
}

using Kind = files::ValueFormat::Kind;

constexpr std::array<files::ValueFormat, 10> valueFormats = {{{Kind::unsignedInteger, 1},
                                                              {Kind::signedInteger, 1},
                                                              {Kind::unsignedInteger, 2},
                                                              {Kind::signedInteger, 2},
                                                              {Kind::unsignedInteger, 4},
                                                              {Kind::signedInteger, 4},
                                                              {Kind::unsignedInteger, 8},
                                                              {Kind::signedInteger, 8},
                                                              {Kind::floatingPoint, 4},
                                                              {Kind::floatingPoint, 8}}};

files::Result<files::Bytes> encode(files::VolumeFormat format, const zarnGIHost_Volume& volume)
{
    const files::Geometry geometry = geometryOf(volume);
    const files::ValueFormat& values = valueFormats[static_cast<std::size_t>(volume.type)];
    const auto* const bytes = static_cast<const unsigned char*>(volume.values);
    return files::encodeVolume(format, geometry, values, {bytes, geometry.voxels() * values.bytes},
                               files::nativeDeflate());
}

/** Encodes a volume and hands the file to `use`. */
template <class Use>
int encodeFor(const char* name, const zarnGIHost_Volume* volume, zarnGIHost_Error* error,
              const Use& use)
{
    if (name == nullptr || volume == nullptr || volume->values == nullptr) {
        return refuseArgument("a required pointer is null", error);
    }
    const auto format = files::volumeFormatOf(name);
    if (!format) {
        return refuseArgument("does not end in .mha, .nrrd, .nii or .nii.gz", error);
    }
    const bool isType = volume->type >= 0 && volume->type < static_cast<int>(valueFormats.size());
    if (!isType || !isGrid(*volume)) {
        return refuseArgument(isType ? "has a grid that cannot be" : "has an unknown type", error);
    }
    return guarded(error, [&] {
        const files::Result<files::Bytes> encoded = encode(*format, *volume);
        return encoded ? use(*encoded) : report(encoded.error(), error);
    });
}

} // namespace

int zarnGIHost_setExcerpts(int areShown)
{
    return host::setExcerpts(areShown != 0) ? 1 : 0;
}

int zarnGIHost_readDose(const char* path, zarnGIHost_Dose** dose, zarnGIHost_Error* error)
{
    if (path == nullptr || dose == nullptr) {
        return refuseArgument("a required pointer is null", error);
    }
    *dose = nullptr;
    return guarded(error,
                   [&] { return hand(files::readDoseFile(path, readerHost()), dose, error); });
}

int zarnGIHost_readDoseFromMemory(const void* contents, size_t size, zarnGIHost_FindFile find,
                                  void* context, zarnGIHost_Dose** dose, zarnGIHost_Error* error)
{
    if (contents == nullptr || dose == nullptr) {
        return refuseArgument("a required pointer is null", error);
    }
    *dose = nullptr;
    return guarded(error, [&] {
        const files::ByteView file(static_cast<const unsigned char*>(contents), size);
        return hand(files::readDose(file, "", finder(find, context), readerHost()), dose, error);
    });
}

void zarnGIHost_freeDose(zarnGIHost_Dose* dose)
{
    delete dose;
}

int zarnGIHost_getGrid(const zarnGIHost_Dose* dose, int size[3], double spacing[3],
                       double origin[3])
{
    if (dose == nullptr || size == nullptr || spacing == nullptr || origin == nullptr) {
        return ZARNGI_HOST_BAD_ARGUMENT;
    }
    const files::Geometry& geometry = dose->image.image.geometry;
    std::copy_n(geometry.size.begin(), 3, size);
    std::copy_n(geometry.spacing.begin(), 3, spacing);
    std::copy_n(geometry.origin.begin(), 3, origin);
    return ZARNGI_HOST_OK;
}

const float* zarnGIHost_getDoses(const zarnGIHost_Dose* dose)
{
    return dose == nullptr ? nullptr : dose->image.image.values.data();
}

int zarnGIHost_getFact(const zarnGIHost_Dose* dose, int fact)
{
    if (dose == nullptr) {
        return ZARNGI_HOST_BAD_ARGUMENT;
    }
    switch (fact) {
    case ZARNGI_HOST_IS_RELATIVE:
        return dose->image.unit == files::DoseUnit::relative ? 1 : 0;
    case ZARNGI_HOST_TELLS_POSITION:
        return dose->image.tellsPosition ? 1 : 0;
    case ZARNGI_HOST_TELLS_ORIENTATION:
        return dose->image.tellsOrientation ? 1 : 0;
    case ZARNGI_HOST_IS_DICOM:
        return dose->image.dicom ? 1 : 0;
    case ZARNGI_HOST_TELLS_UNIT:
        return dose->image.tellsUnit ? 1 : 0;
    case ZARNGI_HOST_IS_ERROR:
        return dose->image.isError() ? 1 : 0;
    default:
        return ZARNGI_HOST_BAD_ARGUMENT;
    }
}

const char* zarnGIHost_getText(const zarnGIHost_Dose* dose, int text)
{
    static const files::DicomIdentity nothing;
    // The order of enum zarnGIHost_Text.
    static constexpr std::array<std::string files::DicomIdentity::*, 12> texts = {
        &files::DicomIdentity::modality,          &files::DicomIdentity::summationType,
        &files::DicomIdentity::doseType,          &files::DicomIdentity::planLabel,
        &files::DicomIdentity::seriesDescription, &files::DicomIdentity::doseComment,
        &files::DicomIdentity::manufacturer,      &files::DicomIdentity::frameOfReference,
        &files::DicomIdentity::sopInstance,       &files::DicomIdentity::patientName,
        &files::DicomIdentity::patientId,         &files::DicomIdentity::patientBirthDate};
    if (dose == nullptr || text < ZARNGI_HOST_FORMAT || text > ZARNGI_HOST_PATIENT_BIRTH_DATE) {
        return nullptr;
    }
    if (text == ZARNGI_HOST_FORMAT) {
        return dose->image.format.c_str();
    }
    if (text == ZARNGI_HOST_DATA_PATH) {
        return dose->image.dataPath.c_str();
    }
    const files::DicomIdentity& identity = dose->image.dicom ? *dose->image.dicom : nothing;
    return (identity.*texts[static_cast<std::size_t>(text - ZARNGI_HOST_MODALITY)]).c_str();
}

const char* zarnGIHost_getWarning(const zarnGIHost_Dose* dose, size_t index)
{
    const bool isThere = dose != nullptr && index < dose->image.warnings.size();
    return isThere ? dose->image.warnings[index].c_str() : nullptr;
}

int zarnGIHost_getUnit(const zarnGIHost_Dose* dose)
{
    if (dose == nullptr) {
        return ZARNGI_HOST_BAD_ARGUMENT;
    }
    switch (dose->image.unit) {
    case files::DoseUnit::relative:
        return ZARNGI_HOST_RELATIVE;
    case files::DoseUnit::grayPerHistory:
        return ZARNGI_HOST_GRAY_PER_HISTORY;
    case files::DoseUnit::grayOfRun:
        return ZARNGI_HOST_GRAY_OF_RUN;
    case files::DoseUnit::calibrated:
        return ZARNGI_HOST_CALIBRATED;
    case files::DoseUnit::gray:
        break;
    }
    return ZARNGI_HOST_GRAY;
}

const float* zarnGIHost_getUncertainties(const zarnGIHost_Dose* dose)
{
    const bool areThere = dose != nullptr && !dose->image.uncertainty.empty();
    return areThere ? dose->image.uncertainty.data() : nullptr;
}

int zarnGIHost_encodeVolume(const char* name, const zarnGIHost_Volume* volume,
                            zarnGIHost_Bytes* bytes, zarnGIHost_Error* error)
{
    if (bytes == nullptr) {
        return refuseArgument("a required pointer is null", error);
    }
    return encodeFor(name, volume, error, [&](const files::Bytes& file) {
        const int status = host::hand(file.view(), bytes);
        return status == ZARNGI_HOST_OK
                   ? status
                   : report({FileError::Kind::outOfMemory, "does not fit in memory"}, error);
    });
}

void zarnGIHost_freeBytes(zarnGIHost_Bytes* bytes)
{
    if (bytes != nullptr) {
        std::free(bytes->data);
        *bytes = {nullptr, 0};
    }
}

int zarnGIHost_writeVolume(const char* path, const zarnGIHost_Volume* volume,
                           zarnGIHost_Error* error)
{
    return encodeFor(path, volume, error, [&](const files::Bytes& file) {
        const files::Result<bool> written = files::writeWhole(path, file.view());
        return written ? static_cast<int>(ZARNGI_HOST_OK) : report(written.error(), error);
    });
}

int zarnGIHost_countFailedSides(const zarnGIHost_Volume* reference,
                                const zarnGIHost_Volume* evaluation, const unsigned char* passed,
                                size_t* hot, size_t* cold, zarnGIHost_Error* error)
{
    if (passed == nullptr || hot == nullptr || cold == nullptr) {
        return refuseArgument("a required pointer is null", error);
    }
    if (!holdsDoses(reference) || !holdsDoses(evaluation)) {
        return refuseArgument("a grid holds no doses in single precision", error);
    }
    return guarded(error, [&] {
        const zarngi::DoseView doses = dosesOf(*reference);
        const zarngi::FailedSides sides = zarngi::failedSides(
            zarngi::CentreDoses(doses, dosesOf(*evaluation)), {passed, doses.geometry.voxels()});
        *hot = sides.hot;
        *cold = sides.cold;
        return static_cast<int>(ZARNGI_HOST_OK);
    });
}
