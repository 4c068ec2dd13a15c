#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "comparison/explanation/conclusion.h"
#include "comparison/failure.h"
#include "explanation/pair.h"
#include "files/nativeDeflate.h"
#include "files/readDose.h"

namespace
{

using explained::changedBack;
using explained::clinical;
using explained::explain;
using explained::Grid;
using explained::sampled;
using zarngi::AxisSearch;
using zarngi::Conclusion;
using zarngi::DoseChange;
using zarngi::DoseImage;
using zarngi::Explanation;
using zarngi::ExplanationRequest;

constexpr double mostCost = 200;

ExplanationRequest requestOf(double doseDifference, double distance, bool isLocal = false)
{
    ExplanationRequest request;
    request.criterion = {doseDifference, distance, isLocal};
    return request;
}

struct KnownPair {
    DoseChange change;
    double noise;
    Grid evaluation;
    double doseDifference;
    double distance;
    bool isLocal = false;
};

const Grid same{};
const Grid fine{{76, 74, 64}, {1.3, 1.3, 1.3}};
const Grid coarse{{56, 54, 46}, {1.8, 1.8, 1.8}};
const Grid slabs{{66, 64, 42}, {1.5, 1.5, 2}};

const std::vector<KnownPair> knownPairs{{{{0, 0, 0}, 1}, 0.01, same, 3, 3},
                                        {{{2.9, -0.3, 2.6}, 1.003}, 0, same, 3, 3},
                                        {{{2.9, -0.3, 2.6}, 1.003}, 0.03, same, 3, 3},
                                        {{{4.5, 0, 0}, 1}, 0.01, same, 3, 2},
                                        {{{0, -4.5, 0}, 0.98}, 0.02, same, 2, 2},
                                        {{{0, 0, 4.4}, 1.02}, 0.03, fine, 3, 2},
                                        {{{-4.2, 4.1, -4.3}, 1}, 0.01, fine, 3, 3},
                                        {{{0, 0, 0}, 1.05}, 0.02, same, 2, 2},
                                        {{{0, 0, 0}, 0.92}, 0.03, fine, 3, 3},
                                        {{{0.4, 0.7, -0.6}, 1.01}, 0.01, coarse, 1, 1},
                                        {{{1.3, -2.2, 0.9}, 0.97}, 0.03, coarse, 3, 2},
                                        {{{-1.1, 0.2, 3.3}, 1.06}, 0.02, slabs, 3, 3},
                                        {{{2.1, 2.1, 2.1}, 0.95}, 0.01, slabs, 2, 3},
                                        {{{-3.3, -1.7, 0.4}, 1.08}, 0.03, same, 3, 2},
                                        {{{0.2, -0.1, 0.3}, 1.004}, 0.01, same, 1, 1},
                                        {{{1.5, 0, -1.5}, 0.99}, 0.02, fine, 2, 2, true},
                                        {{{-2.5, 2.5, 0}, 1.03}, 0.01, fine, 3, 3, true},
                                        {{{3.6, -3.2, 1.4}, 1.015}, 0.03, fine, 2, 2},
                                        {{{0, 5.6, 0}, 1}, 0.02, same, 3, 3},
                                        {{{-0.8, -0.9, -4.6}, 0.93}, 0.01, same, 3, 2}};

/** Within 0.1 mm and 0.2 %. */
void expectFound(const Explanation& found, const DoseChange& truth, const std::string& name)
{
    for (std::size_t axis = 0; axis < 3; ++axis) {
        EXPECT_EQ(found.axes[axis], AxisSearch::searched) << name;
        EXPECT_NEAR(found.both.change.shift[axis], truth.shift[axis], 0.1)
            << name << ", axis " << axis;
    }
    EXPECT_NEAR(found.both.change.factor, truth.factor, 0.002) << name;
}

TEST(Explanation, FindsKnownShiftsAndFactorsUnderNoiseOnDifferentGrids)
{
    for (std::size_t i = 0; i < knownPairs.size(); ++i) {
        const KnownPair& pair = knownPairs[i];
        const DoseImage reference = sampled(same, clinical, pair.noise / 3, 100 + i);
        const DoseImage evaluation =
            changedBack(pair.evaluation, clinical, pair.change, pair.noise, 200 + i);
        const Explanation found = explain(
            reference, evaluation, requestOf(pair.doseDifference, pair.distance, pair.isLocal));
        expectFound(found, pair.change, "pair " + std::to_string(i));
        EXPECT_LE(found.cost, mostCost) << "pair " << i;
        EXPECT_GE(found.both.passRate, found.before.passRate - 0.05) << "pair " << i;
    }
}

TEST(Explanation, TellsWhatAloneExplains)
{
    struct Row {
        DoseChange change;
        Conclusion conclusion;
        const char* sentence;
    };
    const std::vector<Row> rows{
        {{{2.5, 0, -3}, 1}, Conclusion::shift, "Explained by a shift: moving the evaluation by "},
        {{{0, 0, 0}, 1.06},
         Conclusion::factor,
         "Explained by a factor: multiplying the evaluation's doses by 1.06"},
        {{{-2.5, 3, 0}, 1.05},
         Conclusion::both,
         "Explained by a shift and a factor together: moving the evaluation by "},
        {{{0, 0, 0}, 1},
         Conclusion::nothingFailed,
         "No voxel failed: there is nothing to explain."}};
    const DoseImage reference = sampled(same, clinical, 0, 1);
    for (const Row& row : rows) {
        const DoseImage evaluation = changedBack(same, clinical, row.change, 0, 2);
        const Explanation found = explain(reference, evaluation, requestOf(3, 2));
        EXPECT_EQ(found.conclusion, row.conclusion) << row.sentence;
        EXPECT_TRUE(conclusionText(found).starts_with(row.sentence)) << conclusionText(found);
    }
}

TEST(Explanation, DoesNotExplainAColdSpotAway)
{
    const auto withColdSpot = [](double x, double y, double z) {
        const bool isCold = std::fabs(x) < 8 && std::fabs(y - 4) < 8 && std::fabs(z) < 8;
        return clinical(x, y, z) * (isCold ? 0.85 : 1);
    };
    const DoseImage reference = sampled(same, clinical, 0.005, 5);
    const DoseImage evaluation = sampled(same, withColdSpot, 0.005, 6);
    const Explanation found = explain(reference, evaluation, requestOf(3, 2));
    EXPECT_EQ(found.conclusion, Conclusion::neither);
    EXPECT_LT(zarngi::lengthOf(found.both.change.shift), 0.3);
    EXPECT_NEAR(found.both.change.factor, 1, 0.01);
    EXPECT_GT(found.before.failed, 100U);
    EXPECT_GT(found.both.failed, found.before.failed / 2);
    EXPECT_EQ(found.remainder.sides.hot, 0U);
    EXPECT_EQ(found.remainder.sides.cold, found.both.failed);
    EXPECT_NEAR(found.remainder.centre[1], 4, 1.5);
    EXPECT_NE(conclusionText(found).find("What remains fails in"), std::string::npos);
}

TEST(Explanation, TellsAnAxisThatTheDosesDoNotDetermine)
{
    const auto constantAlongZ = [](double x, double y, double) {
        return 50 * explained::edge(x, -20, 18, 3) * explained::edge(y, -15, 20, 2.5);
    };
    const DoseChange change{{2, -1.5, 3}, 1.01};
    for (const double noise : {0.0, 0.02}) {
        const DoseImage reference = sampled(same, constantAlongZ, noise / 3, 7);
        const DoseImage evaluation = changedBack(same, constantAlongZ, change, noise, 8);
        const Explanation found = explain(reference, evaluation, requestOf(3, 2));
        EXPECT_EQ(found.axes[2], AxisSearch::notDetermined);
        EXPECT_EQ(found.both.change.shift[2], 0);
        EXPECT_FALSE(found.shiftWithin[2]);
        EXPECT_NEAR(found.both.change.shift[0], 2, 0.1);
        EXPECT_NEAR(found.both.change.shift[1], -1.5, 0.1);
        EXPECT_NEAR(found.both.change.factor, 1.01, 0.002);
        const std::vector<std::string> notes = explanationNotes(found);
        ASSERT_EQ(notes.size(), 1U);
        EXPECT_TRUE(notes.front().starts_with("not determined along z")) << notes.front();
    }
}

TEST(Explanation, TellsNoShiftThatOnlyAveragesNoise)
{
    // The middle of a plateau: shifts by a half of a voxel lower its noise in either direction.
    const auto plateau = [](double x, double y, double z) {
        return 60 * explained::edge(x, -40, 40, 2) * explained::edge(y, -40, 40, 2) *
               explained::edge(z, -36, 36, 2);
    };
    const DoseImage reference = sampled(same, plateau, 0.03, 21);
    const DoseImage evaluation = changedBack(same, plateau, {{0, 0, 0}, 1.02}, 0.03, 22);
    files::Runs middle;
    for (int z = 16; z < 36; ++z) {
        for (int y = 18; y < 42; ++y) {
            middle.push_back({z, y, 18, 44});
        }
    }
    ExplanationRequest request = requestOf(2, 1);
    request.within = zarngi::NamedPart{"middle", &middle};
    const Explanation found = explain(reference, evaluation, request);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        EXPECT_NE(found.axes[axis], AxisSearch::searched) << axis;
        EXPECT_EQ(found.both.change.shift[axis], 0) << axis;
    }
    EXPECT_NEAR(found.both.change.factor, 1.02, 0.01);
    EXPECT_LE(found.cost, mostCost);
}

TEST(Explanation, StaysInThePlaneOfASlice)
{
    const Grid slice{{60, 50, 1}, {1.5, 1.5, 2}};
    const DoseChange change{{1.8, -2.4, 0}, 0.985};
    const DoseImage reference = sampled(slice, clinical, 0, 9);
    const DoseImage evaluation = changedBack(slice, clinical, change, 0.01, 10);
    const Explanation found = explain(reference, evaluation, requestOf(3, 2));
    EXPECT_EQ(found.axes[2], AxisSearch::oneVoxel);
    EXPECT_EQ(found.both.change.shift[2], 0);
    EXPECT_NEAR(found.both.change.shift[0], 1.8, 0.1);
    EXPECT_NEAR(found.both.change.shift[1], -2.4, 0.1);
    EXPECT_NEAR(found.both.change.factor, 0.985, 0.002);
}

TEST(Explanation, ExplainsAPartAlone)
{
    // Everything on the left side is moved, the rest is not.
    const auto halfMoved = [](double x, double y, double z) {
        return x > 6 ? clinical(x + 2, y, z) : clinical(x, y, z);
    };
    const DoseImage reference = sampled(same, clinical, 0, 11);
    const DoseImage evaluation = sampled(same, halfMoved, 0, 12);
    files::Runs left;
    for (int z = 14; z < 38; ++z) {
        for (int y = 18; y < 44; ++y) {
            left.push_back({z, y, 38, 46});
        }
    }
    ExplanationRequest request = requestOf(2, 1);
    request.within = zarngi::NamedPart{"left", &left};
    const Explanation found = explain(reference, evaluation, request);
    EXPECT_EQ(found.within, "left");
    EXPECT_EQ(found.tested, files::pointCount(left));
    EXPECT_NEAR(found.both.change.shift[0], 2, 0.1);
    EXPECT_NEAR(found.both.change.shift[1], 0, 0.1);
    EXPECT_NEAR(found.both.change.shift[2], 0, 0.1);
}

TEST(Explanation, IsTheSameOnAnyNumberOfThreads)
{
    const DoseImage reference = sampled(same, clinical, 0.01, 13);
    const DoseImage evaluation = changedBack(fine, clinical, {{1, 2, -1}, 1.02}, 0.02, 14);
    const Explanation one = explain(reference, evaluation, requestOf(3, 2), 1);
    for (const int threads : {2, 5}) {
        const Explanation other = explain(reference, evaluation, requestOf(3, 2), threads);
        EXPECT_EQ(other.both.change.shift, one.both.change.shift);
        EXPECT_EQ(other.both.change.factor, one.both.change.factor);
        EXPECT_EQ(other.computations, one.computations);
        EXPECT_EQ(other.after.gamma, one.after.gamma);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            EXPECT_EQ(other.shiftWithin[axis]->lower, one.shiftWithin[axis]->lower);
            EXPECT_EQ(other.shiftWithin[axis]->upper, one.shiftWithin[axis]->upper);
        }
    }
}

TEST(Explanation, TheRangesHoldTheBestAndKeepTheRate)
{
    const DoseImage reference = sampled(same, clinical, 0, 15);
    const DoseImage evaluation = changedBack(same, clinical, {{2, 1, 0}, 1.02}, 0.01, 16);
    const Explanation found = explain(reference, evaluation, requestOf(2, 1));
    for (std::size_t axis = 0; axis < 3; ++axis) {
        EXPECT_LE(found.shiftWithin[axis]->lower, found.both.change.shift[axis]);
        EXPECT_GE(found.shiftWithin[axis]->upper, found.both.change.shift[axis]);
        EXPECT_GT(found.shiftWithin[axis]->lower, -found.bounds[axis]);
        EXPECT_LT(found.shiftWithin[axis]->upper, found.bounds[axis]);
    }
    EXPECT_LE(found.factorWithin.lower, found.both.change.factor);
    EXPECT_GE(found.factorWithin.upper, found.both.change.factor);
    EXPECT_GT(found.factorWithin.lower, 0.97);
    EXPECT_LT(found.factorWithin.upper, 1.07);
}

TEST(Explanation, EndsWhenItsWatcherWantsIt)
{
    const DoseImage reference = sampled(same, clinical, 0, 17);
    const DoseImage evaluation = changedBack(same, clinical, {{2, 0, 0}, 1}, 0, 18);
    double last = 0;
    int calls = 0;
    const auto watch = [&](double share) {
        EXPECT_GE(share, last);
        EXPECT_LE(share, 1);
        last = share;
        return ++calls < 30;
    };
    EXPECT_THROW(explain(reference, evaluation, requestOf(3, 2), 1, watch), zarngi::InputError);
    EXPECT_EQ(calls, 30);
}

TEST(Explanation, TellsWhenNothingIsTested)
{
    const DoseImage reference = sampled(same, clinical, 0, 19);
    const files::Runs corner{{0, 0, 0, 1}};
    ExplanationRequest request = requestOf(3, 2);
    request.within = zarngi::NamedPart{"corner", &corner};
    try {
        explain(reference, reference, request);
        FAIL() << "nothing thrown";
    } catch (const zarngi::InputError& error) {
        EXPECT_STREQ(error.what(), "nothing to explain: no voxel of corner is tested");
    }
}

TEST(Explanation, OfAMeasuredPairIsASetUpShift)
{
    const std::filesystem::path folder = ZARNGI_TEST_DATA;
    const std::filesystem::path day1 = folder / "head_neck_day1.nrrd";
    if (!std::filesystem::exists(day1)) {
        GTEST_SKIP() << day1 << " is not there";
    }
    const auto read = [](const std::filesystem::path& path) {
        return files::valueOf(files::readDoseFile(path.string(), {files::nativeDeflate()}));
    };
    const Explanation found =
        explain(read(day1), read(folder / "head_neck_day2.nrrd"), requestOf(3, 3));
    EXPECT_EQ(found.conclusion, Conclusion::shift);
    EXPECT_NEAR(found.before.passRate, 90.319, 0.0005);
    EXPECT_NEAR(found.both.passRate, 99.998, 0.0015);
    const zarngi::Vec3 setUp{2.9, -0.3, 2.6};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        EXPECT_NEAR(found.both.change.shift[axis], setUp[axis], 0.1);
    }
    EXPECT_NEAR(found.both.change.factor, 1.003, 0.001);
    EXPECT_LE(found.cost, mostCost);
}

TEST(DirectionText, NamesTheSidesOfThePatientOrTheAxesOfAPlane)
{
    const auto inPatient = zarngi::ShiftAxes::patient;
    EXPECT_EQ(zarngi::directionText({2.94, -0.3, 2.6}, inPatient),
              "2.9 mm left, 0.3 mm anterior, 2.6 mm superior");
    EXPECT_EQ(zarngi::directionText({-1, 1, -1}, inPatient),
              "1.0 mm right, 1.0 mm posterior, 1.0 mm inferior");
    EXPECT_EQ(zarngi::directionText({0.04, -0.04, 0}, inPatient), "");
    EXPECT_EQ(zarngi::directionText({2.94, -0.3, 0}, zarngi::ShiftAxes::plane),
              "2.9 mm along +x, 0.3 mm along -y");
}

} // namespace
