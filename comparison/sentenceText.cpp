#include "comparison/sentence.h"

namespace zarngi
{

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

} // namespace zarngi
