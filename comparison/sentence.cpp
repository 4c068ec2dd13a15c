#include "comparison/sentence.h"

#include <utility>

namespace zarngi
{

const Wording& plainWording()
{
    static const Wording wording{[](Member member) { return std::string(memberName(member)); },
                                 [](const std::string& path) { return path; }};
    return wording;
}

Sentence::Sentence() = default;
Sentence::Sentence(const Sentence& other) = default;
Sentence::Sentence(Sentence&& other) noexcept = default;
Sentence& Sentence::operator=(const Sentence& other) = default;
Sentence& Sentence::operator=(Sentence&& other) noexcept = default;
Sentence::~Sentence() = default;

Sentence::Sentence(std::string text)
{
    parts_.emplace_back(std::move(text));
}

Sentence::Sentence(const char* text) : Sentence(std::string(text))
{
}

Sentence::Sentence(Member member)
{
    parts_.emplace_back(member);
}

Sentence::Sentence(FileName file)
{
    parts_.emplace_back(std::move(file));
}

Sentence& Sentence::operator+=(const Sentence& more)
{
    parts_.insert(parts_.end(), more.parts_.begin(), more.parts_.end());
    return *this;
}

Sentence operator+(Sentence first, const Sentence& second)
{
    return first += second;
}

std::string Sentence::subject() const
{
    const FileName* const file = parts_.empty() ? nullptr : std::get_if<FileName>(&parts_.front());
    return file != nullptr ? file->path : std::string();
}

} // namespace zarngi
