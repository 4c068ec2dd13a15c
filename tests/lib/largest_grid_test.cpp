// Grids just under 2^31 voxels: the arithmetic of their indices, on memory that is not there until
// it is touched.
#include <sys/mman.h>

#include <cstdint>

#include "gammaIndexKernelCPU.h"
#include "support/host.h"

namespace
{

constexpr std::size_t mostVoxels = 0x7FFFFFFF;

/** Doses of 0 for the largest grid there can be; only the pages that are used take memory. */
class SparseMap
{
public:
    SparseMap()
        : memory_(mmap(nullptr, bytes, PROT_READ | PROT_WRITE,
                       MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0))
    {
    }
    ~SparseMap()
    {
        if (isThere()) {
            munmap(memory_, bytes);
        }
    }
    SparseMap(const SparseMap&) = delete;
    SparseMap& operator=(const SparseMap&) = delete;

    bool isThere() const { return memory_ != MAP_FAILED; }
    float* data() const { return static_cast<float*>(memory_); }

private:
    static constexpr std::size_t bytes = mostVoxels * sizeof(float);
    void* memory_;
};

struct Case {
    std::array<int, 3> size;
    std::array<int, 3> voxel; ///< whose centre is a single-precision number
};

class LargestGrid : public testing::TestWithParam<Case>
{
};

TEST_P(LargestGrid, ReadersFindItsLastVoxels)
{
    const auto& [n, voxel] = GetParam();
    const SparseMap map;
    if (!map.isThere()) {
        GTEST_SKIP() << "this system promises no memory that it does not have";
    }
    const std::int64_t index = voxel[0] + std::int64_t{n[0]} * voxel[1] +
                               std::int64_t{n[0]} * std::int64_t{n[1]} * voxel[2];
    ASSERT_LT(index, std::int64_t{n[0]} * n[1] * n[2]);
    map.data()[index] = 7;
    const float x0[] = {0, 0, 0};
    const float h[] = {1, 1, 1};
    float position[3];
    for (std::size_t a = 0; a < 3; ++a) {
        position[a] = static_cast<float>(voxel[a] + 0.5);
    }
    EXPECT_EQ(VoxelValue(map.data(), position, x0, h, n.data()), 7);
    EXPECT_EQ(TrilinearInterp(map.data(), position, x0, h, n.data()), 7);
    EXPECT_EQ(BilinearInterp(map.data(), position, x0, h, n.data(), 2), 7);
}

// The last number of single precision below 2^31 is 2^31 - 128.
INSTANTIATE_TEST_SUITE_P(Shapes, LargestGrid,
                         testing::Values(Case{{1290, 1290, 1290}, {1289, 1289, 1289}},
                                         Case{{46340, 46341, 1}, {46339, 46340, 0}},
                                         Case{{1, 46340, 46341}, {0, 46339, 46340}},
                                         Case{{32769, 1, 65533}, {32768, 0, 65532}},
                                         Case{{0x7FFFFFFF, 1, 1}, {0x7FFFFF80, 0, 0}},
                                         Case{{1, 0x7FFFFFFF, 1}, {0, 0x7FFFFF80, 0}},
                                         Case{{1, 1, 0x7FFFFFFF}, {0, 0, 0x7FFFFF80}},
                                         Case{{0x7FFFFF90, 1, 1}, {0x7FFFFF00, 0, 0}},
                                         Case{{2, 1, (1 << 30) - 1}, {1, 0, (1 << 30) - 64}}),
                         [](const auto& test) {
                             const auto& n = test.param.size;
                             return std::to_string(n[0]) + "x" + std::to_string(n[1]) + "x" +
                                    std::to_string(n[2]);
                         });

} // namespace
