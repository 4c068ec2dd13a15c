#include "platform/digest.h"

// Its functions of this level need a few objects of the archive, those above it need most of them.
#define OPENSSL_API_COMPAT 0x10100000L
#include <openssl/evp.h>
#include <openssl/sha.h>

#include <algorithm>

namespace platform
{

Sha256 sha256Of(std::span<const unsigned char> bytes)
{
    Sha256 digest{};
    static_assert(digest.size() == SHA256_DIGEST_LENGTH);
    SHA256_CTX state;
    SHA256_Init(&state);
    SHA256_Update(&state, bytes.data(), bytes.size());
    SHA256_Final(digest.data(), &state);
    return digest;
}

std::string base64Of(std::span<const unsigned char> bytes)
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

} // namespace platform
