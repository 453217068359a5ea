#include "storage/backup/Encrypt.h"

#include <gcrypt.h>

#include <algorithm>
#include <string>

#include "foundation/ByteCodec.h"
#include "storage/backup/Crypto.h"

namespace quillon {
namespace {

static_assert(kBackupNonceSize == CAESEncrypt::kNonceSize);
static_assert(kBackupTagSize == CAESEncrypt::kTagSize);

constexpr size_t kSaltSize = 8;
using Key = std::array<uint8_t, CAESEncrypt::kKeySize>;

// In front of the digest: the library derives nothing from an empty text, and a key
// made for another purpose from the same digest will differ.
constexpr std::string_view kKeyPurpose = "Quillon backup:";

bool DeriveKey(std::string_view passwordHash, uint64_t salt, const BackupKeyCost& cost, Key& key) {
    std::string secret(kKeyPurpose);
    secret += passwordHash;
    std::array<uint8_t, kSaltSize> saltBytes{};
    StoreLE<uint64_t>(saltBytes, 0, salt);
    constexpr unsigned long kLanes = 1;
    const std::array<unsigned long, 4> parameters{CAESEncrypt::kKeySize, cost.passes,
                                                  cost.memoryKiB, kLanes};

    gcry_kdf_hd_t derivation = nullptr;
    gcry_error_t error =
        gcry_kdf_open(&derivation, GCRY_KDF_ARGON2, GCRY_KDF_ARGON2ID, parameters.data(),
                      static_cast<unsigned int>(parameters.size()), secret.data(), secret.size(),
                      saltBytes.data(), saltBytes.size(), nullptr, 0, nullptr, 0);
    if (error == 0) {
        error = gcry_kdf_compute(derivation, nullptr);
        if (error == 0) error = gcry_kdf_final(derivation, key.size(), key.data());
        gcry_kdf_close(derivation);
    }
    WipeBytes({reinterpret_cast<uint8_t*>(secret.data()), secret.size()});
    return error == 0;
}

}  // namespace

bool CEncrypt::Start(const BackupHeader& header, std::string_view passwordHash,
                     const BackupKeyCost& cost) {
    m_cipher = {};
    if (!InitialiseCrypto()) return false;
    m_header = header.Encode();
    Key key{};
    const bool ready =
        DeriveKey(passwordHash, header.identifier, cost, key) && m_cipher.SetKey(key);
    WipeBytes(key);
    return ready;
}

CEncrypt::Authenticated CEncrypt::AuthenticatedAt(const BackupPlace& place) const {
    Authenticated bytes{};
    std::copy(m_header.begin(), m_header.end(), bytes.begin());
    const auto placeBytes = std::span(bytes).subspan(BackupHeader::kDiskSize);
    StoreLE<uint32_t>(placeBytes, 0, static_cast<uint32_t>(place.kind));
    StoreLE<uint32_t>(placeBytes, 4, place.file);
    StoreLE<uint32_t>(placeBytes, 8, place.chunk);
    StoreLE<uint32_t>(placeBytes, 12, place.lengthAndFlags);
    return bytes;
}

bool CEncrypt::Seal(const BackupPlace& place, std::span<uint8_t> bytes,
                    std::array<uint8_t, kBackupNonceSize>& nonce,
                    std::array<uint8_t, kBackupTagSize>& tag) {
    return RandomBytes(nonce) && m_cipher.Encrypt(nonce, AuthenticatedAt(place), bytes, tag);
}

bool CEncrypt::Open(const BackupPlace& place, std::span<uint8_t> bytes,
                    std::span<const uint8_t, kBackupNonceSize> nonce,
                    std::span<const uint8_t, kBackupTagSize> tag) {
    return m_cipher.Decrypt(nonce, AuthenticatedAt(place), bytes, tag);
}

}  // namespace quillon
