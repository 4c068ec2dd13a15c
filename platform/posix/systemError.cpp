#include "platform/systemError.h"

namespace platform
{

std::string reasonOf(const std::error_code& error)
{
    return error.message();
}

} // namespace platform
