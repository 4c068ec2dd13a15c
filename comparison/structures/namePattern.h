/**
 * @file namePattern.h
 * Structures by their names, as a person writes them.
 */
#ifndef ZARNGI_COMPARISON_STRUCTURES_NAMEPATTERN_H
#define ZARNGI_COMPARISON_STRUCTURES_NAMEPATTERN_H

#include <cstddef>
#include <string>
#include <vector>

#include "comparison/request/member.h"

namespace zarngi
{

/** How a structure can be called: uniquely among all, and as its file calls it. */
struct StructureName {
    std::string unique;
    std::string inFile;
};

/**
 * The places of the names that a pattern means, in their order. A name itself wins, also over
 * names that differ in the case of letters; else letters of both cases match, and `*`, `?` and
 * `[abc]` stand for any text, any character and any of these.
 */
std::vector<std::size_t> matches(const std::vector<StructureName>& names,
                                 const std::string& pattern);

/** @throws UsageError at the place, which tells the pattern and what there is, where none matches.
 */
std::vector<std::size_t> matchesOf(const MemberPlace& place,
                                   const std::vector<StructureName>& names,
                                   const std::string& pattern);

} // namespace zarngi

#endif
