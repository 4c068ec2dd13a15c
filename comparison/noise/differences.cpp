#include "comparison/noise/differences.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "libZarnGI.h"

namespace zarngi
{

namespace
{

constexpr float none = std::numeric_limits<float>::quiet_NaN();

double squareOf(std::span<const float> uncertainty, std::size_t voxel)
{
    const auto value = uncertainty.empty() ? 0.0 : static_cast<double>(uncertainty[voxel]);
    return std::isnan(value) ? 0 : value * value;
}

/** Calls with the number and the weight of each voxel between which a place lies. */
template <class Visit>
void forEachCorner(const Geometry& grid, const std::array<AxisPlace, 3>& places, const Visit& visit)
{
    for (unsigned corner = 0; corner < 8; ++corner) {
        double weight = 1;
        std::array<std::size_t, 3> at{};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const AxisPlace& place = places[axis];
            const bool isUpper = ((corner >> axis) & 1U) != 0;
            weight *= isUpper ? place.fraction : 1 - place.fraction;
            at[axis] = static_cast<std::size_t>(isUpper ? place.upper : place.lower);
        }
        if (weight > 0) {
            visit((at[2] * static_cast<std::size_t>(grid.size[1]) + at[1]) *
                          static_cast<std::size_t>(grid.size[0]) +
                      at[0],
                  weight);
        }
    }
}

bool isInside(const std::array<AxisPlace, 3>& places)
{
    return places[0].isInside && places[1].isInside && places[2].isInside;
}

/** (evaluation - reference) / uncertainty; not a number where there is none. */
float differenceAt(const UncertainPair& pair, std::size_t voxel)
{
    const std::array<AxisPlace, 3> places = pair.centres.placesOf(voxel);
    if (!pair.isTested(voxel) || !isInside(places)) {
        return none;
    }
    double variance = squareOf(pair.referenceUncertainty, voxel);
    forEachCorner(pair.evaluation.geometry, places, [&](std::size_t corner, double weight) {
        variance += weight * weight * squareOf(pair.evaluationUncertainty, corner);
    });
    const double difference = doseAt(pair.evaluation, places[0], places[1], places[2]) -
                              static_cast<double>(pair.reference.values[voxel]);
    return variance > 0 ? static_cast<float>(difference / std::sqrt(variance)) : none;
}

/** Gathers differences. */
class Gathering
{
public:
    void add(float difference)
    {
        if (std::isnan(difference)) {
            return;
        }
        const auto value = static_cast<double>(difference);
        ++count_;
        sum_ += value;
        squares_ += value * value;
        beyondTwo_ += std::fabs(value) > 2 ? 1 : 0;
        beyondThree_ += std::fabs(value) > 3 ? 1 : 0;
    }

    NoiseDifferences told(const std::string& name) const
    {
        NoiseDifferences told;
        told.name = name;
        told.voxels = count_;
        if (count_ > 0) {
            const auto count = static_cast<double>(count_);
            told.mean = sum_ / count;
            told.deviation = std::sqrt(std::max(squares_ / count - told.mean * told.mean, 0.0));
            told.beyondTwo = beyondTwo_ / count;
            told.beyondThree = beyondThree_ / count;
        }
        return told;
    }

private:
    std::size_t count_ = 0;
    double sum_ = 0;
    double squares_ = 0;
    double beyondTwo_ = 0;
    double beyondThree_ = 0;
};

std::vector<NoiseDifferences> bandsOf(const UncertainPair& pair, const files::Runs& all,
                                      const std::vector<float>& differences, double normalisation)
{
    constexpr std::size_t bands = 5;
    constexpr double width = 20; // % of the normalisation dose; the last one has no end
    std::array<Gathering, bands> gatherings;
    forEachVoxel(pair.reference.geometry, pair.box, all, [&](std::size_t voxel, std::size_t at) {
        const double percent =
            static_cast<double>(pair.reference.values[voxel]) / normalisation * 100;
        const double band = std::clamp(std::floor(percent / width), 0.0, bands - 1.0);
        gatherings.at(static_cast<std::size_t>(band)).add(differences[at]);
    });
    std::vector<NoiseDifferences> told;
    for (std::size_t band = 0; band < bands; ++band) {
        NoiseDifferences one = gatherings.at(band).told("");
        one.lowerPercent = static_cast<double>(band) * width;
        one.upperPercent = one.lowerPercent + width;
        if (one.voxels > 0) {
            told.push_back(one);
        }
    }
    return told;
}

/**
 * Whether the reference changes little along an axis: between the voxels two places to either side
 * by no more than a twentieth of the dose, or three times their uncertainty.
 */
bool isFlatAlong(const UncertainPair& pair, std::size_t voxel, std::size_t axis)
{
    const auto& size = pair.reference.geometry.size;
    const std::array<std::size_t, 3> strides{1, static_cast<std::size_t>(size[0]),
                                             static_cast<std::size_t>(size[0]) *
                                                 static_cast<std::size_t>(size[1])};
    constexpr int reach = 2;
    const auto place =
        static_cast<int>(voxel / strides[axis] % static_cast<std::size_t>(size[axis]));
    if (size[axis] == 1) {
        return true;
    }
    if (place < reach || place >= size[axis] - reach) {
        return false;
    }
    const std::size_t lower = voxel - reach * strides[axis];
    const std::size_t upper = voxel + reach * strides[axis];
    const auto doseOf = [&](std::size_t i) {
        return static_cast<double>(pair.reference.values[i]);
    };
    const double noise = std::sqrt(squareOf(pair.referenceUncertainty, lower) +
                                   squareOf(pair.referenceUncertainty, upper));
    return std::fabs(doseOf(upper) - doseOf(lower)) <= std::max(doseOf(voxel) / 20, 3 * noise);
}

/** Means of half the square of differences between voxels that lie apart along x, y and z. */
double halfSquareApart(const GridBox& box, const std::vector<float>& flat, std::size_t apart)
{
    const std::array<std::size_t, 3> strides{1, box.width(0), box.width(0) * box.width(1)};
    double sum = 0;
    double count = 0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        for (std::size_t i = 0; i + apart * strides[axis] < flat.size(); ++i) {
            const bool isSameRow = i / strides[axis] % box.width(axis) + apart < box.width(axis);
            const double difference =
                static_cast<double>(flat[i + apart * strides[axis]]) - static_cast<double>(flat[i]);
            if (isSameRow && !std::isnan(difference)) {
                sum += difference * difference / 2;
                ++count;
            }
        }
    }
    constexpr double fewest = 200; // pairs, for a correlation to 0.1
    return count >= fewest ? sum / count : std::nan("");
}

/** Leaves only the differences where the reference is flat. */
FlatRegion flatRegion(const UncertainPair& pair, const files::Runs& all,
                      std::vector<float> differences)
{
    FlatRegion flat;
    double squares = 0;
    forEachVoxel(pair.reference.geometry, pair.box, all, [&](std::size_t voxel, std::size_t at) {
        float& difference = differences[at];
        if (std::isnan(difference)) {
            return;
        }
        for (std::size_t axis = 0; axis < 3; ++axis) {
            if (!isFlatAlong(pair, voxel, axis)) {
                difference = none;
                return;
            }
        }
        ++flat.voxels;
        squares += static_cast<double>(difference) * static_cast<double>(difference);
    });
    flat.chiSquare = flat.voxels > 0 ? squares / static_cast<double>(flat.voxels) : 0;
    // Differences between neighbours, as true ones between the doses hardly change from voxel to
    // voxel; three voxels apart the noise of one tells little of that of the other.
    constexpr std::size_t far = 3;
    const double beside = halfSquareApart(pair.box, differences, 1);
    const double apart = halfSquareApart(pair.box, differences, far);
    if (apart > 0 && beside >= 0) {
        flat.scatter = std::sqrt(apart);
        flat.correlation = 1 - beside / apart;
    }
    return flat;
}

} // namespace

bool UncertainPair::isTested(std::size_t voxel) const
{
    return passed[voxel] != ZARNGI_NOT_TESTED;
}

double UncertainPair::varianceAt(std::size_t voxel) const
{
    const std::array<AxisPlace, 3> places = centres.placesOf(voxel);
    double variance = squareOf(referenceUncertainty, voxel);
    if (!evaluationUncertainty.empty() && isInside(places)) {
        forEachCorner(evaluation.geometry, places, [&](std::size_t corner, double weight) {
            variance += weight * squareOf(evaluationUncertainty, corner);
        });
    }
    return variance;
}

GridBox testedBox(const Geometry& grid, std::span<const unsigned char> passed)
{
    GridBox box{grid.size, {}};
    std::size_t voxel = 0;
    for (int z = 0; z < grid.size[2]; ++z) {
        for (int y = 0; y < grid.size[1]; ++y) {
            for (int x = 0; x < grid.size[0]; ++x, ++voxel) {
                if (passed[voxel] == ZARNGI_NOT_TESTED) {
                    continue;
                }
                const std::array<int, 3> place{x, y, z};
                for (std::size_t axis = 0; axis < 3; ++axis) {
                    box.first[axis] = std::min(box.first[axis], place[axis]);
                    box.end[axis] = std::max(box.end[axis], place[axis] + 1);
                }
            }
        }
    }
    return box;
}

files::Runs runsOf(const GridBox& box)
{
    files::Runs runs;
    for (int z = box.first[2]; z < box.end[2]; ++z) {
        for (int y = box.first[1]; y < box.end[1]; ++y) {
            runs.push_back({z, y, box.first[0], box.end[0]});
        }
    }
    return runs;
}

std::vector<float> differencesInUncertainties(const UncertainPair& pair)
{
    std::vector<float> differences(pair.passed.size(), none);
    forEachVoxel(
        pair.reference.geometry, pair.box, runsOf(pair.box),
        [&](std::size_t voxel, std::size_t) { differences[voxel] = differenceAt(pair, voxel); });
    return differences;
}

void findDifferences(NoiseFindings& findings, const UncertainPair& pair, double normalisation,
                     const std::vector<NamedPart>& parts)
{
    const files::Runs all = runsOf(pair.box);
    const Geometry& grid = pair.reference.geometry;
    std::vector<float> differences(pair.box.width(0) * pair.box.width(1) * pair.box.width(2));
    Gathering whole;
    forEachVoxel(grid, pair.box, all, [&](std::size_t voxel, std::size_t at) {
        differences[at] = differenceAt(pair, voxel);
        whole.add(differences[at]);
    });
    findings.differences.push_back(whole.told(""));
    for (const NoiseDifferences& band : bandsOf(pair, all, differences, normalisation)) {
        findings.differences.push_back(band);
    }
    for (const NamedPart& part : parts) {
        Gathering gathering;
        forEachVoxel(grid, pair.box, *part.voxels,
                     [&](std::size_t, std::size_t at) { gathering.add(differences[at]); });
        findings.differences.push_back(gathering.told(part.name));
    }
    findings.flat = flatRegion(pair, all, std::move(differences));
}

} // namespace zarngi
