#include <stdexcept>

#include "pair.h"

// For builds that cannot read dose files.

namespace bench
{

bool haveMeasuredPairs()
{
    return false;
}

Pair headNeckPair()
{
    throw std::logic_error("this build cannot read dose files");
}

Pair protonPair()
{
    throw std::logic_error("this build cannot read dose files");
}

} // namespace bench
