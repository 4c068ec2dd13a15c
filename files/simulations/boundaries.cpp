#include "files/simulations/boundaries.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <string>

#include "files/error.h"
#include "files/text.h"

namespace files
{

namespace
{

constexpr double millimetres = 10; // of a centimetre

/** What a one in the last digit of a number is worth. */
double worthOfLastDigit(std::string_view word)
{
    const auto exponentAt = std::min(word.find_first_of("eEdD"), word.size());
    const std::string_view mantissa = word.substr(0, exponentAt);
    const auto point = mantissa.find('.');
    const auto decimals =
        point == std::string_view::npos ? 0 : static_cast<double>(mantissa.size() - point - 1);
    const std::string_view exponent = word.substr(std::min(exponentAt + 1, word.size()));
    return std::pow(10.0, (exponent.empty() ? 0 : parseNumber(exponent)) - decimals);
}

} // namespace

void Boundaries::add(double centimetres, std::string_view word)
{
    places_.push_back(centimetres * millimetres);
    finest_ = std::min(finest_, worthOfLastDigit(word) * millimetres);
}

void Boundaries::checkRises() const
{
    const auto fall = std::adjacent_find(places_.begin(), places_.end(),
                                         [](double a, double b) { return !(a < b); });
    if (fall != places_.end()) {
        refuseDamaged(std::string("its boundaries along ") + axis_ + " do not rise (" +
                      number(*fall) + " mm, then " + number(*(fall + 1)) + " mm)");
    }
}

/**
 * How far a boundary may lie from its even place: a unit of the last digit, as rounded ones do, if
 * that is little of a voxel; a thousandth of a voxel in any case.
 */
double Boundaries::tolerance(double spacing) const
{
    constexpr double always = 1e-3; // of a voxel, as in other formats
    constexpr double atMost = 0.02; // of a voxel
    return std::max(always * spacing, std::min(finest_, atMost * spacing));
}

double Boundaries::spacing() const
{
    constexpr double endless = 9990; // mm: how cylinders and spheres write what they do not divide
    checkRises();
    if (places_.size() == 2 && places_[0] <= -endless && places_[1] >= endless) {
        refuseUnsupported(
            std::string("holds the dose of a cylinder or a sphere: it has one slab from -999 to "
                        "999 cm along ") +
            axis_ + "; score the dose in a grid of voxels");
    }
    const double spacing =
        (places_.back() - places_.front()) / static_cast<double>(places_.size() - 1);
    for (std::size_t i = 0; i < places_.size(); ++i) {
        const double even = places_.front() + spacing * static_cast<double>(i);
        if (std::fabs(places_[i] - even) > tolerance(spacing)) {
            std::vector<double> steps(places_.size());
            std::adjacent_difference(places_.begin(), places_.end(), steps.begin());
            const auto [least, most] = std::minmax_element(steps.begin() + 1, steps.end());
            refuseUnsupported(std::string("its voxels are uneven along ") + axis_ + " (from " +
                              number(*least) + " mm to " + number(*most) +
                              " mm); resample the dose on an even grid first");
        }
    }
    return spacing;
}

double Boundaries::firstCentre() const
{
    return places_.front() + spacing() / 2;
}

} // namespace files
