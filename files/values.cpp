// What a vector of values is destroyed by goes past all of them, unless the compiler sees that it
// does nothing: it stands here, in a source that is compiled in full.
#include "files/values.h"

#include <utility>

namespace files
{

Values::Values(LargeVector<float> own)
{
    auto kept = std::make_shared<LargeVector<float>>(std::move(own));
    values_ = *kept;
    memory_ = std::move(kept);
}

Values Values::within(Bytes block, std::size_t first, std::size_t count)
{
    auto kept = std::make_shared<Bytes>(std::move(block));
    Values values;
    values.values_ = {reinterpret_cast<const float*>(kept->data() + first), count};
    values.memory_ = std::move(kept);
    return values;
}

std::span<float> Values::own()
{
    if (!memory_ || memory_.use_count() > 1) {
        *this = LargeVector<float>(begin(), end());
    }
    // All that is not lent came here to be owned.
    return {const_cast<float*>(values_.data()), values_.size()};
}

} // namespace files
