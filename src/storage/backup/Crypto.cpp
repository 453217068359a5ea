#include "storage/backup/Crypto.h"

#include <gcrypt.h>

#include <array>

namespace quillon {

bool InitialiseCrypto() {
    // A program that already set the library up keeps its settings. Locked memory is
    // switched off: its pool is small, its warnings would be printed, and every key is
    // wiped by its owner.
    static const bool ready = [] {
        if (!gcry_check_version(GCRYPT_VERSION)) return false;
        if (gcry_control(GCRYCTL_INITIALIZATION_FINISHED_P)) return true;
        gcry_control(GCRYCTL_DISABLE_SECMEM, 0);
        gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0);
        return gcry_control(GCRYCTL_INITIALIZATION_FINISHED_P) != 0;
    }();
    return ready;
}

bool RandomBytes(std::span<uint8_t> bytes) {
    if (!InitialiseCrypto()) return false;
    if (!bytes.empty()) gcry_randomize(bytes.data(), bytes.size(), GCRY_STRONG_RANDOM);
    return true;
}

std::string Md5Hex(std::string_view text) {
    constexpr size_t kDigestBytes = 16;
    // The digest is unknown where a policy of the machine forbids it.
    if (!InitialiseCrypto() || gcry_md_test_algo(GCRY_MD_MD5) != 0) return {};
    std::array<uint8_t, kDigestBytes> digest{};
    gcry_md_hash_buffer(GCRY_MD_MD5, digest.data(), text.data(), text.size());
    std::string hex;
    hex.reserve(2 * kDigestBytes);
    for (const uint8_t byte : digest) {
        constexpr std::string_view kDigits = "0123456789abcdef";
        hex += kDigits[byte >> 4];
        hex += kDigits[byte & 0x0F];
    }
    return hex;
}

void WipeBytes(std::span<uint8_t> bytes) {
    volatile uint8_t* byte = bytes.data();
    for (size_t i = 0; i < bytes.size(); ++i) byte[i] = 0;
}

}  // namespace quillon
