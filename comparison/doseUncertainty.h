/**
 * @file doseUncertainty.h
 * How certain the doses of a file are, in few numbers.
 */
#ifndef ZARNGI_COMPARISON_DOSEUNCERTAINTY_H
#define ZARNGI_COMPARISON_DOSEUNCERTAINTY_H

#include <cstddef>
#include <string>

#include "comparison/doseImage.h"

namespace zarngi
{

struct UncertaintySummary {
    std::size_t known = 0;     ///< doses whose standard uncertainty the file tells
    std::size_t highDoses = 0; ///< those of them that are above half the maximum
    double median = 0;         ///< of the high doses, % of each; the lower one of two
    double largest = 0;        ///< of the high doses, % of each
};

/** Of a dose that was read with its uncertainty. */
UncertaintySummary uncertaintyOf(const DoseImage& dose);

/** As a line of text. */
std::string describeUncertainty(const UncertaintySummary& summary);

} // namespace zarngi

#endif
