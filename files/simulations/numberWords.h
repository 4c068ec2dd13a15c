/**
 * @file numberWords.h
 * A text of nothing but numbers, whatever its lines are.
 */
#ifndef ZARNGI_FILES_SIMULATIONS_NUMBERWORDS_H
#define ZARNGI_FILES_SIMULATIONS_NUMBERWORDS_H

#include <cstdint>
#include <optional>
#include <string_view>

namespace files
{

/** Takes the numbers one after another; "4*0.5" is four of them, as Fortran has it. */
class NumberWords
{
public:
    explicit NumberWords(std::string_view text) : text_(text) {}

    /** The next number, or nothing behind the last one. @throws Refusal when it is none. */
    std::optional<double> next();

    /** Takes all that follow; tells how many there are. @throws Refusal when one is no number. */
    std::uint64_t skipRest();

    /** The number that next() gave, as it is written. */
    std::string_view word() const { return word_; }

private:
    bool takeWord();

    std::string_view text_;      ///< that is left
    std::string_view word_;      ///< without its count
    std::uint64_t repeated_ = 0; ///< how often word_ still counts
    std::uint64_t taken_ = 0;    ///< words
    double value_ = 0;
};

} // namespace files

#endif
