#include "comparison/partSearch.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "comparison/libraryCalls.h"
#include "libZarnGI.h"

namespace zarngi
{

namespace
{

std::size_t planeOf(const Geometry& geometry)
{
    return geometry.voxels() / static_cast<std::size_t>(geometry.size[2]);
}

std::size_t voxelsBefore(const Geometry& geometry, PlaneRange planes)
{
    return planeOf(geometry) * static_cast<std::size_t>(planes.first);
}

std::size_t voxelsOf(const Geometry& geometry, PlaneRange planes)
{
    return planeOf(geometry) * static_cast<std::size_t>(planes.count);
}

/** From one plane to another, those that a grid has. */
PlaneRange planesBetween(const Geometry& geometry, double first, double last)
{
    const double most = geometry.size[2] - 1;
    const auto from = static_cast<int>(std::clamp(first, 0.0, most));
    const auto to = static_cast<int>(std::clamp(last, 0.0, most));
    return {from, to - from + 1};
}

/** As zarnGI_setTestedPlanes() tells, and a plane more for what is rounded. */
PlaneRange reachedPlanes(const SearchPart& part)
{
    const Geometry& evaluation = part.evaluation;
    const double spacing = evaluation.spacing[2];
    const double reach = (part.settings.maxGamma + 1) * part.criterion.distance + 2 * spacing;
    const double first = part.reference.centre(2, part.tested.first) - reach;
    const double last = part.reference.centre(2, part.tested.first + part.tested.count - 1) + reach;
    return planesBetween(evaluation, std::floor((first - evaluation.origin[2]) / spacing) - 1,
                         std::ceil((last - evaluation.origin[2]) / spacing) + 1);
}

/** Where the first of all voxels would stand, of which only those behind some are there. */
template <class Value> Value* firstOfAll(Value* there, std::size_t before)
{
    // NOLINTNEXTLINE(performance-no-int-to-ptr): it points to no object, and is moved back.
    return reinterpret_cast<Value*>(reinterpret_cast<std::uintptr_t>(there) -
                                    before * sizeof(Value));
}

/** The grids of the library, as long as they are needed. */
class LentGrids
{
public:
    LentGrids(const SearchPart& part, const float* reference, const float* evaluation)
    {
        require(zarnGI_init(), "the library");
        try {
            lendReference(part.reference,
                          firstOfAll(reference, voxelsBefore(part.reference, part.ofReference)),
                          "the reference");
            lendEvaluation(part.evaluation,
                           firstOfAll(evaluation, voxelsBefore(part.evaluation, part.ofEvaluation)),
                           "the evaluation");
        } catch (...) {
            zarnGI_reset();
            throw;
        }
    }
    ~LentGrids() { zarnGI_reset(); }
    LentGrids(const LentGrids&) = delete;
    LentGrids& operator=(const LentGrids&) = delete;
};

} // namespace

bool canBeHandedOut(const GammaSettings& settings)
{
    return settings.normalisation && std::isfinite(settings.maxGamma);
}

SearchPart searchPart(const GammaSearch& search, const Geometry& reference,
                      const Geometry& evaluation, PlaneRange tested)
{
    SearchPart part{reference, evaluation, search.settings(), search.criterion(), tested, {}, {}};
    part.ofReference = planesBetween(reference, tested.first - 1,
                                     static_cast<double>(tested.first) + tested.count);
    part.ofEvaluation = reachedPlanes(part);
    return part;
}

std::span<const float> dosesOf(const Image& image, PlaneRange planes)
{
    return std::span<const float>(image.values)
        .subspan(voxelsBefore(image.geometry, planes), voxelsOf(image.geometry, planes));
}

PartMaps searched(const SearchPart& part, std::span<const float> reference,
                  std::span<const float> evaluation)
{
    if (reference.size() != voxelsOf(part.reference, part.ofReference) ||
        evaluation.size() != voxelsOf(part.evaluation, part.ofEvaluation)) {
        throw std::invalid_argument("a part of a search has another number of doses");
    }
    const std::string label = part.criterion.label();
    const std::size_t before = voxelsBefore(part.reference, part.tested);
    PartMaps maps;
    maps.gamma.resize(voxelsOf(part.reference, part.tested));
    maps.passed.resize(maps.gamma.size());
    const LentGrids grids(part, reference.data(), evaluation.data());
    setParameters(part.settings, part.criterion);
    require(zarnGI_setTestedPlanes(part.tested.first, part.tested.count), label);
    const GammaPlace place(firstOfAll(maps.gamma.data(), before), label);
    require(zarnGI_startComputation(), label);
    require(zarnGI_getPassed3DMap(firstOfAll(maps.passed.data(), before)), label);
    return maps;
}

} // namespace zarngi
