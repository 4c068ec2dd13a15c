/**
 * @file criterion.h
 * A pair of dose difference and distance to agreement, and its usual notation.
 */
#ifndef ZARNGI_COMPARISON_CRITERION_H
#define ZARNGI_COMPARISON_CRITERION_H

#include <string>

#include "comparison/request/member.h"

namespace zarngi
{

struct Criterion {
    double doseDifference = 3; ///< %, > 0
    double distance = 2;       ///< mm, distance to agreement, > 0
    bool isLocal = false;      ///< relative to the voxel's own dose, not to the normalisation dose

    /** As the field writes it: "3%/2mm", "2%L/2mm". */
    std::string label() const;

    /** As names of files hold it: "3G-2mm", "2L-2mm". */
    std::string fileLabel() const;
};

/**
 * Reads "3%/2mm", "3%G/2mm" or "2%L/2mm" (blanks and the case of letters do not matter).
 * @throws UsageError at the place
 */
Criterion parseCriterion(const std::string& text, const MemberPlace& place = {Member::criteria});

} // namespace zarngi

#endif
