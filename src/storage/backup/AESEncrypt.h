// AES with keys of 256 bits in Galois/counter mode, by libgcrypt: whatever was changed does
// not decrypt.
//
//   Errors     false. Nothing here throws, logs or prints.
//   Ownership  The cipher owns its key and wipes it.
//   Threads    One thread at a time per cipher.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

struct gcry_cipher_handle;

namespace quillon {

class CAESEncrypt {
public:
    static constexpr size_t kKeySize = 32;
    static constexpr size_t kNonceSize = 12;
    static constexpr size_t kTagSize = 16;

    // False: the library lacks the cipher. Without a key nothing is encrypted or decrypted.
    [[nodiscard]] bool SetKey(std::span<const uint8_t, kKeySize> key);

    // Encrypts `bytes` where they are. `authenticated` stays readable and has to be the same
    // for decrypting. A nonce must never come twice under one key.
    [[nodiscard]] bool Encrypt(std::span<const uint8_t, kNonceSize> nonce,
                               std::span<const uint8_t> authenticated, std::span<uint8_t> bytes,
                               std::array<uint8_t, kTagSize>& tag);

    // Decrypts `bytes` where they are. False: not what was encrypted so, and `bytes` are
    // zeroed: nobody sees unchecked text.
    [[nodiscard]] bool Decrypt(std::span<const uint8_t, kNonceSize> nonce,
                               std::span<const uint8_t> authenticated, std::span<uint8_t> bytes,
                               std::span<const uint8_t, kTagSize> tag);

private:
    [[nodiscard]] bool Prepare(std::span<const uint8_t> nonce,
                               std::span<const uint8_t> authenticated);

    // The library keeps the expanded key in the handle and wipes it on closing.
    struct CCloser {
        void operator()(gcry_cipher_handle* handle) const;
    };
    std::unique_ptr<gcry_cipher_handle, CCloser> m_handle;  // null without a key
};

}  // namespace quillon
