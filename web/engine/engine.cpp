// The calls of the script: a JSON text in, one out; engine.ts makes them.
#include <emscripten.h>

#include <new>
#include <string>

#include "comparison/documents/doseJson.h"
#include "comparison/documents/json.h"
#include "web/engine/failureJson.h"
#include "web/engine/session.h"

namespace
{

using zarngi::Json;

engine::Session& session()
{
    static engine::Session theOne;
    return theOne;
}

Json answered(const char* call)
{
    try {
        return {{"answer", session().answer(Json::parse(call))}};
    } catch (const zarngi::UsageError& error) {
        return engine::failureJson(error);
    } catch (const zarngi::InputError& error) {
        return engine::failureJson(error);
    } catch (const std::bad_alloc&) {
        return engine::failureJson("memory", "not enough memory");
    } catch (const std::exception& error) {
        return engine::failureJson("internal", error.what());
    }
}

} // namespace

extern "C" {

/** The answer lives until the next call. */
EMSCRIPTEN_KEEPALIVE const char* zarngi_call(const char* call)
{
    static std::string text;
    text = zarngi::toText(answered(call), -1);
    return text.c_str();
}

/** The binary part of the last answer. */
EMSCRIPTEN_KEEPALIVE const unsigned char* zarngi_output()
{
    return session().output().data();
}
}
