#include "files/decimal.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

namespace
{

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

/** The parts of a number in decimal notation. */
struct Decimal {
    const char* end = nullptr; ///< behind its last character
    std::uint64_t digits = 0;  ///< all of them as a whole number, where they are few
    int significant = 0;       ///< digits from the first that is not 0 on
    int exponent = 0;          ///< of ten; limited, beyond the range of doubles
    bool isNumber = false;
};

/** Takes the digits from p on. @param exponentStep what each of them does to the exponent */
const char* takeDigits(const char* p, const char* last, int exponentStep, Decimal& decimal)
{
    constexpr int mostDigits = 19; // that fit 64 bits
    for (; p != last && isDigit(*p); ++p) {
        decimal.isNumber = true;
        decimal.exponent += exponentStep;
        if (decimal.significant > 0 || *p != '0') {
            ++decimal.significant;
        }
        if (decimal.significant <= mostDigits) {
            decimal.digits = 10 * decimal.digits + static_cast<std::uint64_t>(*p - '0');
        }
    }
    return p;
}

const char* takeExponent(const char* p, const char* last, Decimal& decimal)
{
    constexpr int farAway = 100000;
    const char* q = p;
    if (q == last || (*q != 'e' && *q != 'E')) {
        return p;
    }
    ++q;
    const bool isNegative = q != last && *q == '-';
    if (q != last && (*q == '-' || *q == '+')) {
        ++q;
    }
    if (q == last || !isDigit(*q)) {
        return p;
    }
    int exponent = 0;
    for (; q != last && isDigit(*q); ++q) {
        exponent = exponent < farAway ? 10 * exponent + (*q - '0') : exponent;
    }
    decimal.exponent += isNegative ? -exponent : exponent;
    return q;
}

/** A number without its sign. */
Decimal decimalAt(const char* p, const char* last)
{
    Decimal decimal;
    p = takeDigits(p, last, 0, decimal);
    if (p != last && *p == '.') {
        const char* const behind = takeDigits(p + 1, last, -1, decimal);
        p = decimal.isNumber ? behind : p;
    }
    decimal.end = decimal.isNumber ? takeExponent(p, last, decimal) : p;
    return decimal;
}

/** Behind a word in any case; null where it does not stand there. */
const char* behindWord(const char* p, const char* last, std::string_view word)
{
    for (const char c : word) {
        if (p == last || (*p | 0x20) != c) {
            return nullptr;
        }
        ++p;
    }
    return p;
}

/** Behind what may follow "nan" in brackets. */
const char* behindBrackets(const char* p, const char* last)
{
    const char* q = p;
    if (q != last && *q == '(') {
        do {
            ++q;
        } while (q != last &&
                 (isDigit(*q) || *q == '_' || ((*q | 0x20) >= 'a' && (*q | 0x20) <= 'z')));
        return q != last && *q == ')' ? q + 1 : p;
    }
    return p;
}

/** Exact where both the digits and the power of ten are: one rounding. */
std::optional<double> quickDouble(const Decimal& decimal)
{
    constexpr std::array<double, 23> powers = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                               1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                               1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    constexpr int exactDigits = 15;
    const auto magnitude = static_cast<std::size_t>(std::abs(decimal.exponent));
    if (decimal.significant > exactDigits || magnitude >= powers.size()) {
        return {};
    }
    const auto digits = static_cast<double>(decimal.digits);
    return decimal.exponent < 0 ? digits / powers[magnitude] : digits * powers[magnitude];
}

void parse(const char* text, double& value)
{
    value = std::strtod(text, nullptr);
}

void parse(const char* text, float& value)
{
    value = std::strtof(text, nullptr);
}

template <class Number>
std::from_chars_result fromChars(const char* first, const char* last, Number& value)
{
    const bool isNegative = first != last && *first == '-';
    const char* const start = isNegative ? first + 1 : first;
    const Number sign = isNegative ? Number(-1) : Number(1);
    if (const char* const end = behindWord(start, last, "inf")) {
        value = sign * std::numeric_limits<Number>::infinity();
        const char* const longer = behindWord(start, last, "infinity");
        return {longer != nullptr ? longer : end, std::errc()};
    }
    if (const char* const end = behindWord(start, last, "nan")) {
        value = std::copysign(std::numeric_limits<Number>::quiet_NaN(), sign);
        return {behindBrackets(end, last), std::errc()};
    }
    const Decimal decimal = decimalAt(start, last);
    if (!decimal.isNumber) {
        return {first, std::errc::invalid_argument};
    }
    if constexpr (std::is_same_v<Number, double>) {
        if (const std::optional<double> quick = quickDouble(decimal)) {
            value = std::copysign(*quick, sign);
            return {decimal.end, std::errc()};
        }
    }
    Number parsed = 0;
    parse(std::string(start, decimal.end).c_str(), parsed);
    if (std::isinf(parsed) || (parsed == 0 && decimal.significant > 0)) {
        return {decimal.end, std::errc::result_out_of_range};
    }
    value = std::copysign(parsed, sign);
    return {decimal.end, std::errc()};
}

/** d.ddd times a power of ten, with the fewest digits that give the value back. */
struct Shortest {
    std::string digits;
    int exponent = 0;
};

Shortest shortest(double magnitude)
{
    constexpr int mostDigits = 17;
    std::array<char, 40> text{};
    for (int digits = 1; digits <= mostDigits; ++digits) {
        std::snprintf(text.data(), text.size(), "%.*e", digits - 1, magnitude);
        if (std::strtod(text.data(), nullptr) == magnitude) {
            break;
        }
    }
    const std::string written = text.data();
    const std::size_t mark = written.find('e');
    Shortest result{written.substr(0, mark), std::atoi(written.c_str() + mark + 1)};
    std::erase(result.digits, '.');
    return result;
}

std::string fixedText(const Shortest& number)
{
    const auto [digits, exponent] = number;
    if (exponent < 0) {
        return "0." + std::string(static_cast<std::size_t>(-exponent - 1), '0') + digits;
    }
    const std::size_t whole = static_cast<std::size_t>(exponent) + 1;
    if (whole >= digits.size()) {
        return digits + std::string(whole - digits.size(), '0');
    }
    return digits.substr(0, whole) + "." + digits.substr(whole);
}

std::string scientificText(const Shortest& number)
{
    std::array<char, 16> exponent{};
    std::snprintf(exponent.data(), exponent.size(), "e%+03d", number.exponent);
    const std::string fraction = number.digits.substr(1);
    return number.digits.substr(0, 1) + (fraction.empty() ? "" : ".") + fraction + exponent.data();
}

std::string shortestText(double value)
{
    const std::string sign = std::signbit(value) ? "-" : "";
    if (!std::isfinite(value)) {
        return sign + (std::isnan(value) ? "nan" : "inf");
    }
    const Shortest number = shortest(std::fabs(value));
    std::string scientific = scientificText(number);
    if (std::abs(number.exponent) > 30) {
        return sign + scientific;
    }
    std::string fixed = fixedText(number);
    return sign + (fixed.size() <= scientific.size() ? fixed : scientific);
}

} // namespace

namespace files
{

std::from_chars_result fromDecimal(const char* first, const char* last, double& value)
{
    return fromChars(first, last, value);
}

std::from_chars_result fromDecimal(const char* first, const char* last, float& value)
{
    return fromChars(first, last, value);
}

std::to_chars_result toDecimal(char* first, char* last, double value)
{
    const std::string text = shortestText(value);
    if (static_cast<std::size_t>(last - first) < text.size()) {
        return {last, std::errc::value_too_large};
    }
    return {std::copy(text.begin(), text.end(), first), std::errc()};
}

} // namespace files
