#include <algorithm>
#include <cstddef>

#include <gtest/gtest.h>

#include "comparison/failure.h"
#include "comparison/sweep/sweep.h"
#include "explanation/pair.h"

namespace
{

using zarngi::parseCriterionRange;
using Values = std::vector<double>;

TEST(CriterionRange, IsReadAsItIsWritten)
{
    struct Row {
        const char* text;
        Values doseDifferences;
        Values distances;
        bool isLocal;
    };
    const std::vector<Row> rows{{"1:5%/1:5mm", {1, 2, 3, 4, 5}, {1, 2, 3, 4, 5}, false},
                                {"1:0.5:3%/2mm", {1, 1.5, 2, 2.5, 3}, {2}, false},
                                {"2%L/1:3mm", {2}, {1, 2, 3}, true},
                                {" 1 : 2 % g / 0.1:0.1:0.3 MM", {1, 2}, {0.1, 0.2, 0.3}, false},
                                {"1:2:4%/3:3mm", {1, 3}, {3}, false}};
    for (const Row& row : rows) {
        const zarngi::CriterionRange range = parseCriterionRange(row.text);
        EXPECT_EQ(range.doseDifferences, row.doseDifferences) << row.text;
        EXPECT_EQ(range.distances, row.distances) << row.text;
        EXPECT_EQ(range.isLocal, row.isLocal) << row.text;
    }
}

TEST(CriterionRange, IsRefusedInOneLine)
{
    for (const char* const text :
         {"",           "1:5",         "1:5%",         "1:5%/1:5",     "1:5/1:5mm",  "5:1%/1:5mm",
          "1:0:5%/2mm", "1:-1:5%/2mm", "0:5%/1:5mm",   "1:2:3:4%/2mm", "1:5%/1:5cm", "1:5%X/2mm",
          "a:5%/2mm",   "1:500%/2mm",  "1:21%/1:20mm", "1:5%/1:5mm/2", "-1:5%/2mm",  "1::3%/2mm",
          "nan%/2mm",   "1:inf%/2mm"}) {
        try {
            parseCriterionRange(text);
            FAIL() << text;
        } catch (const zarngi::UsageError& error) {
            EXPECT_TRUE(std::string(error.what()).starts_with("sweeps: \"")) << error.what();
        }
    }
}

/** How many voxels of a part pass, one by one, in a map of 62 x 60 voxels a slice. */
std::size_t passedIn(const files::Runs& part, const zarngi::GammaMap& map)
{
    std::size_t passed = 0;
    for (const files::Run& row : part) {
        const auto start = static_cast<std::ptrdiff_t>(row.z * 60 + row.y) * 62;
        const auto first = map.passed.begin() + start;
        passed += static_cast<std::size_t>(std::count(first + row.begin, first + row.end, 1));
    }
    return passed;
}

TEST(Sweep, GivesTheRatesOfSingleComputations)
{
    const zarngi::DoseImage reference = explained::sampled({}, explained::clinical, 0.01, 1);
    const zarngi::DoseImage evaluation =
        explained::changedBack({}, explained::clinical, {{1, -1, 0.5}, 1.01}, 0.01, 2);
    zarngi::GammaRun run(reference, evaluation);
    zarngi::GammaSettings settings;
    const files::Runs part{{25, 28, 24, 34}, {26, 30, 26, 33}};
    for (const char* const text : {"1:2%/1:3mm", "2:3%L/2mm"}) {
        const zarngi::CriterionRange range = parseCriterionRange(text);
        const zarngi::Sweep sweep =
            zarngi::sweep(run, settings, range, reference.image.geometry, {{"part", &part}}, {});
        ASSERT_EQ(sweep.parts.size(), 2U);
        std::size_t i = 0;
        for (const double dose : range.doseDifferences) {
            for (const double distance : range.distances) {
                const zarngi::GammaMap map = run.compute(settings, {dose, distance, range.isLocal});
                EXPECT_EQ(sweep.parts[0].counts[i].passRate, map.passRate) << text;
                EXPECT_EQ(sweep.parts[1].counts[i].passed, passedIn(part, map)) << text;
                EXPECT_EQ(sweep.parts[1].counts[i].tested, 17U) << text;
                ++i;
            }
        }
    }
}

} // namespace
