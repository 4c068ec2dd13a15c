#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>

#include "comparison/failure.h"
#include "comparison/structures/doseOrder.h"
#include "comparison/structures/doseVolume.h"

using files::Raster;
using files::Runs;
using zarngi::DoseMetric;
using zarngi::DoseOrder;
using zarngi::DoseVolumeSettings;
using zarngi::Geometry;
using zarngi::Image;
using zarngi::SubPoints;
using zarngi::viewOf;

namespace
{

/** Voxels of 2 mm whose doses are 1 Gy per mm along x, from 1 Gy at x = 1 mm on. */
Image ramp(int width)
{
    const Geometry grid{{width, 2, 2}, {2, 2, 2}, {1, 1, 1}};
    files::LargeVector<float> doses;
    for (std::size_t i = 0; i < grid.voxels(); ++i) {
        doses.push_back(static_cast<float>(1 + 2 * (static_cast<int>(i) % width)));
    }
    return {grid, std::move(doses)};
}

/** A row of points along x, two for each voxel of a grid of 2 mm. */
SubPoints rowOf(const Geometry& grid, int begin, int end)
{
    return {{grid, {2, 2, 2}}, {{1, 1, begin, end}}};
}

DoseVolumeSettings asking(const std::string& list)
{
    return {zarngi::withUsualMetrics(zarngi::parseDoseMetrics({list})), 20, 1};
}

std::optional<double> figure(const zarngi::DoseVolume& dose, const DoseVolumeSettings& settings,
                             const std::string& label)
{
    for (std::size_t i = 0; i < settings.metrics.size(); ++i) {
        if (settings.metrics[i].label() == label) {
            return dose.metrics[i];
        }
    }
    ADD_FAILURE() << label << " was not asked for";
    return std::nullopt;
}

TEST(DoseVolume, FiguresOfARamp)
{
    // Points at x = 2.5, 3.5, ..., 12.5 mm: between centres their dose is their x.
    const Image image = ramp(10);
    const SubPoints points = rowOf(image.geometry, 2, 13);
    const DoseVolumeSettings settings = asking("D100,D0,D90,V7.5Gy,V7.6Gy,V50%,D0.001cc,D1cc");
    const auto dose = doseVolume(viewOf(image), points, settings);
    ASSERT_TRUE(dose);
    EXPECT_DOUBLE_EQ(points.volume(), 0.011);
    EXPECT_DOUBLE_EQ(dose->minimum, 2.5);
    EXPECT_DOUBLE_EQ(dose->maximum, 12.5);
    EXPECT_DOUBLE_EQ(dose->mean, 7.5);
    EXPECT_EQ(dose->withoutDose, 0U);
    const auto value = [&](const char* label) { return figure(*dose, settings, label).value(); };
    EXPECT_DOUBLE_EQ(value("D100"), 2.5);
    EXPECT_DOUBLE_EQ(value("D0"), 12.5);
    EXPECT_DOUBLE_EQ(value("D90"), 3.5);
    EXPECT_DOUBLE_EQ(value("D95"), 3);
    EXPECT_DOUBLE_EQ(value("D50"), 7.5);
    EXPECT_DOUBLE_EQ(value("V7.5Gy"), 100.0 * 6 / 11); // the point of 7.5 Gy included
    EXPECT_DOUBLE_EQ(value("V7.6Gy"), 100.0 * 5 / 11);
    EXPECT_DOUBLE_EQ(value("V50%"), 100.0 * 3 / 11); // 10 Gy
    EXPECT_NEAR(value("D0.001cc"), 12.5 - 10.0 / 11, 1e-12);
    EXPECT_FALSE(figure(*dose, settings, "D1cc"));
    EXPECT_FALSE(figure(*dose, settings, "D0.03cc"));
    ASSERT_EQ(dose->curve.size(), 14U);
    EXPECT_EQ(dose->curve[2], 1);
    EXPECT_DOUBLE_EQ(dose->curve[3], 10.0 / 11);
    EXPECT_DOUBLE_EQ(dose->curve[12], 1.0 / 11);
    EXPECT_EQ(dose->curve[13], 0);
}

TEST(DoseVolume, OutermostHalfVoxelsHaveTheDoseOfTheirCentres)
{
    const Image image = ramp(10);
    const auto dose = doseVolume(viewOf(image), rowOf(image.geometry, 0, 20), asking(""));
    ASSERT_TRUE(dose);
    EXPECT_DOUBLE_EQ(dose->minimum, 1); // at x = 0.5 mm, not 0.5 Gy
    EXPECT_DOUBLE_EQ(dose->maximum, 19);
}

TEST(DoseVolume, PointsOutsideTheFacesOfAnotherGridHaveNoDose)
{
    const Image reference = ramp(10);
    const Image shorter = ramp(4); // from x = 0 to 8 mm
    const auto dose = doseVolume(viewOf(shorter), rowOf(reference.geometry, 2, 13), asking(""));
    ASSERT_TRUE(dose);
    EXPECT_EQ(dose->withoutDose, 5U);
    EXPECT_DOUBLE_EQ(dose->mean, (2.5 + 3.5 + 4.5 + 5.5 + 6.5 + 7) / 6);
    EXPECT_FALSE(doseVolume(viewOf(shorter), rowOf(reference.geometry, 8, 13), asking("")));
    EXPECT_FALSE(doseVolume(viewOf(shorter), {{reference.geometry, {1, 1, 1}}, {}}, asking("")));
}

TEST(DoseOrder, AgreesWithASort)
{
    std::mt19937 random(7);
    for (const std::size_t count : {std::size_t{1}, std::size_t{2}, std::size_t{1000}}) {
        std::vector<double> doses(count);
        for (double& dose : doses) {
            // Whole tenths meet the edges of bins; some doses are negative.
            dose = static_cast<double>(random() % 200) / 10 - 2;
        }
        std::vector<double> sorted = doses;
        std::sort(sorted.begin(), sorted.end());
        DoseOrder order(doses, 0.1, sorted.back());
        const std::vector<double> percents = {0, 0.1, 2, 33.3, 50, 95, 99.9, 100};
        const std::vector<double> levels = {-3, -2, -0.05, 0, 0.3, 7.7, 17.7, 17.8, 1000};
        for (const double percent : percents) {
            order.wantPercentile(percent);
        }
        for (const double level : levels) {
            order.wantDose(level);
        }
        order.gather();
        for (const double percent : percents) {
            const double rank = percent / 100 * static_cast<double>(count - 1);
            const auto below = static_cast<std::size_t>(rank);
            const double upper = sorted[std::min(below + 1, count - 1)];
            EXPECT_DOUBLE_EQ(order.percentile(percent),
                             sorted[below] +
                                 (rank - static_cast<double>(below)) * (upper - sorted[below]));
        }
        const auto reaching = [&](double level) {
            return static_cast<std::size_t>(std::count_if(
                doses.begin(), doses.end(), [level](double dose) { return dose >= level; }));
        };
        for (const double level : levels) {
            EXPECT_EQ(order.atOrAbove(level), reaching(level)) << level;
        }
        const std::vector<std::size_t> cumulative = order.cumulative();
        EXPECT_EQ(cumulative.back(), 0U);
        for (std::size_t bin = 0; bin < cumulative.size(); ++bin) {
            EXPECT_EQ(cumulative[bin], reaching(static_cast<double>(bin) * 0.1)) << bin;
        }
    }
}

TEST(SubPoints, AreAsFineAsAMillimetreAndAsFewAsFourMillion)
{
    const auto everywhere = [](const Raster& raster) {
        Runs runs;
        for (int z = 0; z < raster.size(2); ++z) {
            for (int y = 0; y < raster.size(1); ++y) {
                runs.push_back({z, y, 0, static_cast<int>(raster.size(0))});
            }
        }
        return runs;
    };
    struct Case {
        std::array<int, 3> size;
        zarngi::Vec3 spacing;
        std::array<int, 3> parts;
    };
    for (const auto& [size, spacing, parts] : {
             Case{{10, 10, 10}, {2.5, 1, 3}, {3, 1, 3}},
             Case{{10, 10, 10}, {1.0000005, 20, 0.5}, {1, 8, 1}},
             Case{{100, 100, 100}, {2.5, 2, 1}, {2, 1, 1}}, // 6 million, then 2
             Case{{200, 200, 200}, {2, 2, 2}, {1, 1, 1}},   // no fewer than the voxels
         }) {
        const Geometry grid{size, spacing, {0, 0, 0}};
        const SubPoints points = zarngi::subPointsOf(grid, everywhere);
        EXPECT_EQ(points.raster.parts, parts);
        const double volume =
            static_cast<double>(grid.voxels()) * spacing[0] * spacing[1] * spacing[2] / 1000;
        EXPECT_NEAR(points.volume(), volume, 1e-9 * volume);
    }
}

TEST(DoseMetric, IsReadAndWritten)
{
    for (const auto& [text, label] : std::vector<std::pair<std::string, std::string>>{
             {"D95", "D95"},
             {"d 99.5 %", "D99.5"},
             {"D2cc", "D2cc"},
             {" D0.03 CC", "D0.03cc"},
             {"v20gy", "V20Gy"},
             {"V95%", "V95%"},
             {"V107.5 %", "V107.5%"},
         }) {
        EXPECT_EQ(zarngi::parseDoseMetric(text).label(), label);
    }
    for (const char* const text : {"", "D", "D-1", "D101", "D0cc", "V20", "V20cc", "20Gy", "X95",
                                   "Dnan", "V1e999Gy", "D95Gy"}) {
        EXPECT_THROW(zarngi::parseDoseMetric(text), zarngi::UsageError) << text;
    }
    std::string labels;
    for (const DoseMetric& metric :
         zarngi::withUsualMetrics(zarngi::parseDoseMetrics({"D95,V20Gy", "d50, V20 Gy,D1cc"}))) {
        labels += metric.label() + " ";
    }
    EXPECT_EQ(labels, "D98 D95 D50 D2 D0.03cc V20Gy D1cc ");
}

TEST(DoseVolume, BinsOfCurves)
{
    for (const auto& [largest, width] : std::vector<std::pair<double, double>>{{62.6127, 0.1},
                                                                               {100, 0.1},
                                                                               {100.001, 0.2},
                                                                               {200.5, 0.5},
                                                                               {501, 1},
                                                                               {2.2, 0.005},
                                                                               {1000, 1},
                                                                               {0, 1},
                                                                               {-1, 1},
                                                                               {7e-5, 1e-7},
                                                                               {1.5e6, 2000}}) {
        EXPECT_DOUBLE_EQ(zarngi::curveBinWidth(largest), width) << largest;
    }
}

} // namespace
