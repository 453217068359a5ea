// The doors to libgcrypt that several parts need: start-up, random bytes and the
// MD5 text of passwords. The backup container's cipher is in Encrypt.h.
//
//   Errors     false or an empty text. Nothing here logs or prints, or throws anything but
//              std::bad_alloc, and that only Md5Hex.
//   Threads    All calls may run in parallel.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace quillon {

// Sets the library up once in a process; later calls only tell how the first went.
// The functions below and the backup cipher call it themselves. False: the library
// found is older than the one this program was built for.
[[nodiscard]] bool InitialiseCrypto();

// Fills `bytes` from the library's strong generator, fit for nonces, salts and keys.
// False only where InitialiseCrypto is.
bool RandomBytes(std::span<uint8_t> bytes);

// 32 lower-case hexadecimal digits of the MD5 digest of `text`; empty on failure.
std::string Md5Hex(std::string_view text);

// Overwrites `bytes` with zeros in a way that the compiler does not leave out.
void WipeBytes(std::span<uint8_t> bytes);

}  // namespace quillon
