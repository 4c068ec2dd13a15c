/**
 * @file structureExpression.h
 * Structures that are made of others: "PTV57 - PTV67", "(Lung* - GTV) & BODY".
 *
 * `&` (both) binds before `|` (either) and `-` (the first without the second), which go from left
 * to right. A name with operators or parentheses in it is taken whole where a structure is called
 * so, the longest one first; else names stand as they are, in quotes where they need them, and may
 * be patterns, which stand for all that they match together.
 */
#ifndef ZARNGI_COMPARISON_STRUCTURES_STRUCTUREEXPRESSION_H
#define ZARNGI_COMPARISON_STRUCTURES_STRUCTUREEXPRESSION_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "comparison/structures/namePattern.h"
#include "files/structures/runs.h"

namespace zarngi
{

/** What is put on a stack, or done with its two uppermost sets of points. */
struct ExpressionStep {
    enum class Kind { structures, either, both, without };

    Kind kind = Kind::structures;
    std::vector<std::size_t> places{}; ///< of structures, which count together
};

using StructureExpression = std::vector<ExpressionStep>;

/** @param place of the text in a request. @throws UsageError at the place */
StructureExpression parseStructureExpression(const MemberPlace& place, const std::string& text,
                                             const std::vector<StructureName>& names);

/** The places of all structures in it, each once. */
std::vector<std::size_t> structuresIn(const StructureExpression& expression);

/** @param pointsOf the structure at a place. */
files::Runs pointsIn(const StructureExpression& expression,
                     const std::function<files::Runs(std::size_t place)>& pointsOf);

} // namespace zarngi

#endif
