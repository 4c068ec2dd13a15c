#include "host/refusals.h"

#include <algorithm>
#include <cstddef>
#include <string>

#include "comparison/documents/json.h"

namespace host
{

namespace
{

using zarngi::FailureKind;
using zarngi::Json;

template <std::size_t size> void copyText(std::string_view text, char (&place)[size])
{
    const std::size_t length = std::min(text.size(), size - 1);
    std::copy_n(text.data(), length, place);
    place[length] = '\0';
}

int statusOf(int kind)
{
    switch (kind) {
    case ZARNGI_HOST_REFUSAL_SYSTEM:
        return ZARNGI_HOST_SYSTEM;
    case ZARNGI_HOST_REFUSAL_MEMORY:
        return ZARNGI_HOST_NO_MEMORY;
    case ZARNGI_HOST_REFUSAL_ARGUMENT:
        return ZARNGI_HOST_BAD_ARGUMENT;
    default:
        return ZARNGI_HOST_REFUSED;
    }
}

int kindOf(const zarngi::InputError& error)
{
    switch (error.kind()) {
    case FailureKind::foreign:
        return ZARNGI_HOST_REFUSAL_FOREIGN;
    case FailureKind::damaged:
        return ZARNGI_HOST_REFUSAL_FILE;
    case FailureKind::notSupported:
        return ZARNGI_HOST_REFUSAL_UNSUPPORTED;
    case FailureKind::system:
        return ZARNGI_HOST_REFUSAL_SYSTEM;
    case FailureKind::memory:
        return ZARNGI_HOST_REFUSAL_MEMORY;
    case FailureKind::interrupted:
        return ZARNGI_HOST_REFUSAL_INTERRUPTED;
    case FailureKind::pair:
        break;
    }
    return ZARNGI_HOST_REFUSAL_PAIR;
}

/** An object of texts; empty for what is none. */
Json tableOf(const char* words)
{
    try {
        return words != nullptr ? Json::parse(words) : Json::object();
    } catch (const Json::exception&) {
        return Json::object();
    }
}

std::string wordIn(const Json& table, const std::string& name)
{
    const Json* const word = table.find(name);
    return word != nullptr && word->is_string() ? word->get<std::string>() : name;
}

} // namespace

std::string wordOf(const char* words, const char* name)
{
    return wordIn(tableOf(words), name);
}

zarngi::Wording wordingOf(const char* words)
{
    const Json table = tableOf(words);
    return {[table](zarngi::Member member) { return wordIn(table, zarngi::memberName(member)); },
            zarngi::plainWording().file};
}

int refuse(zarnGIHost_Refusal* refusal, int kind, std::string_view sentence,
           std::string_view member)
{
    if (refusal != nullptr) {
        refusal->kind = kind;
        copyText(sentence, refusal->sentence);
        copyText(member, refusal->member);
    }
    return statusOf(kind);
}

int refuseFile(zarnGIHost_Refusal* refusal, const zarngi::FileFailure& failure)
{
    if (refusal != nullptr) {
        refusal->systemError = failure.error().systemError;
        copyText(failure.path(), refusal->file);
    }
    return refuse(refusal, kindOf(failure), failure.error().sentence);
}

int refusePair(zarnGIHost_Refusal* refusal, const zarngi::InputError& error,
               const zarngi::Wording& wording)
{
    std::string sentence = error.sentence().text(wording);
    const std::string file = error.sentence().subject();
    const std::string start = file + ": ";
    if (!file.empty() && sentence.starts_with(start)) {
        sentence.erase(0, start.size());
        if (refusal != nullptr) {
            copyText(file, refusal->file);
        }
    }
    return refuse(refusal, kindOf(error), sentence, error.member());
}

} // namespace host
