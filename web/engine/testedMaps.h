/**
 * @file testedMaps.h
 * The maps of a criterion in little memory.
 */
#ifndef ZARNGI_WEB_ENGINE_TESTEDMAPS_H
#define ZARNGI_WEB_ENGINE_TESTEDMAPS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "files/largeVector.h"

namespace engine
{

/**
 * Gamma and who passed, of each row along x from its first tested voxel to its last: mostly few
 * voxels of a large grid are tested.
 */
class TestedMaps
{
public:
    /**
     * @param size voxels on each axis
     * @param gamma -1 where not tested
     * @param passed 1, 0, or 255 where not tested
     */
    TestedMaps(const std::array<int, 3>& size, std::span<const float> gamma,
               std::span<const unsigned char> passed);

    /** Gamma of all voxels. */
    files::LargeVector<float> gamma() const;

    /** What zarngi::storedGammas() gives of all voxels. */
    std::vector<std::int16_t> stored() const;

    /** Of each row that has tested voxels: the first one, and how many voxels of it are kept. */
    std::vector<std::int32_t> rows() const;
    /** What zarngi::storedGammas() gives of the voxels that are kept. */
    std::vector<std::int16_t> storedRows() const;

private:
    /** Of voxels, in their order in the grid. */
    struct Row {
        std::size_t first;
        std::size_t count;
    };

    template <class Values, class Number> void place(Values& whole, const Number* kept) const;

    std::size_t voxels_;
    std::vector<Row> rows_; ///< those with tested voxels
    std::vector<float> gamma_;
    std::vector<unsigned char> passed_;
};

} // namespace engine

#endif
