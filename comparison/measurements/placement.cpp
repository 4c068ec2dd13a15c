#include "comparison/measurements/placement.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "comparison/failure.h"
#include "comparison/text.h"
#include "files/measurements/gantryPlane.h"
#include "files/orientation.h"

namespace zarngi
{

namespace
{

using files::Measurement;
using files::PlanePlace;

constexpr const char* axisNames = "xyz";

bool isFlat(const DoseImage& dose)
{
    return dose.measurement && !dose.measurement->isInSpace;
}

int axisAlong(const Vec3& direction)
{
    for (std::size_t axis = 0; axis < 3; ++axis) {
        if (std::fabs(direction[axis]) == 1) {
            return static_cast<int>(axis);
        }
    }
    return -1;
}

bool isAlongAxes(const PlanePlace& plane)
{
    return axisAlong(plane.right) >= 0 && axisAlong(plane.up) >= 0;
}

/** A plane along the patient's axes, put at its place. */
void putGrid(DoseImage& dose, const PlanePlace& plane)
{
    const Geometry flat = dose.image.geometry;
    files::StoredGeometry stored;
    std::copy(flat.size.begin(), flat.size.end(), stored.size.begin());
    stored.spacing = flat.spacing;
    stored.origin = files::inSpace(plane, flat.origin[0], flat.origin[1]);
    stored.axes = {plane.right, plane.up, files::cross(plane.right, plane.up)};
    Measurement& measurement = *dose.measurement;
    const auto turned = [&stored](files::Values values) {
        return files::toPatientAxes(stored, std::move(values));
    };
    if (!measurement.isMeasured.empty()) {
        const files::Values mask = turned(files::LargeVector<float>(measurement.isMeasured.begin(),
                                                                    measurement.isMeasured.end()))
                                       .values;
        std::transform(mask.begin(), mask.end(), measurement.isMeasured.begin(),
                       [](float value) { return static_cast<unsigned char>(value); });
    }
    dose.image = turned(std::move(dose.image.values));
    measurement.isInSpace = true;
    measurement.normal = files::patientAxis(stored.axes[2]);
}

/** The places of a plane that have a dose, as points of it. */
void becomePoints(DoseImage& dose)
{
    Measurement& measurement = *dose.measurement;
    const Geometry& grid = dose.image.geometry;
    const auto width = static_cast<std::size_t>(grid.size[0]);
    files::LargeVector<float> values;
    for (std::size_t i = 0; i < grid.voxels(); ++i) {
        if (measurement.isMeasured.empty() || measurement.isMeasured[i] != 0) {
            const std::size_t row = i / width;
            measurement.points.push_back({grid.centre(0, static_cast<double>(i % width)),
                                          grid.centre(1, static_cast<double>(row)), 0});
            values.push_back(dose.image.values[i]);
        }
    }
    dose.image.geometry = {{static_cast<int>(values.size()), 1, 1}, {1, 1, 1}, {0, 0, 0}};
    dose.image.values = std::move(values);
    measurement.kind = Measurement::Kind::points;
    measurement.isMeasured.clear();
}

void putPoints(DoseImage& dose, const PlanePlace& plane)
{
    for (Vec3& point : dose.measurement->points) {
        point = files::inSpace(plane, point[0], point[1]);
    }
    dose.measurement->isInSpace = true;
}

PlanePlace placeOf(const DoseImage& dose, const PlaneRequest& request)
{
    const std::optional<PlanePlace>& own = dose.measurement->place;
    if (!request.isGiven() && !own) {
        throw failureOf(dose.path, Sentence("tells no place in the patient; ") + Member::plane +
                                       " and " + Member::planeAt + " give it");
    }
    if ((!request.plane || !request.at) && !own) {
        const Member given = request.at ? Member::planeAt : Member::plane;
        const Member needed = request.at ? Member::plane : Member::planeAt;
        throw UsageError({needed}, Sentence(given) + " needs " + needed + ": " +
                                       FileName{dose.path} + " does not tell " +
                                       (request.at ? "how" : "where") + " it lies in the patient");
    }
    PlanePlace place = request.plane ? request.plane->place : *own;
    place.at = request.at ? *request.at : own->at;
    return place;
}

void checkEvaluation(const DoseImage& evaluation)
{
    if (evaluation.isPoints()) {
        throw failureOf(evaluation.path, "holds points, between which there is no dose to search; "
                                         "make it the reference");
    }
    if (evaluation.measurement && evaluation.measurement->gaps > 0) {
        throw failureOf(evaluation.path, "has no dose at " + grouped(evaluation.measurement->gaps) +
                                             " of its places, so there is none to search between "
                                             "them; make it the reference");
    }
}

/** A grid of one layer as a plane of its own x and y. */
void flatten(DoseImage& dose, std::size_t normal)
{
    const Geometry grid = dose.image.geometry;
    const std::size_t right = normal == 0 ? 1 : 0;
    const std::size_t up = normal == 2 ? 1 : 2;
    dose.image.geometry = {{grid.size[right], grid.size[up], 1},
                           {grid.spacing[right], grid.spacing[up], files::planeThickness},
                           {grid.origin[right], grid.origin[up], 0}};
    if (!dose.measurement) {
        dose.measurement.emplace();
    }
    dose.measurement->isInSpace = false;
    dose.measurement->kind = Measurement::Kind::plane;
    dose.measurement->normal = 2;
}

void flattenBoth(DoseImage& reference, DoseImage& evaluation, PlacedDoses& placed)
{
    const DoseImage& plane = reference.isPlane() ? reference : evaluation;
    const std::size_t normal = plane.measurement->normal;
    const bool areAlike = (!evaluation.isPlane() || evaluation.measurement->normal == normal) &&
                          reference.image.geometry.size[normal] == 1 &&
                          evaluation.image.geometry.size[normal] == 1;
    if (!areAlike) {
        throw InputError("the planes do not lie alike in the patient: " +
                         Sentence(FileName{reference.path}) + ", " + FileName{evaluation.path});
    }
    constexpr double apart = 0.01; // mm
    const double distance = std::fabs(reference.image.geometry.origin[normal] -
                                      evaluation.image.geometry.origin[normal]);
    if (distance > apart) {
        placed.warnings.push_back("the planes lie " + number(distance) + " mm apart along " +
                                  axisNames[normal] + "; they are compared as if they were one");
    }
    flatten(reference, normal);
    flatten(evaluation, normal);
    placed.space = SearchSpace::plane;
    placed.areAxial = normal == 2;
}

bool hasOneLayer(const DoseImage& dose)
{
    const auto& size = dose.image.geometry.size;
    return std::find(size.begin(), size.end(), 1) != size.end();
}

/** Doses that are in space, at least one of them no volume. */
void placeInSpace(DoseImage& reference, DoseImage& evaluation, PlacedDoses& placed)
{
    if (reference.isPoints()) {
        if (evaluation.isPlane()) {
            throw failureOf(evaluation.path,
                            "is a plane, in which points in space cannot be searched");
        }
        placed.space = SearchSpace::points;
    } else if (evaluation.isPlane() || (reference.isPlane() && hasOneLayer(evaluation))) {
        if (!reference.isPlane() && !hasOneLayer(reference)) {
            throw failureOf(evaluation.path, "is a plane, in which a volume cannot be searched; "
                                             "make it the reference");
        }
        flattenBoth(reference, evaluation, placed);
    }
}

} // namespace

PlanePlace planeNamed(const std::string& text)
{
    constexpr std::string_view gantry = "gantry:";
    if (text == "axial") {
        return {{}, {1, 0, 0}, {0, 1, 0}};
    }
    if (text == "coronal") {
        return {{}, {1, 0, 0}, {0, 0, 1}};
    }
    if (text == "sagittal") {
        return {{}, {0, 1, 0}, {0, 0, 1}};
    }
    const double angle =
        text.starts_with(gantry) ? parseNumber(text.substr(gantry.size())) : std::nan("");
    if (!std::isfinite(angle)) {
        throw refusalOf({Member::plane},
                        Sentence("\"") + oneLine(text) +
                            "\" is none of axial, coronal, sagittal, gantry:ANGLE");
    }
    return files::gantryPlane({}, angle);
}

void putInSpace(DoseImage& dose, const PlanePlace& plane)
{
    if (dose.isPlane() && isAlongAxes(plane)) {
        putGrid(dose, plane);
        return;
    }
    if (dose.isPlane()) {
        constexpr std::size_t most = 200000; // a minute or two
        const std::size_t places = dose.image.geometry.voxels() - dose.measurement->gaps;
        if (places > most) {
            throw failureOf(dose.path, "has " + grouped(places) +
                                           " places, too many for a plane across the axes, whose "
                                           "places are searched one by one (up to " +
                                           grouped(most) + ")");
        }
        becomePoints(dose);
    }
    putPoints(dose, plane);
}

const char* placesName(const DoseImage& reference)
{
    return reference.isPoints() ? "points" : reference.measurement ? "places" : "voxels";
}

bool arePoints(SearchSpace space)
{
    return space == SearchSpace::points || space == SearchSpace::pointsInPlane;
}

bool isInPlane(SearchSpace space)
{
    return space == SearchSpace::plane || space == SearchSpace::pointsInPlane;
}

PlacedDoses placeDoses(DoseImage& reference, DoseImage& evaluation, const PlaneRequest& request)
{
    PlacedDoses placed;
    const bool areFlat = isFlat(reference) && isFlat(evaluation);
    const bool isOneFlat = isFlat(reference) != isFlat(evaluation);
    if (request.isGiven() && !isOneFlat) {
        const Member member = request.plane ? Member::plane : Member::planeAt;
        throw UsageError(
            {member}, Sentence(member) +
                          (areFlat ? " is not for two planes, which are compared in their plane"
                                   : " is for a plane, or points, without a place in the patient"));
    }
    checkEvaluation(evaluation);
    if (areFlat) {
        placed.space = reference.isPoints() ? SearchSpace::pointsInPlane : SearchSpace::plane;
        return placed;
    }
    if (isOneFlat) {
        DoseImage& flat = isFlat(reference) ? reference : evaluation;
        placed.place = placeOf(flat, request);
        placed.placeName = request.plane ? request.plane->name : "that of its file";
        putInSpace(flat, *placed.place);
        checkEvaluation(evaluation);
    }
    if (reference.measurement || evaluation.measurement) {
        placeInSpace(reference, evaluation, placed);
    }
    return placed;
}

} // namespace zarngi
