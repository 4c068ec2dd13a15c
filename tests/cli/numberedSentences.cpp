// The sentences of a program that is nothing but numbers: what is marked, which kind a refusal is
// of and how the program ends must not hang on their words.
#include <functional>

#include "comparison/sentence.h"

namespace zarngi
{

std::string Sentence::text(const Wording&) const
{
    std::string words;
    for (const auto& part : parts_) {
        const auto* const plain = std::get_if<std::string>(&part);
        words += plain != nullptr ? *plain : std::string("*");
    }
    return std::to_string(std::hash<std::string>()(words));
}

} // namespace zarngi
