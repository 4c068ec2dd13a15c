#include "files/formats/nrrd/space.h"

#include <algorithm>
#include <set>

#include "files/error.h"
#include "files/text.h"

namespace files::nrrd
{

namespace
{

/** The initials of a space named by directions, as "RAS" or "right-anterior-superior". */
std::string initialsOf(const std::string& name)
{
    static const std::set<std::string, std::less<>> words = {"left",      "right",    "anterior",
                                                             "posterior", "superior", "inferior"};
    if (name.size() == 3) {
        return name;
    }
    std::string initials;
    for (const std::string& word : split(name, '-')) {
        initials += words.contains(word) ? word[0] : '?';
    }
    return initials;
}

} // namespace

Vec3 vectorOf(std::string item, const char* what, std::string_view entry)
{
    std::replace(item.begin(), item.end(), ',', ' ');
    const auto blank = item.find_first_not_of(" \t");
    const std::vector<double> numbers =
        blank == std::string::npos ? std::vector<double>{} : numbersOf(item, what);
    if (numbers.size() != 3) {
        refuseEntry(what, entry);
    }
    return {numbers[0], numbers[1], numbers[2]};
}

std::vector<Step> stepsOf(const std::string& entry)
{
    std::vector<Step> steps;
    for (const std::string& item : itemsOf(entry, '(', ')')) {
        if (lowerCase(item) == "none") {
            steps.emplace_back();
        } else {
            steps.emplace_back(vectorOf(item, "a direction", entry));
        }
    }
    return steps;
}

Space spaceOf(const Header& header)
{
    Space space;
    const std::string* const dimension = header.find("space dimension");
    if (dimension != nullptr && *dimension != "3") {
        refuseUnsupported("its space has " + excerpt(*dimension) + " dimensions instead of 3");
    }
    const std::string* const entry = header.find("space");
    if (entry == nullptr) {
        return space;
    }
    const std::string name = lowerCase(*entry);
    if (name == "3d-right-handed" || name == "scanner-xyz") {
        return space; // axes without a patient
    }
    constexpr std::string_view directions = "lrpasi"; // of each axis the positive one first
    std::array<bool, 3> used{};
    const std::string initials = initialsOf(name);
    for (std::size_t i = 0; i < 3; ++i) {
        const auto place = initials.size() == 3 ? directions.find(initials[i]) : std::string::npos;
        if (place == std::string_view::npos || used[place / 2]) {
            refuseUnsupported("its space \"" + excerpt(*entry) +
                              "\" is not supported (accepted: directions of the patient such as "
                              "left-posterior-superior)");
        }
        used[place / 2] = true;
        space.axis[i] = place / 2;
        space.factor[i] = place % 2 == 0 ? 1 : -1;
    }
    space.isTold = true;
    return space;
}

double lengthUnit(const std::string& unit)
{
    if (trimmed(unit).empty() || unit == "???") {
        return 1;
    }
    const std::optional<double> millimetres = millimetresOf(unit);
    if (!millimetres) {
        refuseUnsupported("its lengths are in \"" + excerpt(unit) + "\", not in mm");
    }
    return *millimetres;
}

} // namespace files::nrrd
