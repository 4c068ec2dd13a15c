/**
 * @file criterionRange.h
 * Ranges of criteria and their notation.
 */
#ifndef ZARNGI_COMPARISON_SWEEP_CRITERIONRANGE_H
#define ZARNGI_COMPARISON_SWEEP_CRITERIONRANGE_H

#include <string>
#include <vector>

#include "comparison/request/member.h"

namespace zarngi
{

/** Each dose difference with each distance. */
struct CriterionRange {
    std::vector<double> doseDifferences; ///< %, rising
    std::vector<double> distances;       ///< mm, rising
    bool isLocal = false;                ///< as of Criterion
    std::string text{};                  ///< as it was written
};

/** Criteria that a range holds at most. */
constexpr std::size_t mostCriteria = 400;

/**
 * Reads "1:5%/1:5mm" (steps of 1), "1:0.5:3%L/2mm" (from 1 in steps of 0.5 to 3).
 * @throws UsageError at the place
 */
CriterionRange parseCriterionRange(const std::string& text,
                                   const MemberPlace& place = {Member::sweeps});

} // namespace zarngi

#endif
