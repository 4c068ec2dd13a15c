#include "comparison/documents/nativePagePacking.h"

#include "files/nativeDeflate.h"
#include "platform/digest.h"

namespace zarngi
{

const PagePacking& nativePagePacking()
{
    static const PagePacking packing = {files::nativeDeflate(), platform::base64Of};
    return packing;
}

} // namespace zarngi
