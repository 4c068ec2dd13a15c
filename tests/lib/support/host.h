/**
 * @file host.h
 * What a host program does, for the tests: grids, criteria, one computation and its results.
 */
#ifndef ZARNGI_TESTS_HOST_H
#define ZARNGI_TESTS_HOST_H

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <vector>

#include "libZarnGI.h"

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

int setRef(Grid grid);
int setEval(Grid grid);

void setCriteria(float DTA, float DD, float DCO);

struct Results {
    std::vector<float> gamma;
    float passRate = 0;
};

/** Runs the computation; both it and the getters must succeed. */
Results compute();

/** Whether both hold the same bits (so that NaN equals itself and -0 differs from 0). */
bool sameBits(const std::vector<float>& a, const std::vector<float>& b);

/** A test in a freshly initialised library, which leaves it reset. */
class LibraryTest : public testing::Test
{
protected:
    void SetUp() override { ASSERT_EQ(zarnGI_init(), ZARNGI_OK); }
    void TearDown() override { zarnGI_reset(); }
};

#endif
