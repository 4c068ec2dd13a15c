// The sentences of a program that is nothing but numbers: what is marked, which kind a refusal is
// of and how the program ends must not hang on their words.
#include <functional>

#include "comparison/sentence.h"

namespace zarngi
{

const Wording& plainWording()
{
    static const Wording wording{[](Member member) { return std::string(memberName(member)); },
                                 [](const std::string& path) { return path; }};
    return wording;
}

Sentence& Sentence::operator+=(const Sentence& more)
{
    parts_.insert(parts_.end(), more.parts_.begin(), more.parts_.end());
    return *this;
}

std::string Sentence::text(const Wording&) const
{
    std::string words;
    for (const auto& part : parts_) {
        const auto* const plain = std::get_if<std::string>(&part);
        words += plain != nullptr ? *plain : std::string("*");
    }
    return std::to_string(std::hash<std::string>()(words));
}

std::string Sentence::subject() const
{
    const FileName* const file = parts_.empty() ? nullptr : std::get_if<FileName>(&parts_.front());
    return file != nullptr ? file->path : std::string();
}

} // namespace zarngi
