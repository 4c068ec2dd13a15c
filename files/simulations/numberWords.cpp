#include "files/simulations/numberWords.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "files/error.h"
#include "files/text.h"

namespace files
{

namespace
{

constexpr std::string_view blanks = " \t\r\n";
constexpr double mostRepeated = 1e9;

/** A number whose exponent may have the letter that Fortran gives those of double precision. */
double valueOf(std::string_view word)
{
    const auto letter = word.find_first_of("dD");
    if (letter == std::string_view::npos) {
        return parseNumber(word);
    }
    std::string number(word);
    number[letter] = 'e';
    return parseNumber(number);
}

/** The count before a star; 0 where it is none. */
std::uint64_t countOf(std::string_view digits)
{
    const bool isWhole =
        !digits.empty() && digits.find_first_not_of("0123456789") == std::string_view::npos;
    const double count = isWhole ? parseNumber(digits) : 0;
    return count <= mostRepeated ? static_cast<std::uint64_t>(count) : 0;
}

} // namespace

bool NumberWords::takeWord()
{
    const auto start = text_.find_first_not_of(blanks);
    if (start == std::string_view::npos) {
        text_ = {};
        return false;
    }
    const auto end = std::min(text_.find_first_of(blanks, start), text_.size());
    const std::string_view whole = text_.substr(start, end - start);
    text_.remove_prefix(end);
    ++taken_;
    const auto star = whole.find('*');
    repeated_ = star == std::string_view::npos ? 1 : countOf(whole.substr(0, star));
    word_ = star == std::string_view::npos ? whole : whole.substr(star + 1);
    value_ = valueOf(word_);
    if (repeated_ == 0 || !std::isfinite(value_)) {
        refuseDamaged("has \"" + excerpt(whole) + "\" where a number should be (word " +
                      grouped(taken_) + ")");
    }
    return true;
}

std::optional<double> NumberWords::next()
{
    if (repeated_ == 0 && !takeWord()) {
        return {};
    }
    --repeated_;
    return value_;
}

std::uint64_t NumberWords::skipRest()
{
    std::uint64_t count = repeated_;
    while (takeWord()) {
        count += repeated_;
    }
    repeated_ = 0;
    return count;
}

} // namespace files
