/**
 * @file grid.h
 * Dose grids on the host's side, as tests make them.
 */
#ifndef ZARNGI_COMPARISON_SELFTEST_GRID_H
#define ZARNGI_COMPARISON_SELFTEST_GRID_H

#include <array>
#include <functional>
#include <vector>

namespace zarngi::definition
{

/** A dose grid on the host's side. */
struct Grid {
    std::array<int, 3> nn{};
    std::array<float, 3> hs{};
    std::array<float, 3> x0{};
    std::vector<float> map;
};

/** A grid whose voxel (ix, iy, iz) has the dose dose(ix, iy, iz). */
Grid makeGrid(std::array<int, 3> nn, std::array<float, 3> hs, std::array<float, 3> x0,
              const std::function<float(int, int, int)>& dose);

/** A row of voxels along x, `size` mm wide, one voxel on the other axes; lower corner 0. */
Grid makeRow(const std::vector<float>& doses, float size);

/** Hand a grid over to the library. */
int setRef(Grid grid);
int setEval(Grid grid);

/** Whether both hold the same bits (so that NaN equals itself and -0 differs from 0). */
bool sameBits(const std::vector<float>& a, const std::vector<float>& b);

} // namespace zarngi::definition

#endif
