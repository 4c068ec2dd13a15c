#include "comparison/failedSides.h"

#include <cmath>
#include <cstring>

#include "libZarnGI.h"

namespace zarngi
{

namespace
{

/**
 * Where a voxel centre of the reference lies in the evaluation. Centres that meet but for rounding
 * do meet: equal doses are not to be told apart by doses of the neighbours.
 */
AxisPlace placeOfCentre(const Geometry& reference, const Geometry& evaluation, std::size_t axis,
                        int voxel)
{
    constexpr double closest = 1e-6; // voxels
    AxisPlace place = placeOf(evaluation, axis, reference.centre(axis, voxel));
    const double nearest = std::round(place.fraction);
    if (std::fabs(place.fraction - nearest) < closest) {
        place.fraction = nearest;
    }
    return place;
}

} // namespace

CentreDoses::CentreDoses(const DoseView& reference, const DoseView& evaluation)
    : reference_(reference), evaluation_(evaluation)
{
    for (std::size_t axis = 0; axis < 3; ++axis) {
        for (int voxel = 0; voxel < reference.geometry.size[axis]; ++voxel) {
            places_[axis].push_back(
                placeOfCentre(reference.geometry, evaluation.geometry, axis, voxel));
        }
    }
}

std::array<AxisPlace, 3> CentreDoses::placesOf(std::size_t voxel) const
{
    const std::size_t row = voxel / places_[0].size();
    return {places_[0][voxel % places_[0].size()], places_[1][row % places_[1].size()],
            places_[2][row / places_[1].size()]};
}

void CentreDoses::count(FailedSides& sides, std::size_t voxel) const
{
    const auto [x, y, z] = placesOf(voxel);
    if (!x.isInside || !y.isInside || !z.isInside) {
        return;
    }
    const double difference =
        doseAt(evaluation_, x, y, z) - static_cast<double>(reference_.values[voxel]);
    sides.hot += difference > 0 ? 1 : 0;
    sides.cold += difference < 0 ? 1 : 0;
}

FailedSides failedSides(const CentreDoses& doses, std::span<const unsigned char> passed)
{
    FailedSides sides;
    const unsigned char* const begin = passed.data();
    const unsigned char* const end = begin + passed.size();
    const auto nextFailed = [end](const unsigned char* from) { // few are: the library's search
        const void* const found =
            std::memchr(from, ZARNGI_FAILED, static_cast<std::size_t>(end - from));
        return found != nullptr ? static_cast<const unsigned char*>(found) : end;
    };
    for (const auto* voxel = nextFailed(begin); voxel != end; voxel = nextFailed(voxel + 1)) {
        doses.count(sides, static_cast<std::size_t>(voxel - begin));
    }
    return sides;
}

} // namespace zarngi
