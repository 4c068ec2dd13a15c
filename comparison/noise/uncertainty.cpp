#include "comparison/noise/uncertainty.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <span>
#include <utility>

#include "comparison/doseUncertainty.h"
#include "comparison/failure.h"
#include "comparison/measurements/doseSum.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

constexpr std::array<const char*, 3> unitNames{"percent", "fraction", "gray"};

void checkFile(const DoseImage& dose, const DoseImage& file)
{
    if (dose.measurement) {
        throw failureOf(file.path, "tells uncertainties of " + Sentence(FileName{dose.path}) +
                                       ", which is no volume; a percentage is taken for those");
    }
    if (!lieAlike(dose, file)) {
        throw failureOf(file.path, "lies on another grid than " + Sentence(FileName{dose.path}) +
                                       ", whose uncertainties it is to tell");
    }
    for (const float value : file.image.values) {
        if (!(value >= 0) || !std::isfinite(value)) {
            throw failureOf(file.path, "holds an uncertainty of " +
                                           number(static_cast<double>(value)) +
                                           "; accepted: finite numbers from 0 up");
        }
    }
}

/** That high doses are not told to be as uncertain as large: then the unit is another one. */
void checkSize(const DoseImage& dose, const DoseImage& file, UncertaintyUnit unit)
{
    const UncertaintySummary summary = uncertaintyOf(dose);
    constexpr double largest = 100;
    if (summary.highDoses > 0 && summary.median >= largest) {
        throw failureOf(file.path, Sentence("in ") + unitName(unit) +
                                       " tells uncertainties as large as the doses themselves "
                                       "(above half the maximum median " +
                                       number(summary.median, 3) + " %); " +
                                       Member::uncertaintyUnit + " says what they are in");
    }
}

} // namespace

UncertaintyRequest parseUncertainty(const MemberPlace& place, const std::string& text)
{
    UncertaintyRequest request{text};
    if (text.ends_with('%')) {
        const double percent = parseNumber(text.substr(0, text.size() - 1));
        if (!(percent > 0 && percent <= 100)) {
            throw refusalOf(place, Sentence("\"") + oneLine(text) +
                                       "\" is no percentage above 0, up to 100");
        }
        request.percent = percent;
    }
    return request;
}

std::optional<UncertaintyUnit> parseUncertaintyUnit(const std::string& text)
{
    if (text.empty()) {
        return {};
    }
    const auto* const found = std::find(unitNames.begin(), unitNames.end(), text);
    if (found == unitNames.end()) {
        throw refusalOf({Member::uncertaintyUnit},
                        Sentence("\"") + oneLine(text) + "\" is none of percent, fraction, gray");
    }
    return static_cast<UncertaintyUnit>(found - unitNames.begin());
}

const char* unitName(UncertaintyUnit unit)
{
    return unitNames.at(static_cast<std::size_t>(unit));
}

void combineUncertainties(DoseImage& dose, std::vector<DoseImage>& others, double factor)
{
    const bool areAllTold = !dose.uncertainty.empty() &&
                            std::none_of(others.begin(), others.end(), [](const DoseImage& other) {
                                return other.uncertainty.empty();
                            });
    if (!areAllTold) {
        dose.uncertainty = {};
    }
    const std::span<float> combined = dose.uncertainty.own();
    for (std::size_t i = 0; i < combined.size(); ++i) {
        double square = 0;
        bool isKnown = false;
        const auto add = [&](float value) { // none where there is no dose
            if (!std::isnan(value)) {
                square += static_cast<double>(value) * static_cast<double>(value);
                isKnown = true;
            }
        };
        add(combined[i]);
        for (const DoseImage& other : others) {
            add(other.uncertainty[i]);
        }
        combined[i] = isKnown ? static_cast<float>(std::sqrt(square) * factor)
                              : std::numeric_limits<float>::quiet_NaN();
    }
    for (DoseImage& other : others) {
        other.uncertainty = {};
    }
}

void setUncertainties(DoseImage& dose, DoseImage& file, UncertaintyUnit unit, double factor)
{
    checkFile(dose, file);
    const files::Values& doses = dose.image.values;
    const double part = unit == UncertaintyUnit::percent ? 0.01 : 1;
    dose.uncertainty = std::move(file.image.values);
    const std::span<float> uncertainty = dose.uncertainty.own();
    for (std::size_t i = 0; i < doses.size(); ++i) {
        // Programs write 0 or 1 where there is no dose.
        const double whole =
            unit == UncertaintyUnit::gray ? factor : std::fabs(static_cast<double>(doses[i]));
        uncertainty[i] =
            doses[i] == 0 ? std::numeric_limits<float>::quiet_NaN()
                          : static_cast<float>(static_cast<double>(uncertainty[i]) * part * whole);
    }
    checkSize(dose, file, unit);
}

void setUncertainties(DoseImage& dose, double percent)
{
    const files::Values& doses = dose.image.values;
    files::LargeVector<float> uncertainty(doses.size());
    std::transform(doses.begin(), doses.end(), uncertainty.begin(), [percent](float value) {
        return static_cast<float>(std::fabs(static_cast<double>(value)) * percent / 100);
    });
    dose.uncertainty = std::move(uncertainty);
}

} // namespace zarngi
