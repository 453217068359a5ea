#include "storage/BackupCipher.h"

#include <gcrypt.h>

#include <algorithm>
#include <string>

#include "foundation/ByteCodec.h"
#include "storage/Crypto.h"

namespace quillon {
namespace {

constexpr size_t kKeySize = 32;
constexpr size_t kSaltSize = 8;
using Key = std::array<uint8_t, kKeySize>;

// In front of the digest: the library derives nothing from an empty text, and a key
// made for another purpose from the same digest will differ.
constexpr std::string_view kKeyPurpose = "Quillon backup:";

bool DeriveKey(std::string_view passwordHash, uint64_t salt, const BackupKeyCost& cost, Key& key) {
    std::string secret(kKeyPurpose);
    secret += passwordHash;
    std::array<uint8_t, kSaltSize> saltBytes{};
    StoreLE<uint64_t>(saltBytes, 0, salt);
    constexpr unsigned long kLanes = 1;
    const std::array<unsigned long, 4> parameters{kKeySize, cost.passes, cost.memoryKiB, kLanes};

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

// The library keeps the expanded key in the handle and wipes it on closing.
struct CBackupCipher::State {
    ~State() {
        if (handle) gcry_cipher_close(handle);
    }
    gcry_cipher_hd_t handle = nullptr;
    std::array<uint8_t, BackupHeader::kDiskSize> header{};
};

CBackupCipher::CBackupCipher() = default;
CBackupCipher::~CBackupCipher() = default;

bool CBackupCipher::Start(const BackupHeader& header, std::string_view passwordHash,
                          const BackupKeyCost& cost) {
    m_state.reset();
    if (!InitialiseCrypto()) return false;
    auto state = std::make_unique<State>();
    state->header = header.Encode();
    Key key{};
    const bool ready =
        DeriveKey(passwordHash, header.identifier, cost, key) &&
        gcry_cipher_open(&state->handle, GCRY_CIPHER_AES256, GCRY_CIPHER_MODE_GCM, 0) == 0 &&
        gcry_cipher_setkey(state->handle, key.data(), key.size()) == 0;
    WipeBytes(key);
    if (ready) m_state = std::move(state);
    return ready;
}

bool CBackupCipher::Prepare(const BackupPlace& place, std::span<const uint8_t> nonce) {
    if (!m_state) return false;
    std::array<uint8_t, BackupHeader::kDiskSize + 16> authenticated{};
    std::copy(m_state->header.begin(), m_state->header.end(), authenticated.begin());
    const auto placeBytes = std::span(authenticated).subspan(BackupHeader::kDiskSize);
    StoreLE<uint32_t>(placeBytes, 0, static_cast<uint32_t>(place.kind));
    StoreLE<uint32_t>(placeBytes, 4, place.file);
    StoreLE<uint32_t>(placeBytes, 8, place.chunk);
    StoreLE<uint32_t>(placeBytes, 12, place.lengthAndFlags);
    return gcry_cipher_reset(m_state->handle) == 0 &&
           gcry_cipher_setiv(m_state->handle, nonce.data(), nonce.size()) == 0 &&
           gcry_cipher_authenticate(m_state->handle, authenticated.data(), authenticated.size()) ==
               0;
}

bool CBackupCipher::Seal(const BackupPlace& place, std::span<uint8_t> bytes,
                         std::array<uint8_t, kBackupNonceSize>& nonce,
                         std::array<uint8_t, kBackupTagSize>& tag) {
    return RandomBytes(nonce) && Prepare(place, nonce) &&
           gcry_cipher_encrypt(m_state->handle, bytes.data(), bytes.size(), nullptr, 0) == 0 &&
           gcry_cipher_gettag(m_state->handle, tag.data(), tag.size()) == 0;
}

bool CBackupCipher::Open(const BackupPlace& place, std::span<uint8_t> bytes,
                         std::span<const uint8_t, kBackupNonceSize> nonce,
                         std::span<const uint8_t, kBackupTagSize> tag) {
    const bool genuine =
        Prepare(place, nonce) &&
        gcry_cipher_decrypt(m_state->handle, bytes.data(), bytes.size(), nullptr, 0) == 0 &&
        gcry_cipher_checktag(m_state->handle, tag.data(), tag.size()) == 0;
    if (!genuine) WipeBytes(bytes);
    return genuine;
}

}  // namespace quillon
