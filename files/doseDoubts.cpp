#include "files/doseDoubts.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cctype>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string_view>

#include "files/error.h"
#include "files/text.h"
#include "platform/paths.h"

namespace files
{

namespace
{

constexpr std::uint32_t infinity = 0x7F800000; ///< the bits of its exponent

/** The ends of doses. */
struct Ends {
    float maximum = 0; ///< 0 where none is positive
    float lowest = 0;  ///< 0 where none is negative
};

/** Side by side in lanes, which have nothing to wait for. */
Ends endsOf(std::span<const float> doses)
{
    constexpr std::size_t lanes = 32;
    std::array<float, lanes> highest{};
    std::array<float, lanes> lowest{};
    std::array<std::uint32_t, lanes> endless{}; ///< or no number
    const auto take = [&](std::size_t lane, float dose) {
        highest[lane] = dose > highest[lane] ? dose : highest[lane];
        lowest[lane] = dose < lowest[lane] ? dose : lowest[lane];
        endless[lane] |= (std::bit_cast<std::uint32_t>(dose) & infinity) == infinity ? 1U : 0U;
    };
    std::size_t i = 0;
    for (; i + lanes <= doses.size(); i += lanes) {
        for (std::size_t lane = 0; lane < lanes; ++lane) {
            take(lane, doses[i + lane]);
        }
    }
    for (; i < doses.size(); ++i) {
        take(0, doses[i]);
    }
    if (std::any_of(endless.begin(), endless.end(), [](std::uint32_t lane) { return lane != 0; })) {
        refuseDamaged("holds doses that are not finite numbers");
    }
    return {*std::max_element(highest.begin(), highest.end()),
            *std::min_element(lowest.begin(), lowest.end())};
}

template <class Condition>
std::size_t countOf(std::span<const float> doses, const Condition& condition)
{
    return static_cast<std::size_t>(std::count_if(doses.begin(), doses.end(), condition));
}

/** How many doses are at or above a hundredth of the maximum, as far as to be above `most`. */
std::size_t countNear(std::span<const float> doses, float maximum, std::size_t most)
{
    constexpr std::ptrdiff_t part = 4096; // looked at without a way out, so several at once
    std::size_t count = 0;
    for (auto from = doses.begin(); from != doses.end() && count <= most;) {
        const auto to = from + std::min(part, doses.end() - from);
        count += static_cast<std::size_t>(std::count_if(from, to, [maximum](float dose) {
            return 100 * static_cast<double>(dose) >= static_cast<double>(maximum);
        }));
        from = to;
    }
    return count;
}

bool isLetterOrDigit(char c)
{
    return std::isalnum(static_cast<unsigned char>(c)) != 0;
}

bool isCapital(char c)
{
    return c >= 'A' && c <= 'Z';
}

/** Its last word, in lower case. */
std::string lastWord(std::string_view text)
{
    std::size_t begin = text.size();
    while (begin > 0 && isLetterOrDigit(text[begin - 1])) {
        --begin;
        if (begin > 0 && isCapital(text[begin]) && !isCapital(text[begin - 1])) {
            break;
        }
    }
    return lowerCase(text.substr(begin));
}

/** A file's name without folder and ending. */
std::string stemOf(const std::string& name)
{
    std::filesystem::path file = platform::pathOf(name).filename();
    if (lowerCase(platform::textOf(file.extension())) == ".gz") {
        file = file.stem();
    }
    return platform::textOf(file.stem());
}

std::string doseText(float dose, const DoseImage& image)
{
    return number(static_cast<double>(dose)) + (image.unit == DoseUnit::relative
                                                    ? std::string()
                                                    : std::string(" ") + unitName(image.unit));
}

void warnOfValues(DoseImage& dose, const Ends& ends)
{
    std::span<const float> doses = dose.image.values;
    if (ends.lowest < 0 && !dose.isError()) {
        const std::size_t count = countOf(doses, [](float value) { return value < 0; });
        dose.warnings.push_back("holds " + grouped(count) + (count == 1 ? " value" : " values") +
                                " below 0, which no dose is, down to " +
                                doseText(ends.lowest, dose));
    }
    if (const auto far = farDoses(doses, ends.maximum)) {
        dose.warnings.push_back("its maximum of " + doseText(ends.maximum, dose) +
                                " is more than 100 times the 99.9th percentile of its positive "
                                "doses (" +
                                doseText(far->percentile, dose) + "); " + grouped(far->count) +
                                " of " + grouped(far->positive) + " stand apart");
    }
}

} // namespace

std::optional<std::string> wordAgainstDoses(const std::string& name)
{
    static constexpr std::array<std::string_view, 4> ends = {"uncertainty", "squared", "edep",
                                                             "hits"};
    const std::string word = lastWord(stemOf(name));
    if (word == "let" || word == "letd") {
        return "LET";
    }
    const auto* const end = std::find_if(ends.begin(), ends.end(), [&](std::string_view text) {
        return std::string_view(word).ends_with(text);
    });
    return end == ends.end() ? std::nullopt : std::optional<std::string>(*end);
}

std::optional<FarDoses> farDoses(std::span<const float> doses, float maximum)
{
    // As many positive doses as a thousandth of them lie above the place of the percentile. Of most
    // grids, more are near the maximum than a thousandth of all places, which is known early.
    const std::size_t most = doses.size() / 1000;
    const std::size_t count = countNear(doses, maximum, most);
    if (!(maximum > 0) || count > most) {
        return {};
    }
    const std::size_t positive = countOf(doses, [](float dose) { return dose > 0; });
    const std::size_t above = positive / 1000;
    if (count > above) {
        return {};
    }
    std::vector<float> risen;
    risen.reserve(positive);
    std::copy_if(doses.begin(), doses.end(), std::back_inserter(risen),
                 [](float dose) { return dose > 0; });
    const auto place = risen.end() - static_cast<std::ptrdiff_t>(above + 1);
    std::nth_element(risen.begin(), place, risen.end());
    return FarDoses{count, positive, *place};
}

void checkValues(DoseImage& dose, const std::string& name)
{
    const Ends ends = endsOf(dose.image.values);
    dose.warnings.insert(dose.warnings.end(), dose.doubts.begin(), dose.doubts.end());
    dose.doubts.clear();
    if (const auto word = wordAgainstDoses(name)) {
        dose.warnings.push_back("its name ends in \"" + *word +
                                "\"; its values are taken for doses all the same");
    }
    warnOfValues(dose, ends);
}

} // namespace files
