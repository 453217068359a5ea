// The CFileSystem that CJournal is: the folder's files as the open bracket sees them.

#include <utility>

#include "storage/journal/Checksums.h"
#include "storage/journal/Journal.h"

namespace quillon {

// A handle on a file of the folder. Writing outside a bracket is a bracket of its own.
class CJournalledHandle final : public CFile {
public:
    CJournalledHandle(CJournal& journal, CJournalledFile& file, bool writable)
        : m_journal(journal), m_file(file), m_writable(writable) {
        ++m_file.handles;
    }
    ~CJournalledHandle() override {
        --m_file.handles;
        m_journal.ForgetIfIdle(m_file);
    }
    CJournalledHandle(const CJournalledHandle&) = delete;
    CJournalledHandle& operator=(const CJournalledHandle&) = delete;

    int64_t ReadAt(int64_t offset, std::span<uint8_t> bytes) override {
        return m_file.ReadAt(offset, bytes);
    }

    bool WriteAt(int64_t offset, std::span<const uint8_t> bytes) override {
        return Change([&] { m_file.WriteAt(offset, bytes); });
    }

    bool SetSize(int64_t size) override {
        return Change([&] { m_file.SetSize(size); });
    }

    int64_t Size() override { return m_file.Exists() ? m_file.Size() : -1; }

    // The journal has synced every commit already.
    bool Sync() override { return true; }

private:
    template <typename Edit>
    bool Change(Edit edit) {
        if (!m_writable) return false;
        CBracketScope bracket(m_journal);
        if (!bracket.Begun()) return false;
        m_journal.Touch(m_file);
        edit();
        return bracket.Commit();
    }

    CJournal& m_journal;
    CJournalledFile& m_file;
    bool m_writable;
};

bool CJournal::IsOurs(const std::string& path) const {
    return IsAttached() && path.size() > m_folder.size() &&
           path.compare(0, m_folder.size(), m_folder) == 0 && FolderOf(path) == m_folder;
}

CJournalledFile& CJournal::FileFor(const std::string& path) {
    const auto known = m_files.find(path);
    if (known != m_files.end()) return *known->second;
    auto file = std::make_unique<CJournalledFile>(m_base, path);
    return *m_files.emplace(path, std::move(file)).first->second;
}

void CJournal::ForgetIfIdle(CJournalledFile& file) noexcept {
    if (file.handles > 0 || file.IsTouched()) return;
    const auto known = m_files.find(file.Path());
    if (known != m_files.end()) m_files.erase(known);
}

void CJournal::Touch(CJournalledFile& file) {
    if (file.IsTouched()) return;
    m_touched.push_back(&file);
    file.Touch();
}

std::unique_ptr<CFile> CJournal::Open(const std::string& path, OpenMode mode) {
    if (!IsOurs(path)) return m_base.Open(path, mode);
    // Committed, but not in its place yet: what was there before is wrong now.
    if (m_applyPending && path == m_renameTo) return m_base.Open(m_renameFrom, OpenMode::Read);
    if (mode == OpenMode::Create) {
        CBracketScope bracket(*this);
        if (!bracket.Begun()) return nullptr;
        CJournalledFile& file = FileFor(path);
        Touch(file);
        file.CreateEmpty();
        auto handle = std::make_unique<CJournalledHandle>(*this, file, true);
        if (!bracket.Commit()) return nullptr;
        return handle;
    }
    CJournalledFile& file = FileFor(path);
    if (!file.Exists() || file.IsUnreadable()) {
        ForgetIfIdle(file);
        return nullptr;
    }
    return std::make_unique<CJournalledHandle>(*this, file, mode == OpenMode::ReadWrite);
}

bool CJournal::Exists(const std::string& path) {
    if (!IsOurs(path)) return m_base.Exists(path);
    const auto known = m_files.find(path);
    return known == m_files.end() ? m_base.Exists(path) : known->second->Exists();
}

bool CJournal::Remove(const std::string& path) {
    if (!IsOurs(path)) return m_base.Remove(path);
    // Before the bracket: nothing was to be done, so an outer one need not fail.
    if (!Exists(path)) return false;
    CBracketScope bracket(*this);
    if (!bracket.Begun()) return false;
    CJournalledFile& file = FileFor(path);
    Touch(file);
    file.Remove();
    return bracket.Commit();
}

bool CJournal::Rename(const std::string& from, const std::string& to) {
    if (!IsOurs(from) || !IsOurs(to)) return m_base.Rename(from, to);
    CBracketScope bracket(*this);
    if (!bracket.Begun() || !m_renameTo.empty()) return false;
    for (const std::string& path : {from, to}) {
        const auto known = m_files.find(path);
        if (known != m_files.end() && (known->second->IsTouched() || known->second->handles > 0)) {
            return false;
        }
        m_files.erase(path);
    }
    m_renameFrom = from;
    m_renameTo = to;
    return bracket.Commit();
}

}  // namespace quillon
