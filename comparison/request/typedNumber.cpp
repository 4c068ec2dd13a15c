#include "comparison/request/typedNumber.h"

#include <cmath>

#include "comparison/text.h"

namespace zarngi
{

double parseTyped(const std::string& text)
{
    const std::size_t comma = text.find(',');
    if (comma == std::string::npos) {
        return parseNumber(text);
    }
    constexpr std::size_t groupOfThousands = 3;
    const std::string decimals = text.substr(comma + 1);
    const bool areDecimals = decimals.size() != groupOfThousands && !decimals.empty() &&
                             decimals.find_first_not_of("0123456789") == std::string::npos &&
                             text.find('.') == std::string::npos;
    return areDecimals ? parseNumber(text.substr(0, comma) + "." + decimals) : std::nan("");
}

} // namespace zarngi
