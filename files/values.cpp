// What a vector of values is destroyed by goes past all of them, unless the compiler sees that it
// does nothing: it stands here, in a source that is compiled in full.
#include "files/values.h"

namespace files
{

Values::Values(LargeVector<float> own) : own_(std::make_shared<LargeVector<float>>(std::move(own)))
{
}

LargeVector<float>& Values::own()
{
    if (!own_ || own_.use_count() > 1) {
        own_ = std::make_shared<LargeVector<float>>(begin(), end());
        lent_ = {};
    }
    return *own_;
}

} // namespace files
