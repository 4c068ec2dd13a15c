#include "comparison/structures/wildcard.h"

#include <algorithm>
#include <optional>

namespace zarngi
{

namespace
{

/** What one character of a text must be: the length of that in the pattern, and whether it is. */
struct Piece {
    std::size_t length;
    bool isMet;
};

/** A character of a set, at `place`, which is moved behind it. */
char32_t memberAt(std::u32string_view pattern, std::size_t& place)
{
    place += pattern[place] == U'\\' && place + 1 < pattern.size() ? 1U : 0U;
    return pattern[place++];
}

/** A set in brackets at the beginning of a pattern; nothing where no bracket closes it. */
std::optional<Piece> setPiece(std::u32string_view pattern, char32_t character)
{
    std::size_t place = 1;
    const bool isNegated = pattern.size() > 1 && (pattern[1] == U'!' || pattern[1] == U'^');
    place += isNegated ? 1U : 0U;
    const std::size_t first = place;
    bool isMember = false;
    while (place < pattern.size() && (pattern[place] != U']' || place == first)) {
        const char32_t least = memberAt(pattern, place);
        char32_t most = least;
        if (place + 1 < pattern.size() && pattern[place] == U'-' && pattern[place + 1] != U']') {
            most = memberAt(pattern, ++place);
        }
        isMember = isMember || (character >= least && character <= most);
    }
    return place < pattern.size() ? std::optional(Piece{place + 1, isMember != isNegated})
                                  : std::nullopt;
}

Piece firstPiece(std::u32string_view pattern, char32_t character)
{
    if (pattern[0] == U'?') {
        return {1, true};
    }
    if (pattern[0] == U'[') {
        if (const std::optional<Piece> set = setPiece(pattern, character)) {
            return *set;
        }
    }
    std::size_t place = 0;
    const bool isSame = memberAt(pattern, place) == character;
    return {place, isSame};
}

} // namespace

bool fitsWildcards(std::u32string_view pattern, std::u32string_view text)
{
    // Behind the last `*`, and what it has not taken yet: it takes more where the rest does not
    // fit.
    std::optional<std::u32string_view> behindStar;
    std::u32string_view leftByStar;
    while (!text.empty()) {
        if (!pattern.empty() && pattern[0] == U'*') {
            pattern.remove_prefix(1);
            behindStar = pattern;
            leftByStar = text;
            continue;
        }
        const Piece piece = pattern.empty() ? Piece{0, false} : firstPiece(pattern, text[0]);
        if (piece.isMet) {
            pattern.remove_prefix(piece.length);
            text.remove_prefix(1);
        } else if (behindStar) {
            leftByStar.remove_prefix(1);
            pattern = *behindStar;
            text = leftByStar;
        } else {
            return false;
        }
    }
    return std::all_of(pattern.begin(), pattern.end(), [](char32_t c) { return c == U'*'; });
}

} // namespace zarngi
