/**
 * @file wildcard.h
 * Patterns of names, character by character.
 */
#ifndef ZARNGI_COMPARISON_STRUCTURES_WILDCARD_H
#define ZARNGI_COMPARISON_STRUCTURES_WILDCARD_H

#include <string_view>

namespace zarngi
{

/**
 * Whether a pattern means a whole text: `*` is any text, `?` any character, `[abc]`, `[a-z]` one of
 * these, `[!abc]`, `[^abc]` one that is none of these; a backslash takes what follows as it is.
 */
bool fitsWildcards(std::u32string_view pattern, std::u32string_view text);

} // namespace zarngi

#endif
