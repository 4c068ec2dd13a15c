#include "fileDigest.h"

#include <openssl/evp.h>

#include <array>
#include <fstream>
#include <memory>
#include <vector>

#include "failure.h"

namespace cli
{

namespace
{

std::string hexadecimal(const unsigned char* bytes, unsigned count)
{
    constexpr const char* digits = "0123456789abcdef";
    std::string text;
    for (unsigned i = 0; i < count; ++i) {
        text += digits[bytes[i] >> 4];
        text += digits[bytes[i] & 15];
    }
    return text;
}

} // namespace

FileDigest digestOf(const std::string& path)
{
    constexpr std::size_t blockSize = 1 << 16;
    const std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)> context(EVP_MD_CTX_new(),
                                                                     EVP_MD_CTX_free);
    if (!context || EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) != 1) {
        throw InputError("the SHA-256 digest is not available on this system");
    }
    FileDigest digest;
    std::ifstream file(path, std::ios::binary);
    std::vector<char> block(blockSize);
    while (file.read(block.data(), static_cast<std::streamsize>(blockSize)), file.gcount() > 0) {
        const auto count = static_cast<std::size_t>(file.gcount());
        EVP_DigestUpdate(context.get(), block.data(), count);
        digest.bytes += count;
    }
    if (!file.eof()) {
        throw InputError(path + ": cannot be read again for its digest");
    }
    std::array<unsigned char, EVP_MAX_MD_SIZE> hash{};
    unsigned length = 0;
    EVP_DigestFinal_ex(context.get(), hash.data(), &length);
    digest.sha256 = hexadecimal(hash.data(), length);
    return digest;
}

} // namespace cli
