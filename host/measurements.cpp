#include <algorithm>
#include <cmath>

#include "comparison/failure.h"
#include "comparison/measurements/placement.h"
#include "files/nativeDeflate.h"
#include "files/readDose.h"
#include "host/calls.h"
#include "host/doses.h"

using files::DoseImage;
using files::Measurement;
using host::guarded;
using host::handDose;
using host::readerHost;
using host::refuseArgument;

namespace
{

constexpr const char* nullArgument = "a required pointer is null";

bool isPlane(const zarnGIHost_Plane& plane)
{
    const std::array<int, 3> size{plane.size[0], plane.size[1], 1};
    const bool hasGrid = plane.points == nullptr;
    const std::array<double, 3> spacing{hasGrid ? plane.spacing[0] : 1,
                                        hasGrid ? plane.spacing[1] : 1, 1};
    const std::array<double, 3> origin{hasGrid ? plane.origin[0] : 0, hasGrid ? plane.origin[1] : 0,
                                       0};
    return host::isGrid(size.data(), spacing.data(), origin.data()) &&
           (hasGrid || plane.size[1] == 1);
}

void setPoints(DoseImage& dose, const double* points)
{
    Measurement& measurement = *dose.measurement;
    measurement.kind = Measurement::Kind::points;
    for (std::size_t i = 0; i < dose.image.values.size(); ++i) {
        measurement.points.push_back({points[2 * i], points[2 * i + 1], 0});
    }
    dose.image.geometry.spacing = {1, 1, 1};
    dose.image.geometry.origin = {0, 0, 0};
}

void setGaps(DoseImage& dose, const unsigned char* isMeasured)
{
    Measurement& measurement = *dose.measurement;
    const std::size_t places = dose.image.values.size();
    measurement.isMeasured.assign(isMeasured, isMeasured + places);
    for (std::size_t i = 0; i < places; ++i) {
        if (isMeasured[i] == 0) {
            dose.image.values.own()[i] = 0;
            ++measurement.gaps;
        }
    }
}

DoseImage doseOf(const zarnGIHost_Plane& plane)
{
    DoseImage dose;
    dose.image.geometry = {{plane.size[0], plane.size[1], 1},
                           {plane.spacing[0], plane.spacing[1], files::planeThickness},
                           {plane.origin[0], plane.origin[1], 0}};
    dose.image.values =
        files::LargeVector<float>(plane.doses, plane.doses + dose.image.geometry.voxels());
    dose.measurement.emplace();
    if (plane.points != nullptr) {
        setPoints(dose, plane.points);
    } else if (plane.isMeasured != nullptr) {
        setGaps(dose, plane.isMeasured);
    }
    return dose;
}

/** @throws files::Refusal */
DoseImage placed(const zarnGIHost_Plane& plane, const char* name, const double* at)
{
    try {
        files::PlanePlace place = zarngi::planeNamed(name);
        std::copy_n(at, 3, place.at.begin());
        DoseImage dose = doseOf(plane);
        zarngi::putInSpace(dose, place);
        return dose;
    } catch (const zarngi::UsageError& failure) {
        files::refuseUnsupported(failure.reason().text());
    } catch (const zarngi::InputError& failure) {
        files::refuseUnsupported(failure.what());
    }
}

zarnGIHost_Told toldOf(const zarnGIHost_TableUnits* units)
{
    return {units == nullptr ? zarnGIHost_TableUnits{} : *units, 0};
}

zarnGIHost_Told orNothing(const zarnGIHost_Told* told)
{
    return told == nullptr ? zarnGIHost_Told{} : *told;
}

} // namespace

int zarnGIHost_readAnyDose(const char* path, const zarnGIHost_TableUnits* units,
                           zarnGIHost_Dose** dose, zarnGIHost_Error* error)
{
    const zarnGIHost_Told told = toldOf(units);
    return zarnGIHost_readToldDose(path, &told, dose, error);
}

int zarnGIHost_readAnyDoseFromMemory(const void* contents, size_t size, zarnGIHost_FindFile find,
                                     void* context, const zarnGIHost_TableUnits* units,
                                     zarnGIHost_Dose** dose, zarnGIHost_Error* error)
{
    const zarnGIHost_Told told = toldOf(units);
    return zarnGIHost_readToldDoseFromMemory(contents, size, find, context, &told, dose, error);
}

int zarnGIHost_readToldDose(const char* path, const zarnGIHost_Told* told, zarnGIHost_Dose** dose,
                            zarnGIHost_Error* error)
{
    if (path == nullptr || dose == nullptr) {
        return refuseArgument(nullArgument, error);
    }
    *dose = nullptr;
    return guarded(error, [&] {
        return handDose(files::readDoseFile(path, readerHost(orNothing(told))), dose, error);
    });
}

int zarnGIHost_readToldDoseFromMemory(const void* contents, size_t size, zarnGIHost_FindFile find,
                                      void* context, const zarnGIHost_Told* told,
                                      zarnGIHost_Dose** dose, zarnGIHost_Error* error)
{
    if (contents == nullptr || dose == nullptr) {
        return refuseArgument(nullArgument, error);
    }
    *dose = nullptr;
    return guarded(error, [&] {
        const files::ByteView file(static_cast<const unsigned char*>(contents), size);
        return handDose(
            files::readDose(file, "", host::finder(find, context), readerHost(orNothing(told))),
            dose, error);
    });
}

int zarnGIHost_getPlaces(const zarnGIHost_Dose* dose, zarnGIHost_Places* places)
{
    if (dose == nullptr || places == nullptr) {
        return ZARNGI_HOST_BAD_ARGUMENT;
    }
    *places = {ZARNGI_HOST_VOLUME, 1, -1, 0, nullptr, nullptr};
    if (!dose->image.measurement) {
        return ZARNGI_HOST_OK;
    }
    const Measurement& measurement = *dose->image.measurement;
    places->kind = dose->image.isPoints()  ? ZARNGI_HOST_POINTS
                   : dose->image.isPlane() ? ZARNGI_HOST_PLANE
                                           : ZARNGI_HOST_VOLUME;
    places->isInSpace = measurement.isInSpace ? 1 : 0;
    places->normal = dose->image.isPlane() ? static_cast<int>(measurement.normal) : -1;
    places->gaps = measurement.gaps;
    places->isMeasured = measurement.isMeasured.empty() ? nullptr : measurement.isMeasured.data();
    places->points = measurement.points.empty() ? nullptr : measurement.points.front().data();
    return ZARNGI_HOST_OK;
}

int zarnGIHost_placePlane(const zarnGIHost_Plane* plane, const char* name, const double at[3],
                          zarnGIHost_Dose** dose, zarnGIHost_Error* error)
{
    if (plane == nullptr || plane->doses == nullptr || name == nullptr || at == nullptr ||
        dose == nullptr) {
        return refuseArgument(nullArgument, error);
    }
    *dose = nullptr;
    if (!isPlane(*plane) || !std::all_of(at, at + 3, [](double x) { return std::isfinite(x); })) {
        return refuseArgument("has a grid or a place that cannot be", error);
    }
    return guarded(error, [&] {
        return handDose(files::resultOf([&] { return placed(*plane, name, at); }), dose, error);
    });
}
