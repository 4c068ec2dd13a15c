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

std::string Sentence::text(const Wording& wording) const
{
    std::string text;
    for (const auto& part : parts_) {
        if (const auto* const plain = std::get_if<std::string>(&part)) {
            text += *plain;
        } else if (const auto* const member = std::get_if<Member>(&part)) {
            text += wording.member(*member);
        } else {
            text += wording.file(std::get<FileName>(part).path);
        }
    }
    return text;
}

std::string Sentence::subject() const
{
    const FileName* const file = parts_.empty() ? nullptr : std::get_if<FileName>(&parts_.front());
    return file != nullptr ? file->path : std::string();
}

} // namespace zarngi
