#include "storage/backup/AESEncrypt.h"

#include <gcrypt.h>

#include "storage/backup/Crypto.h"

namespace quillon {

void CAESEncrypt::CCloser::operator()(gcry_cipher_handle* handle) const {
    gcry_cipher_close(handle);
}

bool CAESEncrypt::SetKey(std::span<const uint8_t, kKeySize> key) {
    m_handle.reset();
    if (!InitialiseCrypto()) return false;
    gcry_cipher_hd_t handle = nullptr;
    if (gcry_cipher_open(&handle, GCRY_CIPHER_AES256, GCRY_CIPHER_MODE_GCM, 0) != 0) return false;
    m_handle.reset(handle);
    if (gcry_cipher_setkey(handle, key.data(), key.size()) == 0) return true;
    m_handle.reset();
    return false;
}

bool CAESEncrypt::Prepare(std::span<const uint8_t> nonce, std::span<const uint8_t> authenticated) {
    return m_handle && gcry_cipher_reset(m_handle.get()) == 0 &&
           gcry_cipher_setiv(m_handle.get(), nonce.data(), nonce.size()) == 0 &&
           gcry_cipher_authenticate(m_handle.get(), authenticated.data(), authenticated.size()) ==
               0;
}

bool CAESEncrypt::Encrypt(std::span<const uint8_t, kNonceSize> nonce,
                          std::span<const uint8_t> authenticated, std::span<uint8_t> bytes,
                          std::array<uint8_t, kTagSize>& tag) {
    return Prepare(nonce, authenticated) &&
           gcry_cipher_encrypt(m_handle.get(), bytes.data(), bytes.size(), nullptr, 0) == 0 &&
           gcry_cipher_gettag(m_handle.get(), tag.data(), tag.size()) == 0;
}

bool CAESEncrypt::Decrypt(std::span<const uint8_t, kNonceSize> nonce,
                          std::span<const uint8_t> authenticated, std::span<uint8_t> bytes,
                          std::span<const uint8_t, kTagSize> tag) {
    const bool genuine =
        Prepare(nonce, authenticated) &&
        gcry_cipher_decrypt(m_handle.get(), bytes.data(), bytes.size(), nullptr, 0) == 0 &&
        gcry_cipher_checktag(m_handle.get(), tag.data(), tag.size()) == 0;
    if (!genuine) WipeBytes(bytes);
    return genuine;
}

}  // namespace quillon
