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

std::string Sentence::subject() const
{
    const FileName* const file = parts_.empty() ? nullptr : std::get_if<FileName>(&parts_.front());
    return file != nullptr ? file->path : std::string();
}

} // namespace zarngi
