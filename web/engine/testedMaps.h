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

    /** Of maps that go, one after the other: the first makes room for what is kept of the second.
     */
    TestedMaps(const std::array<int, 3>& size, files::LargeVector<float>&& gamma,
               files::LargeVector<unsigned char>&& passed);

    /** Gamma of all voxels. */
    files::LargeVector<float> gamma() const;

    /** What zarngi::storedGammas() gives of all voxels. */
    std::vector<std::int16_t> stored() const;

    /** Of each row that has tested voxels: the first one, and how many voxels of it are kept. */
    std::vector<std::int32_t> rows() const;
    /** Voxels that are kept. */
    std::size_t kept() const { return gamma_.size(); }
    /** What zarngi::storedGammas() gives of those that are kept; of fewer where there are fewer. */
    std::vector<std::int16_t> storedRows(std::size_t first, std::size_t count) const;

private:
    /** Of voxels, in their order in the grid. */
    struct Row {
        std::size_t first;
        std::size_t count;
    };

    /** Returns the number of voxels to keep. */
    std::size_t findRows(const std::array<int, 3>& size, std::span<const float> gamma);
    void keepVerdicts(std::span<const unsigned char> passed, std::size_t kept);
    void keepGamma(std::span<const float> gamma, std::size_t kept);
    template <class Values, class Number> void place(Values& whole, const Number* kept) const;

    std::size_t voxels_;
    std::vector<Row> rows_;       ///< those with tested voxels
    std::vector<bool> hasFailed_; ///< of the voxels that are kept
    files::LargeVector<float> gamma_;
};

} // namespace engine

#endif
