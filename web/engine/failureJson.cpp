#include "web/engine/failureJson.h"

#include "comparison/documents/json.h"

namespace engine
{

namespace
{

using zarngi::Json;

/** Texts, members of the request by their names, and files by their paths. */
Json partsOf(const zarngi::Sentence& sentence)
{
    Json parts = Json::array();
    for (const auto& part : sentence.parts()) {
        if (const auto* const text = std::get_if<std::string>(&part)) {
            parts.push_back({{"text", *text}});
        } else if (const auto* const member = std::get_if<zarngi::Member>(&part)) {
            parts.push_back({{"member", memberName(*member)}});
        } else {
            parts.push_back({{"file", std::get<zarngi::FileName>(part).path}});
        }
    }
    return parts;
}

Json failure(const char* kind, const zarngi::Refusal& error)
{
    return {{"error", error.what()},
            {"kind", kind},
            {"parts", partsOf(error.sentence())},
            {"file", error.sentence().subject()}};
}

} // namespace

const char* kindName(zarngi::FailureKind kind)
{
    switch (kind) {
    case zarngi::FailureKind::foreign:
        return "foreign";
    case zarngi::FailureKind::system:
        return "system";
    case zarngi::FailureKind::memory:
        return "memory";
    case zarngi::FailureKind::interrupted:
        return "interrupted";
    case zarngi::FailureKind::damaged:
        return "damaged";
    case zarngi::FailureKind::notSupported:
        return "notSupported";
    case zarngi::FailureKind::pair:
        break;
    }
    return "pair";
}

Json failureJson(const zarngi::UsageError& error)
{
    Json json = failure("request", error);
    json["member"] = error.member();
    return json;
}

Json failureJson(const zarngi::InputError& error)
{
    return failure(kindName(error.kind()), error);
}

Json failureJson(const char* kind, const char* sentence)
{
    return {{"error", sentence}, {"kind", kind}, {"parts", {{{"text", sentence}}}}, {"file", ""}};
}

} // namespace engine
