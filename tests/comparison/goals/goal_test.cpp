#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

#include "comparison/failure.h"
#include "comparison/goals/goalResult.h"
#include "comparison/structures/isodoseVolume.h"

using zarngi::Goal;
using zarngi::GoalResult;
using zarngi::GoalVerdict;
using zarngi::Image;
using zarngi::viewOf;

namespace
{

Goal parsed(const std::string& text)
{
    return zarngi::parseGoals({text}).front();
}

TEST(Goals, AreReadAsTheyAreUsuallyWritten)
{
    struct Case {
        const char* text;
        const char* pattern;
        const char* label;
    };
    for (const auto& [text, pattern, label] : std::vector<Case>{
             {"PTV*: D95% >= 57 Gy", "PTV*", "D95% >= 57 Gy"},
             {"PTV:D95>=57Gy", "PTV", "D95% >= 57 Gy"},
             {"PTV: D95%[Gy] >= 57", "PTV", "D95% >= 57 Gy"},
             {"PTV: d95 % \u2265 5700 cGy", "PTV", "D95% >= 5700 cGy"},
             {"PTV: D95% > 95 %", "PTV", "D95% > 95 %"},
             {"Rectum: V40Gy < 35 %", "Rectum", "V40Gy < 35 %"},
             {"Rectum: V40Gy < 12,5 %", "Rectum", "V40Gy < 12.5 %"},
             {"Rectum: V4000cGy[cc] \u2264 12.5", "Rectum", "V40Gy <= 12.5 cc"},
             {"A:B: V95% >= 98 %", "A:B", "V95% >= 98 %"},
             {"Cord: D0.03cc < 45 Gy", "Cord", "D0.03cc < 45 Gy"},
             {"Cord: DMAX <= 45 Gy", "Cord", "Dmax <= 45 Gy"},
             {"Cord: Mean[cGy] <= 450", "Cord", "Dmean <= 450 cGy"},
             {"PTV: Dmin > 0 Gy", "PTV", "Dmin > 0 Gy"},
             {"PTV: HI <= 0.1", "PTV", "HI <= 0.1"},
             {"PTV: CI >= 0.85", "PTV", "CI >= 0.85"},
             {"PTV*: D95% within 2 %", "PTV*", "D95% within 2 %"},
             {"PTV*: D95%[Gy] WITHIN 2 %", "PTV*", "D95% within 2 %"},
             {"PTV*: V95% within 1.5 %", "PTV*", "V95% within 1.5 %"},
             {"PTV*: Dmean within 0.5 Gy", "PTV*", "Dmean within 0.5 Gy"},
             {"PTV*: HI within 0.02", "PTV*", "HI within 0.02"},
         }) {
        const Goal goal = parsed(text);
        EXPECT_EQ(goal.text, text);
        EXPECT_EQ(goal.pattern, pattern) << text;
        EXPECT_EQ(goal.label(), label) << text;
    }
}

TEST(Goals, ThatAreDoubtfulAreRefusedByTheirPlace)
{
    for (const char* const text : {
             "",
             "PTV",
             "D95% >= 57 Gy",
             ": D95% >= 57 Gy",
             "PTV: D95% 57 Gy",
             "PTV: D95% = 57 Gy",
             "PTV: D95% >= 57",            // of what?
             "PTV: D95% >= 57 cc",         //
             "PTV: D95% >= 57 mGy",        //
             "PTV: D95%[Gy] >= 57 cGy",    //
             "PTV: D95%[Sv] >= 57",        //
             "PTV: D95% >= -57 Gy",        //
             "PTV: D95% >= Gy",            //
             "PTV: D105% >= 57 Gy",        //
             "Lung: V20Gy < 35",           // % or cc?
             "Lung: V20Gy < 35 Gy",        //
             "Lung: V20 < 35 %",           //
             "Lung: V20Gy[cc] within 5 %", // of the volume, or of the reference's?
             "PTV: HI <= 10 %",            //
             "PTV: CI >= 0.9 Gy",          //
             "PTV: D95% within",           //
             "PTV: D95% >= 1e12 Gy",       //
         }) {
        try {
            zarngi::parseGoals({"PTV: Dmax < 70 Gy", text});
            ADD_FAILURE() << text;
        } catch (const zarngi::UsageError& error) {
            EXPECT_EQ(error.member(), "goals[1]") << text;
        }
    }
}

/** A row without contours, with the figures that are set. */
zarngi::StructureRow rowOf(const std::string& name, double volume)
{
    zarngi::StructureRow row;
    row.chosen.name = name;
    row.volume = volume;
    return row;
}

/** Two rows whose figures are known, and one structure that cannot be taken. */
struct Sample {
    zarngi::StructureComparison structures;
    Image reference{{{20, 20, 20}, {1, 1, 1}, {0, 0, 0}}, {}};

    explicit Sample(const std::vector<Goal>& goals)
    {
        files::LargeVector<float> values(reference.geometry.voxels(), 0);
        for (std::size_t i = 0; i < 1000; ++i) { // planes of z = 0, 1 and a half
            values[i] = 60;
        }
        reference.values = std::move(values);
        structures.doseVolume.metrics = zarngi::withUsualMetrics(metricsOf(goals));
        structures.doseVolume.fullDose = 60;
        structures.prescription = 60;
        structures.rows = {rowOf("PTV", 10), rowOf("Far", 5)};
        structures.rows[0].reference = figures(1);
        structures.rows[0].evaluation = figures(0.98);
        structures.refused = {{"Tilted", "is oblique"}};
        structures.catalogue =
            std::make_shared<zarngi::StructureCatalogue>(std::vector<files::StructureSet>{}, 1.0);
    }

    /** All doses times a factor, all volumes 40 %; none to a volume of more than 10 cc. */
    zarngi::DoseVolume figures(double factor) const
    {
        zarngi::DoseVolume dose;
        dose.volume = 10;
        dose.minimum = 50 * factor;
        dose.mean = 58 * factor;
        dose.maximum = 62 * factor;
        for (const zarngi::DoseMetric& metric : structures.doseVolume.metrics) {
            const bool isTooLarge =
                metric.kind == zarngi::DoseMetric::Kind::doseToVolume && metric.value > 10;
            dose.metrics.push_back(metric.isVolume() ? std::optional(40.0)
                                   : isTooLarge      ? std::nullopt
                                                : std::optional((60 - metric.value / 50) * factor));
        }
        return dose;
    }

    std::vector<GoalResult> judge(const std::vector<Goal>& goals, bool hasPair) const
    {
        const zarngi::DoseView view = viewOf(reference);
        return judgeGoals(goals, {structures, view, view, "Gy"}, hasPair);
    }
};

TEST(Goals, AreJudgedInBothDosesAndByTheirDifference)
{
    struct Case {
        const char* text;
        std::optional<double> reference;
        std::optional<double> difference;
        std::optional<double> margin; ///< of the evaluation, or of the difference
        GoalVerdict verdict;
    };
    constexpr auto pass = GoalVerdict::pass;
    constexpr auto fail = GoalVerdict::fail;
    for (const Case& one : std::vector<Case>{
             {"PTV: Dmean >= 56.75 Gy", 58, -1.16, 0.09, pass},
             {"PTV: Dmean > 58 Gy", 58, -1.16, -1.16, fail},
             {"PTV: Dmean >= 57 Gy", 58, -1.16, -0.16, fail}, // in one dose alone
             {"PTV: Dmean >= 5700 cGy", 5800, -116, -16, fail},
             {"PTV: Dmax <= 62 Gy", 62, -1.24, 1.24, pass},
             {"PTV: Dmax < 62 Gy", 62, -1.24, 1.24, fail},
             {"PTV: Dmin > 80 %", 250.0 / 3, -5.0 / 3, 5.0 / 3, pass},
             {"PTV: V30Gy < 40.5 %", 40, 0, 0.5, pass},
             {"PTV: V30Gy >= 4 cc", 4, 0, 0, pass},
             {"PTV: D50% within 2.5 %", 59, -2, 0.5, pass},
             {"PTV: D50% within 1.99 %", 59, -2, -0.01, fail},
             {"PTV: D50% within 1 Gy", 59, -1.18, -0.18, fail},
             {"PTV: V30Gy within 0 %", 40, 0, 0, pass},
             {"PTV: D11cc < 50 Gy", {}, {}, {}, GoalVerdict::none},
             {"PTV: HI <= 0.04", 1.92 / 59, 0, 0.04 - 1.92 / 59, pass},
             {"Far: Dmax < 62 Gy", {}, {}, {}, GoalVerdict::none},
             {"Tilted: Dmax < 62 Gy", {}, {}, {}, GoalVerdict::none},
         }) {
        const std::vector<Goal> goals{parsed(one.text)};
        const std::vector<GoalResult> results = Sample(goals).judge(goals, true);
        ASSERT_EQ(results.size(), 1U) << one.text;
        const GoalResult& result = results.front();
        const auto same = [&](const std::optional<double>& a, const std::optional<double>& b) {
            EXPECT_EQ(a.has_value(), b.has_value()) << one.text;
            EXPECT_NEAR(a.value_or(0), b.value_or(0), 1e-12) << one.text;
        };
        same(result.reference.value, one.reference);
        same(result.difference.value, one.difference);
        same(goals[0].isOfDifference() ? result.difference.margin : result.evaluation.margin,
             one.margin);
        EXPECT_EQ(result.verdict, one.verdict) << one.text;
        EXPECT_EQ(result.note.empty(), one.verdict != GoalVerdict::none) << one.text;
        EXPECT_EQ(zarngi::hasMissed(results), one.verdict != pass) << one.text;
    }
}

TEST(Goals, OfAPatternAreForEachStructureAndOfNoneRefused)
{
    const std::vector<Goal> goals = zarngi::parseGoals({"*: Dmax < 70 Gy", "far: Dmin >= 0 Gy"});
    const std::vector<GoalResult> results = Sample(goals).judge(goals, false);
    std::string told;
    for (const GoalResult& result : results) {
        told += std::to_string(result.goal) + result.structure + " " +
                zarngi::verdictName(result.verdict) + " " + result.note + "; ";
    }
    EXPECT_EQ(told, "0PTV pass ; 0Far none has no dose; 0Tilted none is oblique; "
                    "1Far none has no dose; ");
    const std::vector<Goal> absent{parsed("GTV: Dmax < 70 Gy")};
    EXPECT_THROW(Sample(absent).judge(absent, true), zarngi::UsageError);
}

TEST(Goals, ConformityIsThatOfPaddick)
{
    // 40 % of 10 cc are covered; the thousand voxels of 1 mm that have the dose are 1 cc.
    const std::vector<Goal> goals{parsed("PTV: CI >= 0.5")};
    const Sample sample(goals);
    const double isodose = zarngi::isodoseVolume(viewOf(sample.reference), 60);
    EXPECT_DOUBLE_EQ(isodose, 1);
    const std::vector<GoalResult> results = sample.judge(goals, false);
    EXPECT_DOUBLE_EQ(results[0].reference.value.value(), 16 / (10 * isodose));
}

TEST(IsodoseVolume, IsThatOfABall)
{
    Image image{{{41, 39, 25}, {1.5, 1.5, 2.5}, {-30, -28.5, -30}}, {}};
    files::LargeVector<float> doses;
    const std::array<int, 3>& size = image.geometry.size;
    for (int z = 0; z < size[2]; ++z) {
        for (int y = 0; y < size[1]; ++y) {
            for (int x = 0; x < size[0]; ++x) {
                doses.push_back(static_cast<float>(
                    100 - std::hypot(-30 + 1.5 * x, -28.5 + 1.5 * y, -30 + 2.5 * z)));
            }
        }
    }
    image.values = std::move(doses);
    constexpr double radius = 20;
    const double ball = 4.0 / 3 * std::numbers::pi * radius * radius * radius / 1000;
    EXPECT_NEAR(zarngi::isodoseVolume(viewOf(image), 100 - radius), ball, 0.01 * ball);
    EXPECT_EQ(zarngi::isodoseVolume(viewOf(image), 101), 0);
    const double whole = 41 * 39 * 25 * 1.5 * 1.5 * 2.5 / 1000;
    EXPECT_NEAR(zarngi::isodoseVolume(viewOf(image), 0), whole, 1e-9 * whole);
}

} // namespace
