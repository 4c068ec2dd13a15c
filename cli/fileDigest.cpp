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

class Sha256
{
public:
    Sha256() : context_(EVP_MD_CTX_new(), EVP_MD_CTX_free)
    {
        if (!context_ || EVP_DigestInit_ex(context_.get(), EVP_sha256(), nullptr) != 1) {
            throw InputError("the SHA-256 digest is not available on this system");
        }
    }

    void add(const void* bytes, std::size_t count)
    {
        EVP_DigestUpdate(context_.get(), bytes, count);
        bytes_ += count;
    }

    FileDigest finish()
    {
        std::array<unsigned char, EVP_MAX_MD_SIZE> hash{};
        unsigned length = 0;
        EVP_DigestFinal_ex(context_.get(), hash.data(), &length);
        return {bytes_, hexadecimal(hash.data(), length)};
    }

private:
    std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)> context_;
    std::uintmax_t bytes_ = 0;
};

} // namespace

FileDigest digestOf(std::span<const unsigned char> contents)
{
    Sha256 sha256;
    sha256.add(contents.data(), contents.size());
    return sha256.finish();
}

FileDigest digestOf(const std::string& path)
{
    constexpr std::size_t blockSize = 1 << 16;
    Sha256 sha256;
    std::ifstream file(path, std::ios::binary);
    std::vector<char> block(blockSize);
    while (file.read(block.data(), static_cast<std::streamsize>(blockSize)), file.gcount() > 0) {
        sha256.add(block.data(), static_cast<std::size_t>(file.gcount()));
    }
    if (!file.eof()) {
        throw InputError(path + ": cannot be read again for its digest");
    }
    return sha256.finish();
}

} // namespace cli
