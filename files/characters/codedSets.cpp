#include "files/characters/codedSets.h"

#include <algorithm>
#include <array>

#include "files/characters/gb18030.h"
#include "files/characters/tables.h"

namespace files
{

namespace
{

using namespace characterTables;

char32_t inAscii(unsigned byte, unsigned /*none*/)
{
    return byte;
}

/** The romaji of JIS X 0201 have no tilde. Their yen stands where a file has its separator. */
char32_t inRomaji(unsigned byte, unsigned /*none*/)
{
    constexpr char32_t overline = 0x203E;
    return byte == '~' ? overline : byte;
}

template <const UpperHalf& table> char32_t inUpperHalf(unsigned byte, unsigned /*none*/)
{
    constexpr unsigned first = 0xA0;
    return byte < first ? 0 : table[byte - first];
}

template <const RowsOfCells& table> char32_t inRows(unsigned row, unsigned cell)
{
    const auto place = [](unsigned byte) { return (byte & 0x7F) - 0x21; };
    return place(row) < cellsOfRow && place(cell) < cellsOfRow
               ? table[place(row) * cellsOfRow + place(cell)]
               : 0;
}

char32_t inGb2312(unsigned row, unsigned cell)
{
    constexpr unsigned first = 0xA1;
    if (row < first || cell < first) {
        return 0;
    }
    const unsigned code = row << 8 | cell;
    const auto isDifferent = [code](const CodePair& pair) { return pair.code == code; };
    if (std::any_of(gb2312Differences.begin(), gb2312Differences.end(), isDifferent)) {
        return characterOf(gb2312Differences, code);
    }
    const char32_t character = characterOfGb18030(row, cell);
    const bool isPrivate = character >= 0xE000 && character < 0xF900;
    return isPrivate ? 0 : character;
}

constexpr std::array<CodedSet, 18> sets = {{
    {"6", "(B", false, 1, inAscii},
    {"13", "(J", false, 1, inRomaji},
    {"13", ")I", true, 1, inUpperHalf<katakana>},
    {"58", "$)A", true, 2, inGb2312},
    {"87", "$B", false, 2, inRows<jisX0208>},
    {"100", "-A", true, 1, inUpperHalf<latin1>},
    {"101", "-B", true, 1, inUpperHalf<latin2>},
    {"109", "-C", true, 1, inUpperHalf<latin3>},
    {"110", "-D", true, 1, inUpperHalf<latin4>},
    {"126", "-F", true, 1, inUpperHalf<greek>},
    {"127", "-G", true, 1, inUpperHalf<arabic>},
    {"138", "-H", true, 1, inUpperHalf<hebrew>},
    {"144", "-L", true, 1, inUpperHalf<cyrillic>},
    {"148", "-M", true, 1, inUpperHalf<latin5>},
    {"149", "$)C", true, 2, inRows<ksX1001>},
    {"159", "$(D", false, 2, inRows<jisX0212>},
    {"166", "-T", true, 1, inUpperHalf<thai>},
    {"203", "-b", true, 1, inUpperHalf<latin9>},
}};

template <class Accepts> const CodedSet* firstWhere(const Accepts& accepts)
{
    const auto* const found = std::find_if(sets.begin(), sets.end(), accepts);
    return found == sets.end() ? nullptr : found;
}

} // namespace

const CodedSet* calledSet(std::string_view behindEscape)
{
    return firstWhere([&](const CodedSet& set) { return behindEscape.starts_with(set.call); });
}

const CodedSet* codedSet(std::string_view number, bool isUpper)
{
    return firstWhere(
        [&](const CodedSet& set) { return set.number == number && set.isUpper == isUpper; });
}

} // namespace files
