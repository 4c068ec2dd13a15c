#include "platform/systemError.h"

#include <cerrno>

#include "platform/windows/wide.h"

namespace platform
{

std::string reasonOf(const std::error_code& error)
{
    const int number = error.category() == std::system_category()
                           ? errnoOf(static_cast<unsigned long>(error.value()))
                           : error.value();
    return number == EBUSY ? "it is open in another program"
                           : std::generic_category().message(number);
}

} // namespace platform
