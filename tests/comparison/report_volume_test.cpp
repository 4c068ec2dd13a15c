#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string_view>

#include "comparison/comparison.h"
#include "comparison/documents/json.h"
#include "comparison/documents/nativePagePacking.h"
#include "comparison/documents/reportPage.h"
#include "comparison/documents/reportVolume.h"

namespace
{

using Words = std::vector<std::int16_t>;

/** RFC 4648 with padding; throws where a character does not belong. */
std::vector<unsigned char> bytesOf(std::string_view base64)
{
    constexpr std::string_view alphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::vector<unsigned char> bytes;
    const std::string_view digits = base64.substr(0, base64.find('='));
    EXPECT_EQ(base64.size(), (digits.size() + 3) / 4 * 4);
    unsigned bits = 0;
    for (std::size_t i = 0; i < digits.size(); ++i) {
        const std::size_t digit = alphabet.find(digits[i]);
        if (digit == std::string_view::npos) {
            throw std::invalid_argument("not a digit of base64");
        }
        bits = bits << 6 | static_cast<unsigned>(digit);
        if (i % 4 > 0) {
            bytes.push_back(static_cast<unsigned char>(bits >> (6 - 2 * (i % 4))));
        }
    }
    return bytes;
}

/** Unpacks numbers as the page's format is described. */
template <class Number> std::vector<Number> unpacked(std::string_view text, std::size_t count)
{
    const std::vector<unsigned char> packed = bytesOf(text);
    std::vector<unsigned char> bytes(sizeof(Number) * count);
    uLongf length = bytes.size();
    EXPECT_EQ(uncompress(bytes.data(), &length, packed.data(), packed.size()), Z_OK);
    EXPECT_EQ(length, bytes.size());
    std::vector<Number> numbers;
    for (std::size_t i = 0; i < count; ++i) {
        std::uint32_t number = 0;
        for (std::size_t byte = 0; byte < sizeof(Number); ++byte) {
            number |= static_cast<std::uint32_t>(bytes[byte * count + i]) << (8 * byte);
        }
        numbers.push_back(static_cast<Number>(number));
    }
    return numbers;
}

Words decoded(std::string_view text, std::size_t count)
{
    return unpacked<std::int16_t>(text, count);
}

/** What an element of a page holds. */
std::string_view elementOf(const std::string& page, const std::string& id)
{
    const std::string mark = "id=\"" + id + "\">";
    const std::size_t start = page.find(mark);
    EXPECT_NE(start, std::string::npos) << id;
    const std::size_t text = start + mark.size();
    return std::string_view(page).substr(text, page.find('<', text) - text);
}

files::LargeVector<float> noise(std::size_t count, float from, float to, unsigned seed)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> distribution(from, to);
    files::LargeVector<float> values(count);
    std::generate(values.begin(), values.end(), [&] { return distribution(random); });
    return values;
}

TEST(ReportVolume, UnpacksToWhatWentIn)
{
    for (const std::size_t count : {1U, 2U, 3U, 4U, 40000U, 40001U, 40002U, 123456U}) {
        const Words constant(count, -1);
        EXPECT_EQ(decoded(zarngi::encodedNumbers(constant, zarngi::nativePagePacking()), count),
                  constant)
            << count;
        const Words words = zarngi::storedDoses(noise(count, -32767, 32767, 1), 0);
        EXPECT_EQ(decoded(zarngi::encodedNumbers(words, zarngi::nativePagePacking()), count), words)
            << count;
    }
}

TEST(ReportVolume, RoundsHalvesAwayFromZero)
{
    files::LargeVector<float> doses = noise(100000, -40, 40, 2);
    for (int i = -10; i < 10; ++i) {
        const float half = static_cast<float>(i) + 0.5F;
        doses.insert(doses.end(),
                     {half, std::nextafter(half, -100.0F), std::nextafter(half, 100.0F)});
    }
    doses.insert(doses.end(), {0.0F, -0.0F, 1e-45F, 32766.5F, 32767.5F, 1e9F, -1e9F});
    for (const int decimals : {-2, -1, 0, 1, 2, 3, 12}) {
        Words expected;
        for (const float dose : doses) {
            const double value = static_cast<double>(dose) * std::pow(10.0, decimals);
            expected.push_back(
                static_cast<std::int16_t>(std::lround(std::clamp(value, -32767.0, 32767.0))));
        }
        EXPECT_EQ(zarngi::storedDoses(doses, decimals), expected) << decimals;
    }
}

TEST(ReportVolume, DosesUseAllDecimalsThatFit)
{
    for (const auto& [largest, decimals] :
         {std::pair{2.2, 4}, {3.27674, 4}, {3.2768, 3}, {71.0, 2}, {70000.0, -1}, {1.0, 4}}) {
        EXPECT_EQ(zarngi::doseDecimals(largest), decimals) << largest;
        EXPECT_LE(std::round(largest * std::pow(10, decimals)), 32767);
    }
    EXPECT_EQ(zarngi::storedDoses(std::vector<float>{0, 1.23456F, -2.5F}, 4),
              (std::vector<std::int16_t>{0, 12346, -25000}));
}

TEST(ReportVolume, NoFailedVoxelShowsAPassingGamma)
{
    const float justFailed = std::nextafter(1.0F, 2.0F);
    const float justPassed = std::nextafter(1.0F, 0.0F);
    EXPECT_EQ(zarngi::storedGammas(std::vector<float>{-1, 0, 0.4996F, justPassed, 1, justFailed,
                                                      1.0004F, 1.0016F, 40, 1e10F},
                                   std::vector<unsigned char>{255, 1, 1, 1, 1, 0, 0, 0, 0, 0}),
              (std::vector<std::int16_t>{-1, 0, 500, 1000, 1000, 1001, 1001, 1002, 32767, 32767}));
    // The second of two voxels with a gamma of 1 failed: its gamma was rounded to 1.
    EXPECT_EQ(zarngi::storedGammas(std::vector<float>{0.5F, 1, 1, 2},
                                   std::vector<unsigned char>{1, 1, 0, 0}),
              (std::vector<std::int16_t>{500, 1000, 1001, 2000}));
}

TEST(ReportPage, VolumesInOrderWhateverTheNumberOfThreads)
{
    constexpr std::size_t voxels = 30 * 20 * 10;
    const zarngi::Geometry geometry{{30, 20, 10}, {1, 1, 1}, {0, 0, 0}};
    zarngi::Comparison comparison;
    comparison.reference.image = {geometry, noise(voxels, 0, 2, 3)};
    comparison.evaluation.image = {geometry, noise(voxels, 0, 2, 4)};
    comparison.referenceExtremes = comparison.evaluationExtremes = {0, 2, {}, {}};
    std::vector<std::pair<std::string, Words>> expected = {
        {"reference", zarngi::storedDoses(comparison.reference.image.values, 4)},
        {"evaluation", zarngi::storedDoses(comparison.evaluation.image.values, 4)}};
    for (unsigned i = 0; i < 5; ++i) {
        zarngi::CriterionResult& result = comparison.results.emplace_back();
        result.gamma = noise(voxels, -1, 1, 5 + i);
        result.passed.assign(voxels, 1);
        expected.emplace_back("gamma-" + std::to_string(i),
                              zarngi::storedGammas(result.gamma, result.passed));
    }
    zarngi::Json record;
    record["criteria"] = std::vector(5, zarngi::Json::object());
    for (const int threads : {1, 2, 3, 7, 16}) {
        comparison.settings.threads = threads;
        const std::string page = zarngi::reportPage(comparison, record, "<!--ZARNGI-DATA-->",
                                                    zarngi::nativePagePacking());
        std::size_t end = 0;
        for (const auto& [name, words] : expected) {
            const std::string mark = "id=\"volume-" + name + "\">";
            const std::size_t start = page.find(mark, end);
            ASSERT_NE(start, std::string::npos) << name << " is missing or out of order";
            end = page.find('<', start);
            const std::size_t text = start + mark.size();
            EXPECT_EQ(decoded(page.substr(text, end - text), voxels), words) << name;
        }
    }
}

/** A square of 4 mm whose centre is at 5, 5 mm, on planes at 2 and 4 mm. */
files::Structure square()
{
    files::Structure structure;
    structure.name = "square";
    for (const double z : {2.0, 4.0}) {
        structure.contours.push_back({{{3, 3, z}, {7, 3, z}, {7, 7, z}, {3, 7.0006, z}}});
    }
    return structure;
}

TEST(ReportPage, StructuresAsVoxelsAndContours)
{
    const zarngi::Geometry geometry{{10, 10, 5}, {1, 1, 1}, {0.5, 0.5, 0.5}};
    files::StructureSet set;
    set.structures = {square()};
    const auto catalogue =
        std::make_shared<zarngi::StructureCatalogue>(std::vector<files::StructureSet>{set}, 1);
    zarngi::Comparison comparison;
    comparison.reference.image = {geometry, noise(500, 0, 2, 3)};
    comparison.evaluation.image = {geometry, noise(500, 0, 2, 4)};
    comparison.structures = zarngi::compareStructures(
        catalogue, zarngi::selectStructures(*catalogue, {"square", "twice = square"}, {}),
        zarngi::viewOf(comparison.reference.image), zarngi::viewOf(comparison.evaluation.image), {},
        2);
    zarngi::Json record;
    record["structures"]["list"] = std::vector(2, zarngi::Json::object());
    const std::string page =
        zarngi::reportPage(comparison, record, "<!--ZARNGI-DATA-->", zarngi::nativePagePacking());

    const auto document = nlohmann::json::parse(elementOf(page, "zarngi-data"));
    const auto& list = document["structures"]["list"];
    EXPECT_EQ(list[0]["voxelsElement"], "structure-0-voxels");
    EXPECT_EQ(list[0]["contoursElement"], "structure-0-contours");
    EXPECT_EQ(list[1]["voxelsElement"], "structure-1-voxels");
    EXPECT_EQ(list[1]["contoursElement"], nullptr);
    // Slices from 1 to 5 mm, rows from 3 to 7 mm, voxels from 3 to 7 mm.
    std::vector<std::int32_t> runs;
    for (int z = 1; z < 5; ++z) {
        for (int y = 3; y < 7; ++y) {
            runs.insert(runs.end(), {z, y, 3, 7});
        }
    }
    EXPECT_EQ(unpacked<std::int32_t>(elementOf(page, "structure-0-voxels"), runs.size()), runs);
    EXPECT_EQ(unpacked<std::int32_t>(elementOf(page, "structure-1-voxels"), runs.size()), runs);
    const std::vector<std::int32_t> contours = {4, 2000, 3000, 3000, 4000, 0, 0, 4000, -4000, 1,
                                                4, 4000, 3000, 3000, 4000, 0, 0, 4000, -4000, 1};
    EXPECT_EQ(unpacked<std::int32_t>(elementOf(page, "structure-0-contours"), contours.size()),
              contours);
}

TEST(ReportPage, TemplateWithoutAPlaceForTheDataIsRefused)
{
    EXPECT_THROW(zarngi::reportPage({}, {}, "<html></html>", zarngi::nativePagePacking()),
                 std::runtime_error);
}

} // namespace
