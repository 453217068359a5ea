#include "storage/backup/BackupWriter.h"

#include <algorithm>
#include <limits>
#include <new>
#include <set>
#include <span>

#include "foundation/ByteCodec.h"
#include "storage/backup/BackupContainer.h"
#include "storage/backup/Crypto.h"
#include "storage/backup/Encrypt.h"
#include "storage/compression/Compression.h"

namespace quillon {
namespace {

class CBackupWriter {
public:
    CBackupWriter(CFileSystem& files, std::string folder, std::string path, BackupReport& report,
                  const BackupOptions& options)
        : m_files(files),
          m_folder(WithTrailingSeparator(std::move(folder))),
          m_path(std::move(path)),
          m_report(report),
          m_options(options) {}
    ~CBackupWriter() {
        m_container.reset();
        if (m_temporaryMade) (void)m_files.Remove(m_temporary);
    }
    CBackupWriter(const CBackupWriter&) = delete;
    CBackupWriter& operator=(const CBackupWriter&) = delete;

    BackupCode Write(const std::vector<std::string>& names, const std::string& passwordHash);

private:
    bool NamesAreFit(const std::vector<std::string>& names);
    BackupCode Start(size_t fileCount, const std::string& passwordHash);
    BackupCode WriteFile(const std::string& name);
    BackupCode WriteChunk(const BackupPlace& place);
    BackupCode WriteDirectoryAndHeader();
    BackupCode Publish();

    // True when `m_packed` holds the smaller form of `m_plain`.
    bool Compress();
    BackupCode Append(std::span<const uint8_t> bytes);
    BackupCode Fail(BackupCode code, BackupDetail detail) {
        m_report.detail = std::move(detail);
        return code;
    }

    CFileSystem& m_files;
    const std::string m_folder;
    const std::string m_path;
    std::string m_temporary;  // beside m_path
    BackupReport& m_report;
    const BackupOptions& m_options;

    std::unique_ptr<CFile> m_container;
    bool m_temporaryMade = false;
    int64_t m_end = 0;  // bytes of the container so far
    int64_t m_total = 0;
    BackupHeader m_header;
    CEncrypt m_cipher;
    std::vector<BackupEntry> m_entries;
    std::vector<uint8_t> m_plain;
    std::vector<uint8_t> m_packed;
};

BackupCode CBackupWriter::Write(const std::vector<std::string>& names,
                                const std::string& passwordHash) {
    if (m_path.empty()) return BackupCode::NoPath;
    if (names.empty()) return BackupCode::NoFiles;
    if (BelongsToDatabaseFolder(FileNameOf(m_path))) {
        return Fail(BackupCode::WriteFailed, {BackupReason::ContainerName});
    }
    if (!NamesAreFit(names)) return BackupCode::Other;
    BackupCode code = Start(names.size(), passwordHash);
    for (size_t i = 0; i < names.size() && code == BackupCode::Done; ++i) {
        code = WriteFile(names[i]);
    }
    if (code == BackupCode::Done) code = WriteDirectoryAndHeader();
    if (code == BackupCode::Done) code = Publish();
    if (code != BackupCode::Done) return code;
    m_report.files = static_cast<int64_t>(names.size());
    m_report.bytes = m_end;
    m_report.isProtected = !passwordHash.empty();
    return code;
}

bool CBackupWriter::NamesAreFit(const std::vector<std::string>& names) {
    std::set<std::string> seen;
    for (const std::string& name : names) {
        if (!IsDatabaseFileName(name) || !seen.insert(name).second) {
            m_report.detail = {BackupReason::ForeignFile, name};
            return false;
        }
        // A file that vanished is noticed when its turn comes.
        const auto file = m_files.Open(m_folder + name, OpenMode::Read);
        if (file) m_total += std::max<int64_t>(file->Size(), 0);
    }
    return true;
}

BackupCode CBackupWriter::Start(size_t fileCount, const std::string& passwordHash) {
    if (fileCount > static_cast<size_t>(std::numeric_limits<int32_t>::max())) {
        return Fail(BackupCode::Other, {BackupReason::TooManyFiles});
    }
    std::array<uint8_t, sizeof(m_header.identifier)> identifier{};
    if (!RandomBytes(identifier)) return BackupCode::EncryptionFailed;
    m_header.identifier = LoadLE<uint64_t>(identifier, 0);
    m_report.identifier = m_header.identifier;
    m_header.fileCount = static_cast<int32_t>(fileCount);
    m_header.directorySize = BackupHeader::DirectorySizeFor(m_header.fileCount);
    if (!m_cipher.Start(m_header, passwordHash, m_options.keyCost)) {
        return BackupCode::EncryptionFailed;
    }
    m_temporary = FreeNameBeside(m_files, m_path);
    m_container = m_files.Open(m_temporary, OpenMode::Create);
    if (!m_container) return Fail(BackupCode::WriteFailed, {.name = m_temporary});
    m_temporaryMade = true;
    // Header and directory come last: a file that was left behind is no backup.
    m_end = static_cast<int64_t>(BackupHeader::kDiskSize) + m_header.directorySize;
    return BackupCode::Done;
}

BackupCode CBackupWriter::WriteFile(const std::string& name) {
    const std::string source = m_folder + name;
    const auto file = m_files.Open(source, OpenMode::Read);
    const int64_t size = file ? file->Size() : -1;
    if (size < 0) return Fail(BackupCode::Other, {BackupReason::FileUnreadable, source});
    const auto chunkSize = static_cast<int64_t>(m_options.chunkSize);
    const int64_t chunks = (size + chunkSize - 1) / chunkSize;
    if (chunks > std::numeric_limits<int32_t>::max()) {
        return Fail(BackupCode::Other, {BackupReason::FileTooLarge, source});
    }

    BackupEntry entry;
    entry.name = name;
    entry.fileTime = m_files.ModificationTime(source);
    entry.chunkCount = static_cast<int32_t>(chunks);
    const int64_t start = m_end;
    BackupPlace place;
    place.kind = BackupPlace::Kind::Chunk;
    place.file = static_cast<uint32_t>(m_entries.size());
    for (; place.chunk < static_cast<uint32_t>(chunks); ++place.chunk) {
        const int64_t offset = place.chunk * chunkSize;
        m_plain.resize(static_cast<size_t>(std::min(chunkSize, size - offset)));
        if (file->ReadAt(offset, m_plain) != static_cast<int64_t>(m_plain.size())) {
            return Fail(BackupCode::Other, {BackupReason::FileUnreadable, source});
        }
        m_report.sourceBytes += static_cast<int64_t>(m_plain.size());
        const BackupCode code = WriteChunk(place);
        if (code != BackupCode::Done) return code;
        if (m_options.progress) m_options.progress(m_report.sourceBytes, m_total);
    }
    entry.storedSize = m_end - start;
    m_entries.push_back(std::move(entry));
    return BackupCode::Done;
}

BackupCode CBackupWriter::WriteChunk(const BackupPlace& place) {
    BackupChunkHeader header;
    header.compressed = Compress();
    std::vector<uint8_t>& stored = header.compressed ? m_packed : m_plain;
    header.length = static_cast<uint32_t>(stored.size());
    BackupPlace sealed = place;
    sealed.lengthAndFlags = header.LengthAndFlags();
    if (!m_cipher.Seal(sealed, stored, header.nonce, header.tag)) {
        return BackupCode::EncryptionFailed;
    }
    const BackupCode code = Append(header.Encode());
    return code == BackupCode::Done ? Append(stored) : code;
}

bool CBackupWriter::Compress() {
    if (m_plain.size() <= kBackupExpandedSizeField) return false;
    if (!Implode(m_plain, m_packed, m_plain.size() - kBackupExpandedSizeField)) return false;
    std::array<uint8_t, kBackupExpandedSizeField> expandedSize{};
    StoreLE<uint32_t>(expandedSize, 0, static_cast<uint32_t>(m_plain.size()));
    m_packed.insert(m_packed.begin(), expandedSize.begin(), expandedSize.end());
    return true;
}

BackupCode CBackupWriter::WriteDirectoryAndHeader() {
    constexpr size_t kEntriesAt = kBackupNonceSize + kBackupTagSize;
    std::vector<uint8_t> directory(static_cast<size_t>(m_header.directorySize));
    for (size_t i = 0; i < m_entries.size(); ++i) {
        m_entries[i].Encode(std::span(directory).subspan(kEntriesAt + i * BackupEntry::kDiskSize,
                                                         BackupEntry::kDiskSize));
    }
    std::array<uint8_t, kBackupNonceSize> nonce{};
    std::array<uint8_t, kBackupTagSize> tag{};
    if (!m_cipher.Seal({}, std::span(directory).subspan(kEntriesAt), nonce, tag)) {
        return BackupCode::EncryptionFailed;
    }
    std::copy(nonce.begin(), nonce.end(), directory.begin());
    std::copy(tag.begin(), tag.end(), directory.begin() + kBackupNonceSize);
    if (!m_container->WriteAt(static_cast<int64_t>(BackupHeader::kDiskSize), directory) ||
        !m_container->WriteAt(0, m_header.Encode())) {
        return Fail(BackupCode::WriteFailed, {.name = m_temporary});
    }
    return BackupCode::Done;
}

BackupCode CBackupWriter::Publish() {
    if (!m_container->Sync()) return Fail(BackupCode::WriteFailed, {.name = m_temporary});
    m_container.reset();
    if (m_options.prove && !m_options.prove(m_temporary)) {
        return Fail(BackupCode::Other, {BackupReason::NotProved});
    }
    if (!m_files.Rename(m_temporary, m_path))
        return Fail(BackupCode::WriteFailed, {.name = m_path});
    m_temporaryMade = false;
    if (!m_files.SyncFolder(ParentFolder(m_path)))
        return Fail(BackupCode::WriteFailed, {.name = m_path});
    return BackupCode::Done;
}

BackupCode CBackupWriter::Append(std::span<const uint8_t> bytes) {
    if (!m_container->WriteAt(m_end, bytes))
        return Fail(BackupCode::WriteFailed, {.name = m_temporary});
    m_end += static_cast<int64_t>(bytes.size());
    return BackupCode::Done;
}

}  // namespace

BackupCode WriteBackupOfFiles(CFileSystem& files, const std::string& folder,
                              const std::vector<std::string>& names, const std::string& path,
                              const std::string& passwordHash, BackupReport& report,
                              const BackupOptions& options) {
    report = {};
    try {
        return CBackupWriter(files, folder, path, report, options).Write(names, passwordHash);
    } catch (const std::bad_alloc&) {
        report.detail = {BackupReason::OutOfMemory};
        return BackupCode::Other;
    }
}

}  // namespace quillon
