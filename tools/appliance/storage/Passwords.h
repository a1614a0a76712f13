// Passwords as they are kept: salted scrypt hashes, as a text that names its own parameters.
#pragma once

#include <string>
#include <string_view>

namespace appliance {

// "scrypt$<N>$<r>$<p>$<salt>$<hash>", the last two in hexadecimal digits.
std::string HashPassword(std::string_view password);

// Takes the same time whether the password is right or wrong. False for a text that is no such hash.
bool VerifyPassword(std::string_view password, std::string_view hash);

// Takes as long as verifying a password does; for users that do not exist.
void PretendToVerify(std::string_view password);

bool IsPasswordHash(std::string_view text);

}  // namespace appliance
