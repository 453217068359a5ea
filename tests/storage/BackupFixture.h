#pragma once

#include <array>
#include <map>
#include <string>
#include <vector>

#include "storage/backup/BackupContainer.h"
#include "storage/backup/BackupOptions.h"
#include "storage/backup/BackupRestore.h"
#include "storage/backup/BackupWriter.h"
#include "storage/backup/Encrypt.h"
#include "support/Bytes.h"
#include "support/MemoryFileSystem.h"

// What the tests of backups share.

namespace quillon {

constexpr const char* kHash = "5f4dcc3b5aa765d61d8327deb882cf99";
using FileMap = std::map<std::string, Bytes>;

// The same containers under a key that costs next to nothing.
inline BackupOptions QuickOptions() {
    BackupOptions options;
    options.keyCost = {.memoryKiB = 8, .passes = 1};
    return options;
}

// Bytes that do not compress.
inline Bytes Noise(size_t count, uint32_t seed = 1) {
    Bytes bytes(count);
    for (uint8_t& byte : bytes) {
        seed = seed * 1'664'525 + 1'013'904'223;
        byte = static_cast<uint8_t>(seed >> 24);
    }
    return bytes;
}

inline FileMap SmallDatabase() {
    return {{"DatabaseSchema.dat", Bytes(306, 'S')},
            {"Table_1.dat", Text("columns")},
            {"Table_1_data.dat", Noise(40)},
            {"Table_1_dict.dat", {}}};
}

inline void PutFiles(CFileSystem& files, const std::string& folder, const FileMap& contents) {
    (void)files.MakeFolder(folder);
    for (const auto& [name, bytes] : contents) {
        (void)WriteWholeFile(files, WithTrailingSeparator(folder) + name, bytes);
    }
}

// The files in the folder but for the lock, which stays wherever it was made.
inline FileMap FilesIn(CFileSystem& files, const std::string& folder) {
    FileMap contents;
    std::vector<std::string> names;
    if (!files.List(folder, names)) return contents;
    for (const std::string& name : names) {
        if (name == kDatabaseLockName) continue;
        (void)ReadWholeFile(files, WithTrailingSeparator(folder) + name, contents[name]);
    }
    return contents;
}

inline BackupCode BackUp(CFileSystem& files, const std::string& folder, const std::string& path,
                         const std::string& hash = kHash) {
    std::vector<std::string> names;
    for (const auto& [name, bytes] : FilesIn(files, folder)) names.push_back(name);
    BackupReport report;
    return WriteBackupOfFiles(files, folder, names, path, hash, report, QuickOptions());
}

inline RestoreCode Restore(CFileSystem& files, const std::string& path, const std::string& folder,
                           bool overwrite = false, const std::string& hash = kHash) {
    RestoreReport report;
    return RestoreBackup(files, path, folder, hash, overwrite, report, QuickOptions());
}

// The container of these files, made on a disk of its own.
inline Bytes ContainerOf(const FileMap& contents, const std::string& hash = kHash) {
    CMemoryFileSystem disk;
    PutFiles(disk, "source", contents);
    if (BackUp(disk, "source", "backup.dat", hash) != BackupCode::Done) return {};
    return disk.Bytes("backup.dat");
}

// A stretch of a container: one chunk with its header.
struct ChunkPlace {
    size_t offset = 0;
    size_t size = 0;
    bool compressed = false;
};

// Every chunk, in order. `container` must be sound up to its directory's end.
inline std::vector<ChunkPlace> ChunksOf(const Bytes& container) {
    std::vector<ChunkPlace> chunks;
    size_t at = 74 + static_cast<size_t>(container.at(62) + 256 * container.at(63));
    while (at + 32 <= container.size()) {
        const size_t length = container[at + 28] + 256U * container[at + 29] +
                              65'536U * container[at + 30] +
                              16'777'216U * (container[at + 31] & 15);
        chunks.push_back({at, 32 + length, (container[at + 31] & 0x80) != 0});
        at += 32 + length;
    }
    return chunks;
}

// A container with this directory, sealed by somebody who knows the password, and
// `data` after it. `directory`: whole entries.
inline Bytes ForgedContainer(Bytes directory, const Bytes& data) {
    BackupHeader header;
    header.identifier = 0x0807'0605'0403'0201;
    header.fileCount = static_cast<int32_t>(directory.size() / BackupEntry::kDiskSize);
    header.directorySize = BackupHeader::DirectorySizeFor(header.fileCount);
    CEncrypt cipher;
    std::array<uint8_t, kBackupNonceSize> nonce{};
    std::array<uint8_t, kBackupTagSize> tag{};
    if (!cipher.Start(header, kHash, QuickOptions().keyCost) ||
        !cipher.Seal({}, directory, nonce, tag)) {
        return {};
    }
    const auto headerBytes = header.Encode();
    return Join(Bytes(headerBytes.begin(), headerBytes.end()), Bytes(nonce.begin(), nonce.end()),
                Bytes(tag.begin(), tag.end()), directory, data);
}

}  // namespace quillon
