/**
 * @file tables.h
 * What the characters of other sets are in Unicode, where no rule tells it. tables.py makes the
 * tables from the codecs of Python when the project is built; 0 stands for no character.
 */
#ifndef ZARNGI_FILES_CHARACTERS_TABLES_H
#define ZARNGI_FILES_CHARACTERS_TABLES_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace files
{

/** A code, or the number of one, and a character. */
struct CodePair {
    std::uint16_t code;
    std::uint16_t character;
};

/** The character of a code in a table by codes; 0: none. */
inline char32_t characterOf(std::span<const CodePair> table, std::uint32_t code)
{
    const auto found = std::lower_bound(
        table.begin(), table.end(), code,
        [](const CodePair& pair, std::uint32_t wanted) { return pair.code < wanted; });
    return found != table.end() && found->code == code ? found->character : 0;
}

namespace characterTables
{

/** The bytes A0 to FF of a set of single bytes. */
using UpperHalf = std::array<std::uint16_t, 96>;
/** ISO 8859-1 to -4, -9 and -15; -5 to -8; TIS 620; the katakana of JIS X 0201. */
extern const UpperHalf latin1, latin2, latin3, latin4, latin5, latin9;
extern const UpperHalf cyrillic, arabic, greek, hebrew;
extern const UpperHalf thai;
extern const UpperHalf katakana;

/** Sets of two bytes: 94 rows of 94 cells, row by row. 17 kB each. */
inline constexpr std::size_t cellsOfRow = 94;
using RowsOfCells = std::array<std::uint16_t, cellsOfRow * cellsOfRow>;
extern const RowsOfCells jisX0208, jisX0212, ksX1001;

/** The pairs of GB 18030, 48 kB: leads 81 to FE, each with the trails 40 to 7E and 80 to FE. */
inline constexpr std::size_t leadsOfGb18030 = 126;
inline constexpr std::size_t trailsOfGb18030 = 190;
extern const std::array<std::uint16_t, leadsOfGb18030 * trailsOfGb18030> gb18030Pairs;

/**
 * The codes of four bytes of GB 18030 below U+10000, counted from 81 30 81 30: where runs begin of
 * characters that follow one another, and their first one. The last run begins where they end.
 */
extern const std::span<const CodePair> gb18030Runs;

/** GB 2312 (both bytes from A1 on) where it is not GB 18030, which has private characters, too. */
extern const std::span<const CodePair> gb2312Differences;

/** The small letters of capitals: Latin, Greek and Cyrillic ones beyond ASCII. */
extern const std::span<const CodePair> smallLetters;

} // namespace characterTables

} // namespace files

#endif
