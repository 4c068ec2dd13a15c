#include "comparison/failure.h"

#include <utility>

namespace zarngi
{

Refusal::Refusal(Sentence sentence)
    : std::runtime_error(sentence.text()), sentence_(std::move(sentence))
{
}

Refusal::~Refusal() = default;
InputError::~InputError() = default;
MemoryError::~MemoryError() = default;
FileFailure::~FileFailure() = default;
UsageError::~UsageError() = default;

InputError::InputError(Sentence sentence, FailureKind kind)
    : Refusal(std::move(sentence)), kind_(kind)
{
}

InputError::InputError(MemberPlace member, Sentence sentence)
    : Refusal(std::move(sentence)), kind_(FailureKind::pair), member_(member.name())
{
}

MemoryError::MemoryError(Sentence sentence) : InputError(std::move(sentence), FailureKind::memory)
{
}

FileFailure::FileFailure(std::string path, files::FileError error)
    : InputError(Sentence(FileName{path}) + ": " + error.sentence, kindOf(error)),
      path_(std::move(path)), error_(std::move(error))
{
}

UsageError::UsageError(Sentence sentence) : Refusal(std::move(sentence))
{
}

UsageError::UsageError(MemberPlace place, Sentence sentence)
    : UsageError(place.name(), std::move(sentence))
{
}

UsageError::UsageError(std::string member, Sentence sentence)
    : Refusal(std::move(sentence)), member_(std::move(member))
{
}

UsageError UsageError::of(MemberPlace place, Sentence reason)
{
    UsageError error(place, Sentence(place.member) + ": " + reason);
    error.reason_ = std::move(reason);
    return error;
}

UsageError refusalOf(MemberPlace place, const Sentence& reason)
{
    return UsageError::of(place, reason);
}

FailureKind kindOf(const files::FileError& error)
{
    switch (error.kind) {
    case files::FileError::Kind::foreign:
        return FailureKind::foreign;
    case files::FileError::Kind::system:
        return FailureKind::system;
    case files::FileError::Kind::outOfMemory:
        return FailureKind::memory;
    case files::FileError::Kind::notSupported:
        return FailureKind::notSupported;
    case files::FileError::Kind::damaged:
        break;
    }
    return FailureKind::damaged;
}

InputError failureOf(const std::string& path, const Sentence& reason, FailureKind kind)
{
    return InputError(Sentence(FileName{path}) + ": " + reason, kind);
}

FileFailure failureOf(const std::string& path, const files::FileError& error)
{
    return {path, error};
}

} // namespace zarngi
