#include "files/decimal.h"

namespace files
{

std::from_chars_result fromDecimal(const char* first, const char* last, double& value)
{
    return std::from_chars(first, last, value);
}

std::from_chars_result fromDecimal(const char* first, const char* last, float& value)
{
    return std::from_chars(first, last, value);
}

std::to_chars_result toDecimal(char* first, char* last, double value)
{
    return std::to_chars(first, last, value);
}

} // namespace files
