#pragma once

#include <string>
#include <string_view>

namespace quillon {

// MD5 of the password's bytes as 32 lower-case hexadecimal digits. Empty when the
// digest is not available (a library in a mode that forbids it).
std::string PasswordDigest(std::string_view password);

// Compares in a time that depends on the lengths only.
bool SameDigest(std::string_view left, std::string_view right);

}  // namespace quillon
