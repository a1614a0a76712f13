#include "storage/Passwords.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <cstdint>
#include <stdexcept>

#include "storage/Random.h"

namespace appliance {

namespace {

// 16 MiB and some tens of milliseconds for each guess.
constexpr std::uint64_t Cost = 16384;
constexpr std::uint64_t BlockSize = 8;
constexpr std::uint64_t Parallel = 1;
constexpr std::uint64_t LargestMemory = 64UL * 1024 * 1024;
constexpr std::size_t SaltBytes = 16;
constexpr std::size_t HashBytes = 32;
constexpr std::string_view Prefix = "scrypt$16384$8$1$";

// The salt is used in its text form.
std::string Derive(std::string_view password, std::string_view salt) {
    std::string hash(HashBytes, '\0');
    const int derived = EVP_PBE_scrypt(
        password.data(), password.size(), reinterpret_cast<const unsigned char*>(salt.data()), salt.size(), Cost,
        BlockSize, Parallel, LargestMemory, reinterpret_cast<unsigned char*>(hash.data()), HashBytes);
    if (derived != 1) {
        throw std::runtime_error("a password could not be hashed");
    }
    return ToHex(hash);
}

}  // namespace

std::string HashPassword(std::string_view password) {
    const std::string salt = ToHex(RandomBytes(SaltBytes));
    return std::string(Prefix) + salt + '$' + Derive(password, salt);
}

bool VerifyPassword(std::string_view password, std::string_view hash) {
    if (!IsPasswordHash(hash)) {
        return false;
    }
    const std::string_view salt = hash.substr(Prefix.size(), SaltBytes * 2);
    const std::string_view expected = hash.substr(Prefix.size() + SaltBytes * 2 + 1);
    const std::string derived = Derive(password, salt);
    return CRYPTO_memcmp(derived.data(), expected.data(), derived.size()) == 0;
}

void PretendToVerify(std::string_view password) {
    static_cast<void>(Derive(password, std::string(SaltBytes * 2, '0')));
}

bool IsPasswordHash(std::string_view text) {
    constexpr std::size_t length = Prefix.size() + SaltBytes * 2 + 1 + HashBytes * 2;
    return text.size() == length && text.starts_with(Prefix) && text[Prefix.size() + SaltBytes * 2] == '$';
}

}  // namespace appliance
