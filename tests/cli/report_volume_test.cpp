#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <limits>
#include <string_view>

#include "comparison.h"
#include "reportPage.h"
#include "reportVolume.h"

namespace
{

TEST(ReportVolume, Base64OfTheStandard)
{
    for (const auto& [plain, encoded] : {std::pair{"", ""},
                                         {"f", "Zg=="},
                                         {"fo", "Zm8="},
                                         {"foo", "Zm9v"},
                                         {"foob", "Zm9vYg=="},
                                         {"fooba", "Zm9vYmE="},
                                         {"foobar", "Zm9vYmFy"},
                                         {"\xff\xfe\xfd", "//79"}}) {
        const std::string_view text(plain);
        EXPECT_EQ(cli::base64({text.begin(), text.end()}), encoded);
    }
}

TEST(ReportVolume, DosesUseAllDecimalsThatFit)
{
    for (const auto& [largest, decimals] :
         {std::pair{2.2, 4}, {3.27674, 4}, {3.2768, 3}, {71.0, 2}, {70000.0, -1}, {1.0, 4}}) {
        EXPECT_EQ(cli::doseDecimals(largest), decimals) << largest;
        EXPECT_LE(std::round(largest * std::pow(10, decimals)), 32767);
    }
    EXPECT_EQ(cli::storedDoses({0, 1.23456F, -2.5F}, 4),
              (std::vector<std::int16_t>{0, 12346, -25000}));
}

TEST(ReportVolume, NoFailedVoxelShowsAPassingGamma)
{
    const float justFailed = std::nextafter(1.0F, 2.0F);
    const float justPassed = std::nextafter(1.0F, 0.0F);
    EXPECT_EQ(cli::storedGammas(
                  {-1, 0, 0.4996F, justPassed, 1, justFailed, 1.0004F, 1.0016F, 40, 1e10F}, 5),
              (std::vector<std::int16_t>{-1, 0, 500, 1000, 1000, 1001, 1001, 1002, 32767, 32767}));
    // One voxel more failed than have a gamma above 1: its gamma was rounded to 1.
    EXPECT_EQ(cli::storedGammas({0.5F, 1, 2}, 2), (std::vector<std::int16_t>{500, 1001, 2000}));
}

TEST(ReportPage, TemplateWithoutAPlaceForTheDataIsRefused)
{
    EXPECT_THROW(cli::reportPage({}, {}, "<html></html>"), std::runtime_error);
}

} // namespace
