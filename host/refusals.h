/**
 * @file refusals.h
 * Why there is no comparison or conversion, as the C interface tells it.
 */
#ifndef ZARNGI_HOST_REFUSALS_H
#define ZARNGI_HOST_REFUSALS_H

#include <exception>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>

#include "comparison/failure.h"
#include "host/libZarnGIHost.h"

namespace host
{

/** Tells a refusal to the caller, without memory of its own. @return its status */
int refuse(zarnGIHost_Refusal* refusal, int kind, std::string_view sentence,
           std::string_view member = {});

int refuseFile(zarnGIHost_Refusal* refusal, const zarngi::FileFailure& failure);

/** What may be about one of the files, which is told apart from the sentence. */
int refusePair(zarnGIHost_Refusal* refusal, const zarngi::InputError& error,
               const zarngi::Wording& wording);

/**
 * Runs a function of this interface: no exception leaves it.
 * @param wording of what refuses it, which the call may set
 */
template <class Call>
int guarded(zarnGIHost_Refusal* refusal, const zarngi::Wording& wording, const Call& call) noexcept
{
    try {
        return call();
    } catch (const zarngi::UsageError& error) {
        return refuse(refusal, ZARNGI_HOST_REFUSAL_REQUEST, error.sentence().text(wording),
                      error.member());
    } catch (const zarngi::FileFailure& error) {
        return refuseFile(refusal, error);
    } catch (const zarngi::InputError& error) {
        return refusePair(refusal, error, wording);
    } catch (const std::bad_alloc&) {
        return refuse(refusal, ZARNGI_HOST_REFUSAL_MEMORY, "not enough memory");
    } catch (const std::length_error&) { // more than a vector holds
        return refuse(refusal, ZARNGI_HOST_REFUSAL_MEMORY, "not enough memory");
    } catch (const std::exception& error) {
        return refuse(refusal, ZARNGI_HOST_REFUSAL_SYSTEM, error.what());
    }
}

/**
 * What a caller's sentences call something.
 * @param words a JSON object, UTF-8, from names to words; null: things are called by their names
 */
std::string wordOf(const char* words, const char* name);
/** How they call the members of a request. */
zarngi::Wording wordingOf(const char* words);

} // namespace host

#endif
