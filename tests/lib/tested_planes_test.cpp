// Computations of some planes of the reference, each in turn.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "support/host.h"
#include "support/randomProblem.h"

namespace
{

using Verdicts = std::vector<unsigned char>;

/** What computations leave in maps, of which each writes its part. */
struct Maps {
    std::vector<float> gamma;
    Verdicts passed;
};

constexpr float unwritten = 7;
constexpr unsigned char unknown = 77;

void computeInto(Maps& maps)
{
    ASSERT_EQ(zarnGI_startComputation(), ZARNGI_OK);
    ASSERT_EQ(zarnGI_getGammaIndex3DMap(maps.gamma.data()), ZARNGI_OK);
    ASSERT_EQ(zarnGI_getPassed3DMap(maps.passed.data()), ZARNGI_OK);
}

Maps unwrittenMaps()
{
    return {std::vector<float>(Env->N_ref, unwritten), Verdicts(Env->N_ref, unknown)};
}

/** All planes, so many at a time, the last ones first. */
Maps computedByParts(int most)
{
    Maps maps = unwrittenMaps();
    for (int end = Env->nn_ref[2]; end > 0; end -= most) {
        const int first = std::max(end - most, 0);
        EXPECT_EQ(zarnGI_setTestedPlanes(first, end - first), ZARNGI_OK);
        computeInto(maps);
        const auto above = static_cast<std::ptrdiff_t>(Env->nn_ref[0]) * Env->nn_ref[1] * first;
        EXPECT_EQ(std::count(maps.passed.begin(), maps.passed.begin() + above, unknown), above);
    }
    return maps;
}

using TestedPlanes = LibraryTest;

TEST_F(TestedPlanes, GiveTheBitsOfAWholeComputationInRandomProblems)
{
    for (unsigned seed = 1; seed <= 150; ++seed) {
        SCOPED_TRACE(seed);
        zarnGI_reset();
        RandomProblem(seed).handOver();
        if (Env->randomRotation) {
            continue; // drawn anew each time
        }
        Maps whole = unwrittenMaps();
        computeInto(whole);
        const Maps parts = computedByParts(1 + static_cast<int>(seed % 4));
        EXPECT_TRUE(sameBits(parts.gamma, whole.gamma));
        EXPECT_EQ(parts.passed, whole.passed);
        ASSERT_EQ(zarnGI_setTestedPlanes(0, 0), ZARNGI_OK);
        Maps again = unwrittenMaps();
        computeInto(again);
        EXPECT_TRUE(sameBits(again.gamma, whole.gamma));
    }
}

Grid ramp(int planes)
{
    return makeGrid({4, 3, planes}, {2, 2, 2}, {0, 0, 0},
                    [](int x, int, int z) { return static_cast<float>(1 + x + 10 * z); });
}

class PlanesOfARamp : public LibraryTest
{
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        setCriteria(3, 3, 10);
        ASSERT_EQ(setRef(ramp(6)), ZARNGI_OK);
        ASSERT_EQ(setEval(ramp(6)), ZARNGI_OK);
    }
};

/** 10 % of 54 Gy: of the first plane nothing is tested, though it holds more than 10 % of 4 Gy. */
TEST_F(PlanesOfARamp, AreCutOffByTheMaximumOfAllPlanes)
{
    ASSERT_EQ(zarnGI_setTestedPlanes(0, 1), ZARNGI_OK);
    Maps maps = unwrittenMaps();
    computeInto(maps);
    EXPECT_EQ(std::count(maps.passed.begin(), maps.passed.end(), ZARNGI_NOT_TESTED), 12);
    EXPECT_EQ(std::count(maps.gamma.begin(), maps.gamma.end(), -1.0F), 12);
    zarnGI_setGlobalNormalization(4);
    computeInto(maps);
    EXPECT_EQ(std::count(maps.passed.begin(), maps.passed.end(), ZARNGI_PASSED), 12);
}

TEST_F(PlanesOfARamp, HaveAPassRateOfTheirOwn)
{
    Grid other = ramp(6);
    std::fill(other.map.begin() + 36, other.map.begin() + 48, 5000.0F);
    std::fill(other.map.begin() + 24, other.map.begin() + 36, 5000.0F);
    ASSERT_EQ(setEval(other), ZARNGI_OK);
    zarnGI_setGammaSearchMax(1);
    float passRate = -1;
    for (const auto& [plane, expected] : {std::pair(5, 100.0F), std::pair(3, 0.0F)}) {
        ASSERT_EQ(zarnGI_setTestedPlanes(plane, 1), ZARNGI_OK);
        ASSERT_EQ(zarnGI_startComputation(), ZARNGI_OK);
        ASSERT_EQ(zarnGI_getGammaIndexPassRate(&passRate), ZARNGI_OK);
        EXPECT_EQ(passRate, expected);
    }
}

TEST_F(PlanesOfARamp, LieInTheGrid)
{
    constexpr int most = std::numeric_limits<int>::max();
    constexpr int outside[][2] = {{-1, 1}, {0, 7},    {6, 1},       {5, 2},
                                  {0, -1}, {1, most}, {most, most}, {most, 1}};
    for (const auto& [first, count] : outside) {
        EXPECT_EQ(zarnGI_setTestedPlanes(first, count), ZARNGI_OUT_OF_RANGE) << first << count;
    }
    EXPECT_EQ(zarnGI_setTestedPlanes(5, 1), ZARNGI_OK);
    EXPECT_EQ(zarnGI_setTestedPlanes(0, 6), ZARNGI_OK);
    EXPECT_EQ(zarnGI_setTestedPlanes(most, 0), ZARNGI_OK);
    zarnGI_reset();
    EXPECT_EQ(zarnGI_setTestedPlanes(0, 0), ZARNGI_NO_REFERENCE);
}

TEST_F(PlanesOfARamp, HaveNoResultsOfOthers)
{
    ASSERT_EQ(zarnGI_startComputation(), ZARNGI_OK);
    ASSERT_EQ(zarnGI_setTestedPlanes(2, 1), ZARNGI_OK);
    Maps maps = unwrittenMaps();
    EXPECT_EQ(zarnGI_getGammaIndex3DMap(maps.gamma.data()), ZARNGI_NO_RESULTS);
    EXPECT_EQ(zarnGI_getPassed3DMap(maps.passed.data()), ZARNGI_NO_RESULTS);
    float passRate = 0;
    EXPECT_EQ(zarnGI_getGammaIndexPassRate(&passRate), ZARNGI_NO_RESULTS);
}

TEST_F(PlanesOfARamp, EndWithTheirReference)
{
    ASSERT_EQ(zarnGI_setTestedPlanes(5, 1), ZARNGI_OK);
    const Grid smaller = ramp(2);
    for (const bool isLent : {false, true}) {
        ASSERT_EQ(isLent ? zarnGI_lendRef(smaller.nn.data(), smaller.hs.data(), smaller.x0.data(),
                                          smaller.map.data())
                         : setRef(smaller),
                  ZARNGI_OK);
        Maps maps = unwrittenMaps();
        computeInto(maps);
        EXPECT_EQ(std::count(maps.gamma.begin(), maps.gamma.end(), unwritten), 0);
        ASSERT_EQ(zarnGI_setTestedPlanes(1, 1), ZARNGI_OK);
    }
}

/** A map of planes that fill a page each, only some of which can be read or written. */
class GuardedMap
{
public:
    explicit GuardedMap(int planes) : planes_(static_cast<std::size_t>(planes))
    {
        // A page behind: what may be read behind the last dose.
        void* const memory = mmap(nullptr, (planes_ + 1) * page, PROT_READ | PROT_WRITE,
                                  MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        map_ = memory == MAP_FAILED ? nullptr : static_cast<float*>(memory);
    }
    ~GuardedMap() { munmap(map_, (planes_ + 1) * page); }
    GuardedMap(const GuardedMap&) = delete;
    GuardedMap& operator=(const GuardedMap&) = delete;

    float* data() { return map_; }

    /** The planes from `first` to before `last`, and `behind` more that can be read. */
    void open(int first, int last, int behind)
    {
        protect(0, static_cast<int>(planes_) + 1, PROT_NONE);
        protect(last, std::min(last + behind, static_cast<int>(planes_) + 1), PROT_READ);
        protect(first, last, PROT_READ | PROT_WRITE);
    }

    static constexpr std::size_t page = 4096;

private:
    void protect(int first, int last, int access)
    {
        ASSERT_EQ(mprotect(map_ + static_cast<std::size_t>(first) * page / sizeof(float),
                           static_cast<std::size_t>(last - first) * page, access),
                  0);
    }

    std::size_t planes_;
    float* map_ = nullptr;
};

constexpr int planesOfMaps = 24;

class GuardedPlanes : public LibraryTest
{
protected:
    void SetUp() override
    {
        if (sysconf(_SC_PAGESIZE) != static_cast<long>(GuardedMap::page)) {
            GTEST_SKIP() << "pages are of another size here";
        }
        LibraryTest::SetUp();
        Grid field =
            makeGrid({32, 32, planesOfMaps}, {2, 2, 2}, {0, 0, 0}, [](int x, int y, int z) {
                return 2 + std::sin(static_cast<float>(x + 2 * y + 3 * z) / 5);
            });
        std::copy(field.map.begin(), field.map.end(), reference_.data());
        field.map[5000] = std::numeric_limits<float>::quiet_NaN();
        for (std::size_t i = 0; i < field.map.size(); ++i) {
            evaluation_.data()[i] = field.map[i] * (i % 3 == 0 ? 1.08F : 1.0F);
        }
        const std::array<float, 3> shifted{0.7F, -0.4F, shift_};
        ASSERT_EQ(
            zarnGI_lendRef(field.nn.data(), field.hs.data(), field.x0.data(), reference_.data()),
            ZARNGI_OK);
        ASSERT_EQ(
            zarnGI_lendEval(field.nn.data(), spacing_.data(), shifted.data(), evaluation_.data()),
            ZARNGI_OK);
        zarnGI_setGlobalNormalization(3);
    }

    void TearDown() override
    {
        LibraryTest::TearDown();
        zarnGI_setVectorPath(-1);
    }

    /** By the words of zarnGI_setTestedPlanes(). */
    void openEvaluation(int first, int count)
    {
        const double reach = (Env->gammaSearchMax + 1.0) * Env->DTA + 2.0 * spacing_[2];
        const double low = (first + 0.5) * 2 - reach;
        const double high = (first + count - 0.5) * 2 + reach;
        const auto planeOf = [&](double z) { return (z - shift_) / spacing_[2] - 0.5; };
        constexpr int last = planesOfMaps - 1;
        const int from = std::clamp(static_cast<int>(std::ceil(planeOf(low))), 0, last);
        const int to = std::clamp(static_cast<int>(std::floor(planeOf(high))), 0, last);
        evaluation_.open(from, to + 1, 1);
    }

    enum Kind { threeD, passRate, nearest, slices, local, ofDistance };

    static void setKind(Kind kind, float searchMax)
    {
        setCriteria(kind == ofDistance ? 4.3F : 2.0F, kind == ofDistance ? 0.1F : 3.0F, 10);
        zarnGI_setStepSize(0.3F);
        zarnGI_setGammaSearchMax(searchMax);
        zarnGI_setComputationMode(kind == passRate ? ZARNGI_MODE_PASS_RATE : ZARNGI_MODE_GAMMA_MAP);
        zarnGI_setInterpolation(kind != nearest);
        zarnGI_setDDCriterium(kind == local ? ZARNGI_DD_LOCAL : ZARNGI_DD_GLOBAL);
        Env->gammaindex2D = kind == slices;
    }

    Maps computeAll()
    {
        reference_.open(0, planesOfMaps, 1);
        evaluation_.open(0, planesOfMaps, 1);
        EXPECT_EQ(zarnGI_setTestedPlanes(0, 0), ZARNGI_OK);
        EXPECT_EQ(zarnGI_lendGammaIndex3DMap(nullptr), ZARNGI_OK);
        Maps whole = unwrittenMaps();
        computeInto(whole);
        EXPECT_EQ(zarnGI_lendGammaIndex3DMap(gamma_.data()), ZARNGI_OK);
        return whole;
    }

    void computePart(int first, int count, const Maps& whole)
    {
        ASSERT_EQ(zarnGI_setTestedPlanes(first, count), ZARNGI_OK);
        reference_.open(std::max(first - 1, 0), std::min(first + count + 1, planesOfMaps), 1);
        openEvaluation(first, count);
        gamma_.open(first, first + count, 0);
        Maps part = unwrittenMaps();
        computeInto(part);
        const std::ptrdiff_t from = std::ptrdiff_t{1024} * first;
        const std::ptrdiff_t to = from + std::ptrdiff_t{1024} * count;
        EXPECT_TRUE(sameBits({part.gamma.begin() + from, part.gamma.begin() + to},
                             {whole.gamma.begin() + from, whole.gamma.begin() + to}));
        EXPECT_TRUE(std::equal(part.passed.begin() + from, part.passed.begin() + to,
                               whole.passed.begin() + from));
    }

    void computeByParts(Kind kind)
    {
        for (const float searchMax : {0.2F, 1.6F}) {
            SCOPED_TRACE(testing::Message() << kind << ", " << searchMax);
            setKind(kind, searchMax);
            const Maps whole = computeAll();
            computePart(0, 1, whole);
            computePart(5, 3, whole);
            computePart(22, 2, whole);
        }
    }

    GuardedMap reference_{planesOfMaps};
    GuardedMap evaluation_{planesOfMaps};
    GuardedMap gamma_{planesOfMaps};
    std::array<float, 3> spacing_{2.1F, 1.9F, 1.7F};
    float shift_ = 3.1F;
};

TEST_F(GuardedPlanes, NeedNoOthers)
{
    const char* name = nullptr;
    int isSupported = 0;
    for (int path = 0; zarnGI_getVectorPath(path, &name, &isSupported) == ZARNGI_OK; ++path) {
        if (isSupported == 1) {
            SCOPED_TRACE(name);
            ASSERT_EQ(zarnGI_setVectorPath(path), ZARNGI_OK);
            for (const Kind kind : {threeD, passRate, nearest, slices, local, ofDistance}) {
                computeByParts(kind);
            }
        }
    }
}

} // namespace
