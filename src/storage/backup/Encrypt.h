// How a backup's pieces are sealed: by CAESEncrypt, under a key made from the password's
// digest by Argon2id, which comes from libgcrypt.
//
//   Errors     false. Nothing here throws but std::bad_alloc, logs or prints.
//   Ownership  A cipher owns its key and wipes it.
//   Threads    One thread at a time per cipher.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

#include "storage/backup/AESEncrypt.h"
#include "storage/backup/BackupContainer.h"

namespace quillon {

// What making the key costs whoever tries passwords. Not stored in the container, so
// a changed one cannot lower it; another cost would be another container version.
// Tests pass a smaller one, the program never does.
struct BackupKeyCost {
    uint32_t memoryKiB = 65'536;
    uint32_t passes = 3;
};

// Where in the container a piece belongs. It is authenticated with the piece, so one
// that was moved, doubled or taken from elsewhere does not open.
struct BackupPlace {
    enum class Kind : uint32_t { Directory = 0, Chunk = 1 };
    Kind kind = Kind::Directory;
    uint32_t file = 0;  // from 0, in the order of the directory; 0 for the directory
    uint32_t chunk = 0;
    uint32_t lengthAndFlags = 0;  // the chunk header's field; 0 for the directory
};

class CEncrypt {
public:
    // Makes the key for the container with that header. `passwordHash` is the digest
    // text as the database stores it; with an empty one everybody can open the backup.
    // False: not enough memory, or the library lacks the cipher.
    [[nodiscard]] bool Start(const BackupHeader& header, std::string_view passwordHash,
                             const BackupKeyCost& cost);

    // Encrypts `bytes` where they are, under a new random nonce.
    [[nodiscard]] bool Seal(const BackupPlace& place, std::span<uint8_t> bytes,
                            std::array<uint8_t, kBackupNonceSize>& nonce,
                            std::array<uint8_t, kBackupTagSize>& tag);

    // Decrypts `bytes` where they are. False: they are not what was sealed at that
    // place under this key, and `bytes` are zeroed: nobody sees unchecked text.
    [[nodiscard]] bool Open(const BackupPlace& place, std::span<uint8_t> bytes,
                            std::span<const uint8_t, kBackupNonceSize> nonce,
                            std::span<const uint8_t, kBackupTagSize> tag);

private:
    using Authenticated = std::array<uint8_t, BackupHeader::kDiskSize + 16>;
    Authenticated AuthenticatedAt(const BackupPlace& place) const;

    CAESEncrypt m_cipher;
    std::array<uint8_t, BackupHeader::kDiskSize> m_header{};
};

}  // namespace quillon
