// Reads a backup container. Nothing of it is believed before its tag is checked.
//
//   Memory     A few chunks, and the directory, which lies inside the file.
//   Errors     RestoreCode. Nothing here throws but std::bad_alloc.
//   Ownership  Borrows the file system, which must outlive the reader.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "foundation/FileSystem.h"
#include "storage/backup/BackupCode.h"
#include "storage/backup/BackupContainer.h"
#include "storage/backup/BackupOptions.h"
#include "storage/backup/Encrypt.h"

namespace quillon {

class CBackupReader {
public:
    // Takes a file's next bytes; anything but Done stops the reading.
    using Sink = std::function<RestoreCode(std::span<const uint8_t>)>;

    explicit CBackupReader(CFileSystem& files) : m_files(files) {}

    // Reads header and directory and checks that the container has the size they say.
    [[nodiscard]] RestoreCode Open(const std::string& path, const std::string& passwordHash,
                                   const BackupOptions& options);

    // In the container's order; names are a database's, each once.
    const std::vector<BackupEntry>& Entries() const { return m_entries; }
    // Bytes stored for all files.
    int64_t StoredSize() const { return m_storedSize; }

    // Hands the contents of the file `index` to `sink`, chunk by chunk, each checked.
    [[nodiscard]] RestoreCode ReadFile(size_t index, const Sink& sink);
    // What was wrong and where; empty when the code says all.
    const BackupDetail& Detail() const { return m_detail; }

private:
    RestoreCode ReadDirectory(const std::string& passwordHash, const BackupKeyCost& cost);
    RestoreCode TakeEntries(std::span<const uint8_t> directory);
    // The chunk at `m_position` into m_plain; `left` are the file's stored bytes from there.
    RestoreCode ReadChunk(const BackupPlace& place, bool isLast, int64_t& left);
    RestoreCode ReadExactly(int64_t offset, std::span<uint8_t> bytes);
    RestoreCode Fail(RestoreCode code, BackupDetail detail);

    CFileSystem& m_files;
    std::unique_ptr<CFile> m_file;
    int64_t m_size = 0;
    size_t m_chunkSize = kBackupChunkSize;
    BackupHeader m_header;
    CEncrypt m_cipher;
    std::vector<BackupEntry> m_entries;
    std::vector<int64_t> m_starts;  // of each file's first chunk
    int64_t m_storedSize = 0;
    int64_t m_position = 0;
    std::vector<uint8_t> m_stored;
    std::vector<uint8_t> m_plain;
    BackupDetail m_detail;
};

}  // namespace quillon
