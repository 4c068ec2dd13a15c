#include "comparison/doseDifference.h"

#include <limits>
#include <utility>

#include "comparison/failedSides.h"

namespace zarngi
{

Image doseDifference(const Comparison& comparison)
{
    const DoseView reference = viewOf(comparison.reference.image);
    const DoseView evaluation = viewOf(comparison.evaluation.image);
    const CentreDoses centres(reference, evaluation);
    files::LargeVector<float> values(reference.values.size());
    for (std::size_t voxel = 0; voxel < values.size(); ++voxel) {
        const auto [x, y, z] = centres.placesOf(voxel);
        values[voxel] = x.isInside && y.isInside && z.isInside
                            ? static_cast<float>(doseAt(evaluation, x, y, z) -
                                                 static_cast<double>(reference.values[voxel]))
                            : std::numeric_limits<float>::quiet_NaN();
    }
    return {reference.geometry, std::move(values)};
}

} // namespace zarngi
