#include "comparison/structures/namePattern.h"

#include <algorithm>

#include "comparison/failure.h"
#include "comparison/structures/wildcard.h"
#include "comparison/text.h"
#include "files/characters/utf8.h"

namespace zarngi
{

namespace
{

template <class Accepts>
std::vector<std::size_t> placesWhere(const std::vector<StructureName>& names,
                                     const Accepts& accepts)
{
    std::vector<std::size_t> places;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (accepts(names[i])) {
            places.push_back(i);
        }
    }
    return places;
}

std::string listOf(const std::vector<StructureName>& names)
{
    constexpr std::size_t mostTold = 8;
    std::vector<std::string> told;
    for (std::size_t i = 0; i < std::min(names.size(), mostTold); ++i) {
        told.push_back(oneLine(names[i].unique));
    }
    std::string text;
    for (const std::string& name : told) {
        text += (text.empty() ? "" : ", ") + name;
    }
    return text + (names.size() > mostTold ? ", ..." : "");
}

} // namespace

std::vector<std::size_t> matches(const std::vector<StructureName>& names,
                                 const std::string& pattern)
{
    const std::string folded = files::inSmallLetters(pattern);
    std::vector<std::size_t> places =
        placesWhere(names, [&](const StructureName& name) { return name.unique == pattern; });
    if (places.empty()) {
        places =
            placesWhere(names, [&](const StructureName& name) { return name.inFile == pattern; });
    }
    if (places.empty()) {
        places = placesWhere(names, [&](const StructureName& name) {
            return files::inSmallLetters(name.unique) == folded ||
                   files::inSmallLetters(name.inFile) == folded;
        });
    }
    if (places.empty()) {
        const std::u32string wanted = files::charactersOf(folded);
        const auto fits = [&](const std::string& name) {
            return fitsWildcards(wanted, files::charactersOf(files::inSmallLetters(name)));
        };
        places = placesWhere(names, [&](const StructureName& name) {
            return fits(name.unique) || fits(name.inFile);
        });
    }
    return places;
}

std::vector<std::size_t> matchesOf(const MemberPlace& place,
                                   const std::vector<StructureName>& names,
                                   const std::string& pattern)
{
    std::vector<std::size_t> places = matches(names, pattern);
    if (places.empty()) {
        throw refusalOf(place, "no structure is called \"" + oneLine(pattern) + "\"" +
                                   (names.empty() ? "" : "; there are " + listOf(names)));
    }
    return places;
}

} // namespace zarngi
