#include "comparison/structures/subPoints.h"

namespace zarngi
{

double SubPoints::volume() const
{
    constexpr double perCc = 1000; // mm^3
    return static_cast<double>(count()) * raster.volumeOfPart() / perCc;
}

SubPoints subPointsOf(const files::Geometry& grid, const PointsIn& pointsIn)
{
    constexpr std::size_t most = 4'000'000;
    files::Raster raster = files::finestRaster(grid);
    files::Runs runs = pointsIn(raster);
    while (files::pointCount(runs) > most && files::coarsen(raster)) {
        runs = pointsIn(raster);
    }
    return {raster, std::move(runs)};
}

} // namespace zarngi
