#include "storage/backup/BackupRestore.h"

#include <array>
#include <new>

#include "storage/backup/BackupContainer.h"
#include "storage/backup/BackupReader.h"

namespace quillon {
namespace {

class CRestore {
public:
    CRestore(CFileSystem& files, RestoreReport& report, const BackupOptions& options)
        : m_files(files), m_report(report), m_options(options), m_reader(files) {}

    // Opens the container and goes through all of it. `passes`: how often that will be.
    RestoreCode Check(const std::string& path, const std::string& passwordHash, int passes) {
        RestoreCode code = m_reader.Open(path, passwordHash, m_options);
        m_total = m_reader.StoredSize() * passes;
        for (size_t i = 0; i < m_reader.Entries().size() && code == RestoreCode::Done; ++i) {
            code = m_reader.ReadFile(i, [this](std::span<const uint8_t> bytes) {
                m_report.bytes += static_cast<int64_t>(bytes.size());
                return RestoreCode::Done;
            });
            Advance(i);
        }
        m_report.files = static_cast<int64_t>(m_reader.Entries().size());
        m_report.detail = m_reader.Detail();
        return code;
    }

    RestoreCode Restore(const std::string& folder, bool overwrite) {
        CFolderReplacement replacement(m_files, folder);
        RestoreCode code = replacement.Begin(overwrite);
        const std::string& into = replacement.IncomingFolder();
        for (size_t i = 0; i < m_reader.Entries().size() && code == RestoreCode::Done; ++i) {
            code = WriteFile(i, into, Purpose::Keep);
            Advance(i);
        }
        if (code == RestoreCode::Done) code = replacement.Commit();
        if (!replacement.Detail().empty()) m_report.detail = {.name = replacement.Detail()};
        return code;
    }

    RestoreCode Extract(const std::string& path, const std::string& folder,
                        const std::string& passwordHash) {
        RestoreCode code = m_reader.Open(path, passwordHash, m_options);
        m_report.detail = m_reader.Detail();
        m_total = m_reader.StoredSize();
        for (size_t i = 0; i < m_reader.Entries().size() && code == RestoreCode::Done; ++i) {
            code = WriteFile(i, WithTrailingSeparator(folder), Purpose::Look);
            Advance(i);
        }
        m_report.files = static_cast<int64_t>(m_reader.Entries().size());
        return code;
    }

private:
    enum class Purpose { Keep, Look };

    RestoreCode WriteFile(size_t index, const std::string& folder, Purpose purpose) {
        const std::string path = folder + m_reader.Entries()[index].name;
        const auto file = m_files.Open(path, OpenMode::Create);
        int64_t end = 0;
        RestoreCode code = file ? RestoreCode::Done : RestoreCode::WriteFailed;
        if (file) {
            code = m_reader.ReadFile(index, [&](std::span<const uint8_t> bytes) {
                if (!file->WriteAt(end, bytes)) return RestoreCode::WriteFailed;
                end += static_cast<int64_t>(bytes.size());
                return RestoreCode::Done;
            });
        }
        if (purpose == Purpose::Look) {
            m_report.bytes += end;
        } else if (code == RestoreCode::Done && !file->Sync()) {
            code = RestoreCode::WriteFailed;
        }
        m_report.detail =
            code == RestoreCode::WriteFailed ? BackupDetail{.name = path} : m_reader.Detail();
        return code;
    }

    void Advance(size_t index) {
        m_done += m_reader.Entries()[index].storedSize;
        if (m_options.progress) m_options.progress(m_done, m_total);
    }

    CFileSystem& m_files;
    RestoreReport& m_report;
    const BackupOptions& m_options;
    CBackupReader m_reader;
    int64_t m_done = 0;
    int64_t m_total = 0;
};

}  // namespace

uint64_t ReadBackupIdentifier(CFileSystem& files, const std::string& path) {
    const auto file = files.Open(path, OpenMode::Read);
    std::array<uint8_t, BackupHeader::kDiskSize> bytes{};
    BackupHeader header;
    if (!file || file->ReadAt(0, bytes) != static_cast<int64_t>(bytes.size()) ||
        BackupHeader::Decode(bytes, file->Size(), header) != RestoreCode::Done) {
        return 0;
    }
    return header.identifier;
}

RestoreCode CheckBackup(CFileSystem& files, const std::string& path,
                        const std::string& passwordHash, RestoreReport& report,
                        const BackupOptions& options) {
    report = {};
    try {
        return CRestore(files, report, options).Check(path, passwordHash, 1);
    } catch (const std::bad_alloc&) {
        return RestoreCode::OutOfMemory;
    }
}

RestoreCode ExtractBackup(CFileSystem& files, const std::string& path, const std::string& folder,
                          const std::string& passwordHash, RestoreReport& report,
                          const BackupOptions& options) {
    report = {};
    try {
        return CRestore(files, report, options).Extract(path, folder, passwordHash);
    } catch (const std::bad_alloc&) {
        return RestoreCode::OutOfMemory;
    }
}

RestoreCode RestoreBackup(CFileSystem& files, const std::string& path, const std::string& folder,
                          const std::string& passwordHash, bool overwrite, RestoreReport& report,
                          const BackupOptions& options) {
    report = {};
    try {
        // Said at once, before the work of checking the container.
        {
            CFolderReplacement replacement(files, folder);
            const RestoreCode code = replacement.Check(overwrite);
            report.detail.name = replacement.Detail();
            if (code != RestoreCode::Done) return code;
        }
        CRestore restore(files, report, options);
        const RestoreCode code = restore.Check(path, passwordHash, 2);
        return code == RestoreCode::Done ? restore.Restore(folder, overwrite) : code;
    } catch (const std::bad_alloc&) {
        return RestoreCode::OutOfMemory;
    }
}

}  // namespace quillon
