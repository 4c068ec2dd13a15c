#include "comparison/structures/doseSamples.h"

#include <algorithm>

namespace zarngi
{

namespace
{

std::vector<AxisPlace> placesOf(const DoseView& dose, const files::Raster& raster, std::size_t axis)
{
    std::vector<AxisPlace> places;
    places.reserve(static_cast<std::size_t>(raster.size(axis)));
    for (std::int64_t i = 0; i < raster.size(axis); ++i) {
        places.push_back(placeOf(dose.geometry, axis, raster.position(axis, i)));
    }
    return places;
}

/** The doses along a row of voxels between its neighbours, so that its points share the work. */
class RowOfDoses
{
public:
    explicit RowOfDoses(const DoseView& dose)
        : dose_(dose), doses_(static_cast<std::size_t>(dose.geometry.size[0]))
    {
    }

    /** For the voxels from `first` to `last`. */
    void fill(const AxisPlace& y, const AxisPlace& z, int first, int last)
    {
        const float* const lowerLeft = row(y.lower, z.lower);
        const float* const lowerRight = row(y.upper, z.lower);
        const float* const upperLeft = row(y.lower, z.upper);
        const float* const upperRight = row(y.upper, z.upper);
        const auto between = [](double a, double b, double t) { return a + t * (b - a); };
        for (auto i = static_cast<std::size_t>(first); i <= static_cast<std::size_t>(last); ++i) {
            const double lower = between(static_cast<double>(lowerLeft[i]),
                                         static_cast<double>(lowerRight[i]), y.fraction);
            const double upper = between(static_cast<double>(upperLeft[i]),
                                         static_cast<double>(upperRight[i]), y.fraction);
            doses_[i] = between(lower, upper, z.fraction);
        }
    }

    double at(const AxisPlace& x) const
    {
        const double lower = doses_[static_cast<std::size_t>(x.lower)];
        return lower + x.fraction * (doses_[static_cast<std::size_t>(x.upper)] - lower);
    }

private:
    const float* row(int y, int z) const
    {
        const auto width = static_cast<std::size_t>(dose_.geometry.size[0]);
        const auto height = static_cast<std::size_t>(dose_.geometry.size[1]);
        return &dose_.values[(static_cast<std::size_t>(z) * height + static_cast<std::size_t>(y)) *
                             width];
    }

    const DoseView& dose_;
    std::vector<double> doses_;
};

/** The part of a run that lies between the faces along x. */
files::Run insideOf(files::Run run, const std::vector<AxisPlace>& xs)
{
    const auto at = [&xs](int i) { return xs[static_cast<std::size_t>(i)]; };
    while (run.begin < run.end && !at(run.begin).isInside) {
        ++run.begin;
    }
    while (run.begin < run.end && !at(run.end - 1).isInside) {
        --run.end;
    }
    return run;
}

} // namespace

DoseSamples doseSamples(const DoseView& dose, const SubPoints& points)
{
    const std::vector<AxisPlace> xs = placesOf(dose, points.raster, 0);
    const std::vector<AxisPlace> ys = placesOf(dose, points.raster, 1);
    const std::vector<AxisPlace> zs = placesOf(dose, points.raster, 2);
    const std::size_t count = points.count();
    DoseSamples samples;
    samples.doses.reserve(count);
    RowOfDoses row(dose);
    for (const files::Run& whole : points.runs) {
        const AxisPlace& y = ys[static_cast<std::size_t>(whole.y)];
        const AxisPlace& z = zs[static_cast<std::size_t>(whole.z)];
        const files::Run run = insideOf(whole, xs);
        if (!y.isInside || !z.isInside || run.begin == run.end) {
            continue;
        }
        const auto begin = xs.begin() + run.begin;
        const auto end = xs.begin() + run.end;
        row.fill(y, z, begin->lower, (end - 1)->upper);
        std::for_each(begin, end, [&](const AxisPlace& x) { samples.doses.push_back(row.at(x)); });
    }
    samples.withoutDose = count - samples.doses.size();
    return samples;
}

} // namespace zarngi
