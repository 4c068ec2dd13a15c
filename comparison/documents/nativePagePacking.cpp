#include "comparison/documents/nativePagePacking.h"

#include <openssl/evp.h>

#include <algorithm>

#include "files/nativeDeflate.h"

namespace zarngi
{

namespace
{

std::string base64(files::ByteView bytes)
{
    constexpr std::size_t blockSize = 3 << 14; // OpenSSL counts in int
    std::string text((bytes.size() + 2) / 3 * 4, '\0');
    for (std::size_t i = 0; i < bytes.size(); i += blockSize) {
        const auto block = bytes.subspan(i, std::min(blockSize, bytes.size() - i));
        EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data() + i / 3 * 4), block.data(),
                        static_cast<int>(block.size()));
    }
    return text;
}

} // namespace

const PagePacking& nativePagePacking()
{
    static const PagePacking packing = {files::nativeDeflate(), base64};
    return packing;
}

} // namespace zarngi
