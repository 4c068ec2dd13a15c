#include "files/structures/region.h"

#include <algorithm>
#include <map>
#include <utility>

#include "files/structures/contourRegion.h"
#include "files/structures/maskRegion.h"

namespace files
{

namespace
{

std::vector<std::int64_t> distancesOf(const Planes& planes)
{
    std::vector<std::int64_t> distances;
    addDistances(planes.list, distances);
    return distances;
}

/** Of all structures together, micrometres. */
std::int64_t sliceDistanceOf(const std::vector<Planes>& structures, double gridSpacing)
{
    std::vector<std::int64_t> distances;
    for (const Planes& planes : structures) {
        addDistances(planes.list, distances);
    }
    return distances.empty() ? heightOf(gridSpacing) : medianOf(std::move(distances));
}

std::unique_ptr<Region> contourRegion(Planes planes, std::int64_t distanceOfOthers)
{
    const std::vector<std::int64_t> distances = distancesOf(planes);
    const std::int64_t own = distances.empty() ? distanceOfOthers : medianOf(distances);
    return std::make_unique<ContourRegion>(std::move(planes), own, distanceOfOthers);
}

/** Boxes of the labels of each grid, found once for all of its structures. */
class LabelBoxes
{
public:
    VoxelBox boxOf(const LabelRegion& region)
    {
        const auto [entry, isNew] = known_.try_emplace(region.grid.get());
        if (isNew) {
            entry->second = boxesOf(*region.grid);
        }
        const auto box = entry->second.find(region.label);
        return box != entry->second.end() ? box->second : VoxelBox{};
    }

private:
    std::map<const LabelGrid*, std::map<std::int32_t, VoxelBox>> known_;
};

} // namespace

std::vector<std::unique_ptr<Region>> regionsOf(const StructureSet& set, double gridSpacing)
{
    std::vector<Planes> planes;
    for (const Structure& structure : set.structures) {
        planes.push_back(structure.refusal.empty() ? planesOf(structure.contours) : Planes());
    }
    const std::int64_t distance = sliceDistanceOf(planes, gridSpacing);
    LabelBoxes boxes;
    std::vector<std::unique_ptr<Region>> regions;
    for (std::size_t i = 0; i < set.structures.size(); ++i) {
        const Structure& structure = set.structures[i];
        if (!structure.refusal.empty()) {
            regions.push_back(nullptr);
        } else if (structure.region) {
            regions.push_back(
                std::make_unique<MaskRegion>(*structure.region, boxes.boxOf(*structure.region)));
        } else {
            regions.push_back(contourRegion(std::move(planes[i]), distance));
        }
    }
    return regions;
}

} // namespace files
