#include "comparison/explanation/trial.h"

#include <algorithm>

#include "libZarnGI.h"

namespace zarngi
{

namespace
{

double badnessOf(float gamma)
{
    const double capped = std::min(static_cast<double>(gamma), Trials::gammaLimit);
    return capped * capped;
}

} // namespace

Trials::Trials(GammaEngine& engine, const DoseView& reference, const DoseView& evaluation,
               const Criterion& criterion, std::optional<double> step)
    : engine_(engine), reference_(reference), evaluation_(evaluation), criterion_(criterion),
      step_(step)
{
}

void Trials::test(const VoxelList& voxels, const GridBox& box)
{
    const Geometry grid = geometryOf(reference_.geometry, box);
    std::vector<float> doses(grid.voxels());
    voxels_.clear();
    voxels_.reserve(voxels.size());
    for (const std::size_t voxel : voxels) {
        voxels_.push_back(numberWithin(reference_.geometry, box, voxel));
        doses[voxels_.back()] = reference_.values[voxel];
    }
    engine_.setReference({grid, doses});
    maps_.gamma.resize(grid.voxels());
    maps_.passed.resize(grid.voxels());
}

void Trials::testWhole(const VoxelList& voxels)
{
    test(voxels, wholeBox(reference_.geometry));
    searched_ = evaluation_;
}

void Trials::testPart(const VoxelList& voxels, const Vec3& reach)
{
    const GridBox box = boxAround(reference_.geometry, voxels);
    test(voxels, box);
    const GridBox part = boxOf(evaluation_.geometry, reference_.geometry, box, reach);
    cropped_ = valuesWithin(evaluation_, part);
    searched_ = {geometryOf(evaluation_.geometry, part), cropped_};
}

void Trials::compute(const DoseChange& change, double widening, double maxGamma)
{
    DoseView moved = searched_;
    for (std::size_t i = 0; i < 3; ++i) {
        moved.geometry.origin[i] += change.shift[i];
    }
    if (change.factor != 1) {
        scaled_.resize(searched_.values.size());
        std::transform(searched_.values.begin(), searched_.values.end(), scaled_.begin(),
                       [&change](float dose) {
                           return static_cast<float>(static_cast<double>(dose) * change.factor);
                       });
        moved.values = scaled_;
    }
    engine_.setEvaluation(moved);
    const std::optional<double> step =
        step_ ? std::optional<double>(*step_ * widening) : std::nullopt;
    engine_.compute(
        {criterion_.doseDifference * widening, criterion_.distance * widening, step, maxGamma},
        maps_.gamma, maps_.passed);
    voxelsComputed_ += static_cast<double>(voxels_.size());
    ++computations_;
}

double Trials::badness() const
{
    double sum = 0;
    for (const std::size_t voxel : voxels_) {
        sum += badnessOf(maps_.gamma[voxel]);
    }
    return sum / static_cast<double>(voxels_.size());
}

std::vector<double> Trials::badnesses() const
{
    std::vector<double> values;
    values.reserve(voxels_.size());
    for (const std::size_t voxel : voxels_) {
        values.push_back(badnessOf(maps_.gamma[voxel]));
    }
    return values;
}

double Trials::passRate() const
{
    const auto passed = std::count_if(voxels_.begin(), voxels_.end(), [this](std::size_t voxel) {
        return maps_.passed[voxel] == ZARNGI_PASSED;
    });
    return 100 * static_cast<double>(passed) / static_cast<double>(voxels_.size());
}

VoxelList Trials::tested() const
{
    VoxelList voxels;
    for (std::size_t voxel = 0; voxel < maps_.passed.size(); ++voxel) {
        if (maps_.passed[voxel] != ZARNGI_NOT_TESTED) {
            voxels.push_back(voxel);
        }
    }
    return voxels;
}

} // namespace zarngi
