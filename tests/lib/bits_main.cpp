// Prints a line for each of so many random problems, and for the measured dose grids where they
// are, that stands for all bits of the result: what two processors must print alike.
#include <bit>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "gammaIndexKernelCPU.h"
#include "support/host.h"
#include "support/randomProblem.h"
#include "support/realGrids.h"

namespace
{

/** A number that hardly any two sequences share (FNV-1a). */
class Digest
{
public:
    void add(std::uint32_t word)
    {
        for (unsigned shift = 0; shift < 32; shift += 8) {
            value_ = (value_ ^ (word >> shift & 0xffU)) * 1099511628211U;
        }
    }
    void add(float number) { add(std::bit_cast<std::uint32_t>(number)); }
    [[nodiscard]] std::uint64_t value() const { return value_; }

private:
    std::uint64_t value_ = 14695981039346656037U;
};

std::uint64_t digestOf(const std::vector<float>& numbers)
{
    Digest digest;
    for (const float number : numbers) {
        digest.add(number);
    }
    return digest.value();
}

/** Of what is known of each tested voxel; in pass-rate mode that is whether it passed. */
std::uint64_t digestOfRecords()
{
    Digest digest;
    for (const ActiveVoxel& voxel : activeVoxels) {
        digest.add(static_cast<std::uint32_t>(voxel.ivxl));
        digest.add(std::uint32_t{voxel.passed});
        if (!Env->passRateMode) {
            digest.add(std::uint32_t{voxel.stopSearching});
            digest.add(voxel.gammasq);
            digest.add(voxel.distanceMinGamma);
        }
    }
    return digest.value();
}

/** Computes and prints what is set up; returns whether it could be computed. */
bool print(const std::string& name)
{
    const Results results = compute();
    std::printf("%s: pass rate %.9g, map %016" PRIx64 ", records %016" PRIx64 "\n", name.c_str(),
                static_cast<double>(results.passRate), digestOf(results.gamma), digestOfRecords());
    return !testing::Test::HasFailure();
}

bool printRandomProblems(unsigned count)
{
    bool computed = true;
    for (unsigned seed = 0; seed < count && computed; ++seed) {
        zarnGI_reset();
        RandomProblem(seed).handOver();
        zarnGI_setRandomRotation(false); // by another angle at each time
        computed = print("random problem " + std::to_string(seed));
    }
    return computed;
}

struct Criteria {
    float DTA;
    float DD;
    float gammaSearchMax;
};

bool printMeasured()
{
    constexpr Criteria all[] = {{3, 3, 3}, {2, 2, 3}, {1, 1, 10}};
    bool computed = true;
    for (const Criteria& criteria : all) {
        zarnGI_reset();
        setRef(readRealGrid("head_neck_day1.nrrd"));
        setEval(readRealGrid("head_neck_day2.nrrd"));
        setCriteria(criteria.DTA, criteria.DD, 10);
        zarnGI_setGammaSearchMax(criteria.gammaSearchMax);
        zarnGI_setNumThreads(2);
        computed = print("head-neck, " + std::to_string(criteria.DTA) + " mm") && computed;
    }
    return computed;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2 || zarnGI_init() != ZARNGI_OK) {
        std::fprintf(stderr, "usage: %s PROBLEMS\n", argv[0]);
        return 2;
    }
    const auto problems = static_cast<unsigned>(std::strtoul(argv[1], nullptr, 10));
    const bool computed = printRandomProblems(problems) && (!haveRealGrids() || printMeasured());
    zarnGI_reset();
    return computed ? 0 : 1;
}
