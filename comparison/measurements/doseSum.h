/**
 * @file doseSum.h
 * Doses that are put together from several files, and rescaled.
 */
#ifndef ZARNGI_COMPARISON_MEASUREMENTS_DOSESUM_H
#define ZARNGI_COMPARISON_MEASUREMENTS_DOSESUM_H

#include <string>
#include <vector>

#include "comparison/doseImage.h"
#include "comparison/request/member.h"

namespace zarngi
{

/** A factor as it is given: a number, or a fraction like 1/33; above 0. */
struct DoseFactor {
    std::string text; ///< empty: none was given
    double value = 1;
};

/** @param place of the text in a request. @throws UsageError at the place */
DoseFactor parseFactor(const MemberPlace& place, const std::string& text);

/**
 * (dose + others) * factor: in double precision, in the order of the files, rounded once. Places
 * that one of them has no dose for have none.
 * @param others are left without their values.
 * @throws InputError when one lies on another grid, in another frame, or holds other units.
 */
void combine(DoseImage& dose, std::vector<DoseImage>& others, const DoseFactor& factor);

/** Whether both have their doses at the same places, to 0.01 mm. */
bool lieAlike(const DoseImage& a, const DoseImage& b);

} // namespace zarngi

#endif
