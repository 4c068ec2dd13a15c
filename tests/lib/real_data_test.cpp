// Measured dose distributions, against an independent scalar program that follows the definition.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <thread>

#include "support/host.h"
#include "support/realGrids.h"

namespace
{

enum class Criterion { global, local };
enum class Mode { gammaMap, nearest, passRate };

struct Row {
    const char* name;
    const char* reference;
    const char* evaluation;
    float DD;
    float DTA;
    Criterion criterion;
    Mode mode;
    float gammaSearchMax; ///< 0: not set
    int tested;
    const char* passRate;
    const char* mean; ///< null in pass-rate mode
    const char* max;
};

constexpr const char* day1 = "head_neck_day1.nrrd";
constexpr const char* day2 = "head_neck_day2.nrrd";
constexpr const char* beam1 = "proton_ramp_beam1.dcm";
constexpr const char* beam2 = "proton_ramp_beam2.dcm";
constexpr const char* plan = "proton_ramp_plan.dcm";
constexpr Criterion global = Criterion::global;
constexpr Criterion local = Criterion::local;

const Row rows[] = {
    {"HeadNeck3Percent3mm", day1, day2, 3, 3, global, Mode::gammaMap, 3, 88129, "90.318741",
     "0.437427", "1.560771"},
    {"HeadNeck2Percent2mm", day1, day2, 2, 2, global, Mode::gammaMap, 3, 88129, "73.209724",
     "0.651471", "2.337395"},
    {"HeadNeck3PercentLocal3mm", day1, day2, 3, 3, local, Mode::gammaMap, 3, 88129, "81.407936",
     "0.622812", "1.803545"},
    {"HeadNeck3Percent3mmNearest", day1, day2, 3, 3, global, Mode::nearest, 3, 88129, "96.885246",
     "0.430893", "2.784487"},
    {"HeadNeck3Percent2mmPassRate", day1, day2, 3, 2, global, Mode::passRate, 0, 88129, "77.773491",
     nullptr, nullptr},
    {"HeadNeck1Percent1mm", day1, day2, 1, 1, global, Mode::gammaMap, 10, 88129, "51.881901",
     "1.295553", "4.668426"},
    {"ProtonOpposedBeams", beam1, beam2, 3, 3, global, Mode::gammaMap, 2, 273690, "9.872849",
     "12.97686", "27.54937"},
    {"ProtonPlanWithItself", plan, plan, 2, 2, global, Mode::gammaMap, 0, 381619, "100.000000",
     "0.000000", "0.000000"},
};

/** The value with as many decimals as the expected text has. */
std::string asPrecise(double value, const std::string& expected)
{
    const auto decimals = expected.size() - expected.find('.') - 1;
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", static_cast<int>(decimals), value);
    return text;
}

class RealData : public LibraryTest, public testing::WithParamInterface<Row>
{
};

TEST_P(RealData, ComesOutToTheLastDigit)
{
    if (!haveRealGrids()) {
        GTEST_SKIP() << "no dose files in " << ZARNGI_TEST_DATA;
    }
    const Row& row = GetParam();
    ASSERT_EQ(setRef(readRealGrid(row.reference)), ZARNGI_OK);
    ASSERT_EQ(setEval(readRealGrid(row.evaluation)), ZARNGI_OK);
    setCriteria(row.DTA, row.DD, 10);
    zarnGI_setDDCriterium(row.criterion == global ? ZARNGI_DD_GLOBAL : ZARNGI_DD_LOCAL);
    zarnGI_setInterpolation(row.mode != Mode::nearest);
    zarnGI_setComputationMode(row.mode == Mode::passRate ? ZARNGI_MODE_PASS_RATE
                                                         : ZARNGI_MODE_GAMMA_MAP);
    if (row.gammaSearchMax > 0) {
        zarnGI_setGammaSearchMax(row.gammaSearchMax);
    }
    zarnGI_setNumThreads(static_cast<int>(std::max(1U, std::thread::hardware_concurrency())));
    const Results results = compute();

    EXPECT_EQ(asPrecise(static_cast<double>(results.passRate), row.passRate), row.passRate);
    int tested = 0;
    double sum = 0;
    double largest = 0;
    for (const float gamma : results.gamma) {
        if (gamma >= 0) {
            ++tested;
            sum += static_cast<double>(gamma);
            largest = std::max(largest, static_cast<double>(gamma));
        }
    }
    EXPECT_EQ(tested, row.tested);
    if (row.mean != nullptr) {
        // The expected digits are those of a single-precision number: the mean of the opposed beams
        // lies at 12.976855 and rounds upwards as a float only.
        const auto mean = static_cast<float>(sum / tested);
        EXPECT_EQ(asPrecise(static_cast<double>(mean), row.mean), row.mean);
        EXPECT_EQ(asPrecise(largest, row.max), row.max);
    }
}

INSTANTIATE_TEST_SUITE_P(Library, RealData, testing::ValuesIn(rows),
                         [](const auto& test) { return std::string(test.param.name); });

} // namespace
