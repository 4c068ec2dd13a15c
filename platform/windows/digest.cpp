#include "platform/digest.h"

#include <windows.h>

#include <bcrypt.h>
#include <wincrypt.h>

#include <algorithm>
#include <stdexcept>

namespace platform
{

namespace
{

void check(bool isFine)
{
    if (!isFine) {
        throw std::runtime_error("the system does not compute SHA-256");
    }
}

class Algorithm
{
public:
    Algorithm()
    {
        check(BCryptOpenAlgorithmProvider(&handle_, BCRYPT_SHA256_ALGORITHM, nullptr, 0) >= 0);
    }
    ~Algorithm() { BCryptCloseAlgorithmProvider(handle_, 0); }
    Algorithm(const Algorithm&) = delete;
    Algorithm& operator=(const Algorithm&) = delete;

    BCRYPT_ALG_HANDLE get() const { return handle_; }

private:
    BCRYPT_ALG_HANDLE handle_ = nullptr;
};

class Hash
{
public:
    explicit Hash(const Algorithm& algorithm)
    {
        check(BCryptCreateHash(algorithm.get(), &handle_, nullptr, 0, nullptr, 0, 0) >= 0);
    }
    ~Hash() { BCryptDestroyHash(handle_); }
    Hash(const Hash&) = delete;
    Hash& operator=(const Hash&) = delete;

    void add(std::span<const unsigned char> bytes) const
    {
        check(BCryptHashData(handle_, const_cast<unsigned char*>(bytes.data()),
                             static_cast<ULONG>(bytes.size()), 0) >= 0);
    }
    Sha256 digest() const
    {
        Sha256 digest{};
        check(BCryptFinishHash(handle_, digest.data(), static_cast<ULONG>(digest.size()), 0) >= 0);
        return digest;
    }

private:
    BCRYPT_HASH_HANDLE handle_ = nullptr;
};

} // namespace

Sha256 sha256Of(std::span<const unsigned char> bytes)
{
    constexpr std::size_t most = std::size_t{1} << 30U; // the system counts in 32 bits
    const Algorithm algorithm;
    const Hash hash(algorithm);
    for (std::size_t i = 0; i < bytes.size(); i += most) {
        hash.add(bytes.subspan(i, std::min(most, bytes.size() - i)));
    }
    return hash.digest();
}

std::string base64Of(std::span<const unsigned char> bytes)
{
    constexpr std::size_t blockSize = 3 << 14;
    std::string text((bytes.size() + 2) / 3 * 4, '\0');
    for (std::size_t i = 0; i < bytes.size(); i += blockSize) {
        const auto block = bytes.subspan(i, std::min(blockSize, bytes.size() - i));
        // With the zero at its end, which the next block, or the end of the text, takes.
        DWORD length = static_cast<DWORD>((block.size() + 2) / 3 * 4 + 1);
        CryptBinaryToStringA(block.data(), static_cast<DWORD>(block.size()),
                             CRYPT_STRING_BASE64 | CRYPT_STRING_NOCRLF, text.data() + i / 3 * 4,
                             &length);
    }
    return text;
}

} // namespace platform
