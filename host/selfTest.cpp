#include "comparison/selfTest/selfTest.h"

#include <string>

#include "comparison/documents/doseJson.h"
#include "comparison/documents/selfTestJson.h"
#include "comparison/documents/selfTestPage.h"
#include "comparison/parallel.h"
#include "files/nativeDeflate.h"
#include "host/calls.h"
#include "host/turn.h"
#include "platform/machine.h"

namespace
{

zarngi::SelfTest tested(zarnGIHost_SelfTestWatch watch, void* context)
{
    const host::Turn turn;
    return zarngi::selfTest({files::nativeDeflate(), zarngi::processorCount()}, [&](double done) {
        return watch == nullptr || watch(done, context) == ZARNGI_HOST_OK;
    });
}

int hand(const std::string& text, zarnGIHost_Bytes* out)
{
    return host::hand({reinterpret_cast<const unsigned char*>(text.data()), text.size()}, out);
}

} // namespace

int zarnGIHost_selfTest(zarnGIHost_SelfTestWatch watch, void* context, int* isPassed,
                        zarnGIHost_Bytes* record, zarnGIHost_Bytes* page, zarnGIHost_Error* error)
{
    if (isPassed == nullptr) {
        return host::refuseArgument("a required pointer is null", error);
    }
    if (host::Turn::isMine()) {
        return host::refuseArgument("it was called from inside a comparison", error);
    }
    return host::guarded(error, [&] {
        const zarngi::SelfTest test = tested(watch, context);
        if (!test.isWhole) {
            return host::report({files::FileError::Kind::notSupported, "was ended by its watcher"},
                                error);
        }
        const void* const inside = reinterpret_cast<const void*>(&zarnGIHost_selfTest);
        const auto json =
            zarngi::selfTestJson(test, zarngi::thisInstallation({platform::fileOfCode(inside)}));
        if (record != nullptr) {
            hand(zarngi::toText(json, 2) + "\n", record);
        }
        if (page != nullptr) {
            hand(zarngi::selfTestPage(json), page);
        }
        *isPassed = test.isPassed() ? 1 : 0;
        return static_cast<int>(ZARNGI_HOST_OK);
    });
}
