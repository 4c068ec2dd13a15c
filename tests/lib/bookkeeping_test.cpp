// What the engine knows of the voxels under test between two passes.
#include <gtest/gtest.h>

#include "gammaIndexKernelCPU.h"

namespace
{

class Bookkeeping : public testing::Test
{
protected:
    void TearDown() override { activeVoxels.clear(); }
    static void fill(std::size_t count, std::size_t passed)
    {
        activeVoxels.assign(count, ActiveVoxel{});
        for (std::size_t k = 0; k < passed; ++k) {
            activeVoxels[count - 1 - k].passed = true;
        }
    }
};

TEST_F(Bookkeeping, CountsPassedVoxels)
{
    EXPECT_EQ(getNumPassed(), 0);
    fill(7, 3);
    EXPECT_EQ(getNumPassed(), 3);
    EXPECT_EQ(getGammaPassRate(), 42.857143F);
    fill(7, 7);
    EXPECT_EQ(getGammaPassRate(), 100);
    fill(7, 0);
    EXPECT_EQ(getGammaPassRate(), 0);
    // Multiplied first, then divided, in double precision: 100 * 29 / 100000.
    fill(100000, 29);
    EXPECT_EQ(getGammaPassRate(), static_cast<float>(29 * 100.0 / 100000.0));
}

TEST_F(Bookkeeping, SearchGoesOnWhileOneVoxelIsOpen)
{
    EXPECT_FALSE(keepSearching());
    fill(5, 5);
    EXPECT_TRUE(keepSearching()) << "a passed voxel is not a finished one";
    for (std::size_t k = 0; k < 4; ++k) {
        activeVoxels[k].stopSearching = true;
    }
    EXPECT_TRUE(keepSearching());
    activeVoxels[4].stopSearching = true;
    EXPECT_FALSE(keepSearching());
}

} // namespace
