/**
 * @file placement.h
 * Where planes and points are compared: in their plane, or at their place in the patient.
 */
#ifndef ZARNGI_COMPARISON_MEASUREMENTS_PLACEMENT_H
#define ZARNGI_COMPARISON_MEASUREMENTS_PLACEMENT_H

#include <optional>
#include <string>
#include <vector>

#include "comparison/doseImage.h"

namespace zarngi
{

/** A plane through the origin. */
struct NamedPlane {
    std::string name; ///< "axial", "coronal", "sagittal", "gantry:30"
    files::PlanePlace place;
};

/** Where a plane that is not in space is put. */
struct PlaneRequest {
    std::optional<NamedPlane> plane;
    std::optional<Vec3> at; ///< mm, of the plane's point 0, 0

    bool isGiven() const { return plane || at; }
};

/**
 * The plane that is asked for, through the origin; x grows to `right`, y along `up`:
 * axial: x, y; coronal: x, z; sagittal: y, z; gantry: as files::gantryPlane().
 * @throws UsageError at Member::plane for another text.
 */
files::PlanePlace planeNamed(const std::string& text);

/**
 * Puts a plane, or points of one, at a place in the patient: a plane along the patient's axes stays
 * a grid, any other becomes points, those that have a dose.
 * @throws InputError for more than 200 000 of these.
 */
void putInSpace(DoseImage& dose, const files::PlanePlace& plane);

/** How the places of the reference are searched. */
enum class SearchSpace {
    volume,        ///< the grid of the reference in three dimensions
    plane,         ///< grids of one layer, in their plane: its x and y, z is 0
    points,        ///< each place for itself, in three dimensions
    pointsInPlane, ///< each place for itself, in the plane of the evaluation
};

bool arePoints(SearchSpace space);
bool isInPlane(SearchSpace space);

/** What the places of a reference are called: "voxels", "places", "points". */
const char* placesName(const DoseImage& reference);

/** Two doses where they are compared. */
struct PlacedDoses {
    SearchSpace space = SearchSpace::volume;
    std::optional<files::PlanePlace> place; ///< where a plane was put, and its name
    std::string placeName;                  ///< "coronal", "gantry:30", "that of its file"
    std::vector<std::string> warnings;
    bool areAxial = false; ///< planes in space whose x and y are those of the patient

    /** Whether x, y and z are those of the patient, as far as they are searched. */
    bool hasPatientAxes() const { return !isInPlane(space) || areAxial; }
};

/**
 * Puts the doses where they are compared; they stay as they are where both are volumes.
 * @throws InputError, with the path of the file, for what cannot be compared: an evaluation of
 * points or with places without dose, planes that do not lie alike, a plane whose place is unknown.
 * @throws UsageError for a place that nothing needs.
 */
PlacedDoses placeDoses(DoseImage& reference, DoseImage& evaluation, const PlaneRequest& request);

} // namespace zarngi

#endif
