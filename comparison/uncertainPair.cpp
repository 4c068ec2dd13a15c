#include "comparison/uncertainPair.h"

namespace zarngi
{

UncertainPair uncertainPairOf(const Comparison& comparison, const CentreDoses& centres)
{
    const Image& reference = comparison.reference.image;
    const std::span<const unsigned char> passed = comparison.results.front().passed;
    return {viewOf(reference),
            viewOf(comparison.evaluation.image),
            comparison.reference.uncertainty,
            comparison.evaluation.uncertainty,
            centres,
            passed,
            testedBox(reference.geometry, passed)};
}

} // namespace zarngi
