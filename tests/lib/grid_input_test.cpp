// Handing over the dose grids.
#include <cstring>
#include <limits>

#include "support/host.h"

namespace
{

using SetGrid = int (*)(int*, float*, float*, float*);

class GridInput : public LibraryTest, public testing::WithParamInterface<SetGrid>
{
protected:
    int set(Grid grid)
    {
        return GetParam()(grid.nn.data(), grid.hs.data(), grid.x0.data(), grid.map.data());
    }
    bool isReference() const { return GetParam() == zarnGI_setRef; }
    const int* nn() const { return isReference() ? Env->nn_ref : Env->nn_eval; }
    const float* hs() const { return isReference() ? Env->hs_ref : Env->hs_eval; }
    const float* xmin() const { return isReference() ? Env->xmin_ref : Env->xmin_eval; }
    const float* xmax() const { return isReference() ? Env->xmax_ref : Env->xmax_eval; }
    const float* map() const { return isReference() ? Env->map_ref : Env->map_eval; }
    std::size_t count() const { return isReference() ? Env->N_ref : Env->N_eval; }
};

Grid numbered(std::array<int, 3> nn, std::array<float, 3> hs, std::array<float, 3> x0)
{
    return makeGrid(nn, hs, x0, [nn](int x, int y, int z) {
        return static_cast<float>(x + nn[0] * (y + nn[1] * z));
    });
}

TEST_P(GridInput, StoresTheDescriptionAndACopy)
{
    Grid grid = numbered({10, 20, 30}, {2, 2, 2.5F}, {-10, -20, 0});
    grid.map[7] = std::numeric_limits<float>::quiet_NaN();
    grid.map[8] = -std::numeric_limits<float>::infinity();
    const std::vector<float> given = grid.map;
    ASSERT_EQ(GetParam()(grid.nn.data(), grid.hs.data(), grid.x0.data(), grid.map.data()),
              ZARNGI_OK);
    grid.map.assign(grid.map.size(), 99.0F);

    ASSERT_EQ(count(), 6000U);
    EXPECT_EQ(std::memcmp(map(), given.data(), given.size() * sizeof(float)), 0);
    const float upper[3] = {10, 20, 75};
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(nn()[i], grid.nn[i]);
        EXPECT_EQ(hs()[i], grid.hs[i]);
        EXPECT_EQ(xmin()[i], grid.x0[i]);
        EXPECT_EQ(xmax()[i], upper[i]);
    }
}

TEST_P(GridInput, AcceptsOneVoxelAndReplacesTheEarlierGrid)
{
    ASSERT_EQ(set(numbered({5, 5, 5}, {1, 1, 1}, {0, 0, 0})), ZARNGI_OK);
    ASSERT_EQ(set(numbered({1, 1, 1}, {4, 4, 4}, {1, 1, 1})), ZARNGI_OK);
    EXPECT_EQ(count(), 1U);
    EXPECT_EQ(xmax()[2], 5);
    EXPECT_EQ(map()[0], 0);
}

INSTANTIATE_TEST_SUITE_P(BothGrids, GridInput, testing::Values(zarnGI_setRef, zarnGI_setEval),
                         [](const auto& test) {
                             return test.param == zarnGI_setRef ? "Reference" : "Evaluation";
                         });

int lendRef(int* nn, float* hs, float* x0, float* map)
{
    return zarnGI_lendRef(nn, hs, x0, map);
}

int lendEval(int* nn, float* hs, float* x0, float* map)
{
    return zarnGI_lendEval(nn, hs, x0, map);
}

/** By all the functions that hand over a grid. */
class RefusedGridInput : public LibraryTest, public testing::WithParamInterface<SetGrid>
{
};

TEST_P(RefusedGridInput, RejectionNamesTheFirstFaultAndChangesNothing)
{
    Grid grid = numbered({2, 3, 4}, {1, 2, 3}, {4, 5, 6});
    ASSERT_EQ(GetParam()(grid.nn.data(), grid.hs.data(), grid.x0.data(), grid.map.data()),
              ZARNGI_OK);
    std::array<char, sizeof(calculationEnvironment)> before{};
    std::memcpy(before.data(), Env, before.size());
    std::vector<float> dose(64, 5.0F);
    const auto attempt = [&](std::array<int, 3> sizes, std::array<float, 3> spacing, float* doses) {
        std::array<float, 3> corner{7, 8, 9};
        return GetParam()(sizes.data(), spacing.data(), corner.data(), doses);
    };
    EXPECT_EQ(attempt({4, 0, 3}, {1, 1, 1}, dose.data()), ZARNGI_BAD_GRID_SIZE);
    EXPECT_EQ(attempt({4, 4, 4}, {1, 1, 0}, dose.data()), ZARNGI_BAD_VOXEL_SIZE);
    EXPECT_EQ(attempt({0, 2, 2}, {0, 1, 1}, dose.data()), ZARNGI_BAD_GRID_SIZE);
    EXPECT_EQ(attempt({2, 2, -1}, {-1, 1, 1}, dose.data()), ZARNGI_BAD_VOXEL_SIZE);
    EXPECT_EQ(attempt({2, -2, 2}, {1, 1, 1}, nullptr), ZARNGI_BAD_GRID_SIZE);
    EXPECT_EQ(attempt({2, 2, 2}, {1, 1, 1}, nullptr), ZARNGI_NULL_POINTER);

    int sizes[3] = {2, 2, 2};
    float spacing[3] = {1, 1, 1};
    EXPECT_EQ(GetParam()(nullptr, spacing, spacing, dose.data()), ZARNGI_NULL_POINTER);
    EXPECT_EQ(GetParam()(sizes, nullptr, spacing, dose.data()), ZARNGI_NULL_POINTER);
    EXPECT_EQ(GetParam()(sizes, spacing, nullptr, dose.data()), ZARNGI_NULL_POINTER);
    EXPECT_EQ(std::memcmp(before.data(), Env, before.size()), 0);
}

TEST_P(RefusedGridInput, RejectsTwoToThe31VoxelsAndMore)
{
    constexpr int most = std::numeric_limits<int>::max();
    float dose = 0;
    std::array<float, 3> one{1, 1, 1};
    for (std::array<int, 3> sizes :
         {std::array{1 << 11, 1 << 10, 1 << 10}, std::array{1 << 16, 1 << 15, 1},
          std::array{1 << 16, 1 << 16, 1 << 16}, std::array{most, 2, 1}, std::array{2, 1, most},
          // The products of these wrap around to something small in 64 bits.
          std::array{most, most, most}, std::array{1 << 30, 1 << 30, 1 << 4}}) {
        EXPECT_EQ(GetParam()(sizes.data(), one.data(), one.data(), &dose), ZARNGI_BAD_GRID_SIZE)
            << sizes[0] << ' ' << sizes[1] << ' ' << sizes[2];
    }
    EXPECT_EQ(Env->map_ref, nullptr);
    EXPECT_EQ(Env->map_eval, nullptr);
}

INSTANTIATE_TEST_SUITE_P(AllFunctions, RefusedGridInput,
                         testing::Values(zarnGI_setRef, zarnGI_setEval, lendRef, lendEval));

using GammaMap = LibraryTest;

TEST_F(GammaMap, BelongsToTheReferenceGridAlone)
{
    ASSERT_EQ(setEval(numbered({2, 2, 2}, {1, 1, 1}, {0, 0, 0})), ZARNGI_OK);
    EXPECT_EQ(Env->gamma, nullptr);
    ASSERT_EQ(setRef(numbered({2, 3, 4}, {1, 1, 1}, {0, 0, 0})), ZARNGI_OK);
    ASSERT_NE(Env->gamma, nullptr);
    EXPECT_EQ(std::vector<float>(Env->gamma, Env->gamma + 24), std::vector<float>(24, -1.0F));
    Env->gamma[5] = 0.25F;
    ASSERT_EQ(setEval(numbered({3, 3, 3}, {1, 1, 1}, {0, 0, 0})), ZARNGI_OK);
    EXPECT_EQ(Env->gamma[5], 0.25F);
    ASSERT_EQ(setRef(numbered({3, 3, 4}, {1, 1, 1}, {0, 0, 0})), ZARNGI_OK);
    EXPECT_EQ(std::vector<float>(Env->gamma, Env->gamma + 36), std::vector<float>(36, -1.0F));
}

} // namespace
