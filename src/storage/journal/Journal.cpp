#include "storage/journal/Journal.h"

#include <algorithm>
#include <array>
#include <utility>

#include "foundation/ByteCodec.h"
#include "foundation/OutOfMemory.h"
#include "storage/backup/Crypto.h"
#include "storage/journal/Checksums.h"

namespace quillon {
namespace {

[[nodiscard]] bool RandomNumber(uint64_t& number) {
    std::array<uint8_t, sizeof(number)> bytes{};
    if (!RandomBytes(bytes)) return false;
    number = LoadLE<uint64_t>(bytes, 0);
    return true;
}

}  // namespace

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

CJournal::CJournal(CFileSystem& base)
    : m_base(base), m_checksums(std::make_unique<CChecksums>(base)) {}

CJournal::~CJournal() {
    // Files that are still open here would dangle; the stores close them first.
    m_files.clear();
}

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

bool CJournal::BeginBracket() {
    ++m_changeCount;  // every change of a file opens a bracket of its own
    if (!IsAttached()) return true;
    if (m_depth == 0) {
        if (m_broken || m_lostParticipant) return false;
        if (m_applyPending && !ApplyTouched()) return false;
        if (m_checkpointDue && !Checkpoint()) return false;
        m_doomed = false;
    }
    ++m_depth;
    return true;
}

void CJournal::Join(CBracketParticipant& participant) {
    if (m_depth == 0) return;
    if (std::find(m_participants.begin(), m_participants.end(), &participant) ==
        m_participants.end()) {
        m_participants.push_back(&participant);
    }
}

void CJournal::Leave(CBracketParticipant& participant) {
    std::erase(m_participants, &participant);
}

bool CJournal::CommitBracket() {
    if (!IsAttached()) return true;
    if (m_depth == 0) return false;
    if (--m_depth > 0) return !m_doomed;
    if (m_doomed || !CommitOutermost()) {
        DropBracket();
        TellParticipants(&CBracketParticipant::OnBracketRolledBack);
        return false;
    }
    TellParticipants(&CBracketParticipant::OnBracketCommitted);
    if (m_end > m_rooms.checkpoint) (void)Checkpoint();
    return true;
}

void CJournal::RollbackBracket() noexcept {
    if (!IsAttached() || m_depth == 0) return;
    m_doomed = true;
    if (--m_depth > 0) return;
    DropBracket();
    TellParticipants(&CBracketParticipant::OnBracketRolledBack);
}

void CJournal::DropBracket() noexcept {
    ++m_changeCount;
    for (CJournalledFile* file : std::exchange(m_touched, {})) {
        file->Forget();
        ForgetIfIdle(*file);
    }
    m_renameFrom.clear();
    m_renameTo.clear();
    m_doomed = false;
}

void CJournal::TellParticipants(bool (CBracketParticipant::*outcome)()) noexcept {
    const std::vector<CBracketParticipant*> participants = std::exchange(m_participants, {});
    for (CBracketParticipant* participant : participants) {
        if (!FalseWhenOutOfMemory([&] { return (participant->*outcome)(); })) {
            m_lostParticipant = true;
        }
    }
}

bool CJournal::CommitOutermost() {
    if (m_broken) return false;
    // A renaming group stands alone between two checkpoints.
    const bool renames = !m_renameTo.empty();
    if (renames && !Checkpoint()) return false;
    // Replay takes a missing source for a rename that was done, so its name must be
    // on the disk before the group is.
    if (renames && !m_base.SyncFolder(m_folder)) {
        m_failureKind = m_base.LastError();
        m_broken = true;
        return false;
    }

    std::set<std::string> written;
    bool nothing = false;
    try {
        if (!WriteGroup(written, nothing)) return false;
    } catch (const std::bad_alloc&) {
        m_failureKind = FileError::NoMemory;
        return false;
    }
    if (nothing) {
        DropBracket();
        return true;
    }
    m_checksums->Keep();
    // From here on the commit stands. What cannot be written to the files now is
    // still read from memory, and tried again before the next bracket.
    m_dirty.merge(written);
    if (!ApplyTouched()) m_applyPending = true;
    if (!m_renameTo.empty()) m_broken = true;  // only replay can bring the file in
    m_checkpointDue = renames;
    if (renames && !m_applyPending) (void)Checkpoint();
    return true;
}

// Whatever takes memory comes before the sync, so that running out of it is a plain no.
bool CJournal::WriteGroup(std::set<std::string>& written, bool& nothing) {
    JournalGroupBuilder group;
    if (!BuildGroup(group)) {
        // A page cannot be read; the stores may not be able to read themselves back either.
        m_failureKind = m_base.LastError();
        m_broken = true;
        return false;
    }
    nothing = group.IsEmpty();
    if (nothing) return true;
    for (const CJournalledFile* file : m_touched) {
        if (file->Exists()) written.insert(file->Path());
    }
    if (AppendGroup(group)) return true;
    m_failureKind = m_base.LastError();
    return false;
}

bool CJournal::BuildGroup(JournalGroupBuilder& group) {
    m_checksums->Drop();  // of a group that was not written
    size_t total = 0;
    for (const CJournalledFile* file : m_touched) total += file->ExtentBytes() + 64;
    group.ReserveMore(total);
    if (!m_renameTo.empty()) {
        const std::string to = FileNameOf(m_renameTo);
        const std::span data(reinterpret_cast<const uint8_t*>(to.data()), to.size());
        group.Add(JournalOperationType::Rename, FileNameOf(m_renameFrom), 0, data);
        if (!m_checksums->StageRename(m_renameFrom, m_renameTo, group)) return false;
    }
    for (CJournalledFile* file : m_touched) {
        const std::string name = FileNameOf(file->Path());
        if (!file->Exists()) {
            if (file->BaseExists()) group.Add(JournalOperationType::Remove, name, 0, {});
            if (!m_checksums->Stage(*file, group)) return false;
            continue;
        }
        if (file->NeedsCreate()) {
            group.Add(JournalOperationType::Create, name, 0, {});
        } else if (file->KeptBase() < file->BaseSize()) {
            group.Add(JournalOperationType::SetSize, name, file->KeptBase(), {});
        }
        int64_t end = file->KeptBase();
        for (const auto& [offset, data] : file->Extents()) {
            group.Add(JournalOperationType::Write, name, offset, data);
            end = std::max(end, offset + static_cast<int64_t>(data.size()));
        }
        if (file->NewSize() > end) {
            group.Add(JournalOperationType::SetSize, name, file->NewSize(), {});
        }
        if (!m_checksums->Stage(*file, group)) return false;
    }
    return true;
}

bool CJournal::AppendGroup(JournalGroupBuilder& group) {
    const std::span<const uint8_t> bytes =
        group.Finish(m_header.salt, m_nextSequence, m_lastChecksum);
    const int64_t end = AlignUp(m_end + static_cast<int64_t>(bytes.size()), kJournalAlignment);
    const int64_t written = m_end + static_cast<int64_t>(bytes.size());
    const int64_t allocated = AlignUp(end, m_rooms.step);
    const std::vector<uint8_t> zeros(end > m_allocated ? static_cast<size_t>(allocated - written)
                                                       : 0);
    if (!m_file || !m_file->WriteAt(m_end, bytes)) return false;
    if (end > m_allocated) {
        // Room for coming commits, written and synced once with this one.
        if (m_file->WriteAt(written, zeros)) {
            m_allocated = allocated;
        } else {
            m_allocated = std::max(m_allocated, written);
        }
    }
    if (!m_file->Sync()) {
        m_broken = true;
        return false;
    }
    ++m_nextSequence;
    m_lastChecksum = group.Checksum();
    m_end = end;
    return true;
}

bool CJournal::ApplyRename() {
    if (m_renameTo.empty()) return true;
    if (m_base.Exists(m_renameFrom) && !m_base.Rename(m_renameFrom, m_renameTo)) return false;
    m_namesDirty = true;
    m_renameFrom.clear();
    m_renameTo.clear();
    return true;
}

bool CJournal::ApplyTouched() {
    return FalseWhenOutOfMemory([this] { return ApplyAll(); });
}

bool CJournal::ApplyAll() {
    if (!ApplyRename()) return false;
    while (!m_touched.empty()) {
        CJournalledFile* file = m_touched.back();
        const bool namesChange = !file->Exists() || file->NeedsCreate();
        const bool exists = file->Exists();
        // Before trying: what a first try makes, a second one does not see as new.
        if (namesChange) m_namesDirty = true;
        if (!file->Apply()) {
            m_failureKind = m_base.LastError();
            return false;
        }
        if (!exists) m_dirty.erase(file->Path());
        m_touched.pop_back();
        ForgetIfIdle(*file);
    }
    m_applyPending = false;
    return true;
}

void CJournal::Break() {
    m_broken = true;
}

bool CJournal::Checkpoint() {
    if (!IsAttached()) return true;
    if (m_broken) return false;
    if (m_applyPending && !ApplyTouched()) return false;
    if (m_nextSequence > 1 &&
        !FalseWhenOutOfMemory([this] { return SyncDirty() && StartNewJournal(); })) {
        return false;
    }
    m_checkpointDue = false;
    return true;
}

bool CJournal::SyncDirty() {
    for (const std::string& path : m_dirty) {
        CJournalledFile& file = FileFor(path);
        const bool synced = file.SyncBase();
        ForgetIfIdle(file);
        if (!synced) {
            m_broken = true;
            return false;
        }
    }
    if (m_namesDirty && !m_base.SyncFolder(m_folder)) {
        m_broken = true;
        return false;
    }
    m_dirty.clear();
    m_namesDirty = false;
    // Not known to be right with the journal empty: then the journal stays.
    return m_checksums->Save(m_header.databaseId);
}

bool CJournal::CheckPages(std::vector<PageDamage>& damage) {
    if (!IsAttached() || m_depth > 0) return false;
    if (m_applyPending && !ApplyTouched()) return false;
    return m_checksums->Check(damage);
}

bool CJournal::AcceptPages() {
    return IsAttached() && m_depth == 0 && Checkpoint() && m_checksums->Accept(m_header.databaseId);
}

// Until the new header is on the medium the old groups stay whole: any stop before that
// replays all of them, which brings the files to where they are. Behind it none of them
// counts, and what the disk does with the cut makes no difference.
bool CJournal::StartNewJournal() {
    JournalHeader header = m_header;
    if (!RandomNumber(header.salt)) return false;
    const std::vector<uint8_t> bytes = header.Encode();
    // Nothing below takes memory: the header here and the one on the disk change together.
    m_header = header;
    m_nextSequence = 1;
    m_lastChecksum = m_header.salt;
    m_end = kJournalAlignment;
    if (!m_file->WriteAt(0, bytes) || !m_file->Sync()) {
        m_broken = true;
        return false;
    }
    if (m_allocated > m_rooms.kept && m_file->SetSize(m_rooms.kept)) m_allocated = m_rooms.kept;
    return true;
}

CJournal::AttachResult CJournal::Attach(const std::string& folder, uint64_t databaseId) {
    m_folder = folder;
    m_depth = 0;
    m_broken = false;
    m_lostParticipant = false;
    m_checkpointDue = false;
    m_applyPending = false;
    m_failureKind = FileError::None;
    m_setAsidePath.clear();
    m_dirty.clear();
    m_namesDirty = false;

    AttachResult result =
        m_checksums->Start(m_folder) ? AttachResult::Ok : AttachResult::UnreadableChecksums;
    const std::string path = m_folder + kJournalName;
    if (result == AttachResult::Ok && m_base.Exists(path)) result = ReplayExisting(databaseId);
    const bool isWanted = result == AttachResult::Ok || result == AttachResult::Damaged;
    if (isWanted && !m_base.Exists(path)) {
        // Made beside and renamed: a journal that exists has a whole header. One that was
        // set aside gets a successor at once, so that no later opening misses it.
        m_header.databaseId = databaseId;
        if ((databaseId == 0 && !RandomNumber(m_header.databaseId)) ||
            !RandomNumber(m_header.salt) || !ReplaceStoreFile(m_base, path, m_header.Encode())) {
            result = AttachResult::Failed;
        }
    }
    if (result == AttachResult::Ok) {
        m_file = m_base.Open(path, OpenMode::ReadWrite);
        m_allocated = m_file ? m_file->Size() : -1;
        // The journal's own name too: whoever made the file may not have got so far as to
        // bring that to the medium.
        if (m_allocated < 0 || !m_base.SyncFolder(m_folder) ||
            !m_checksums->Save(m_header.databaseId) || !StartNewJournal()) {
            result = AttachResult::Failed;
        }
    }
    if (result != AttachResult::Ok) {
        m_failureKind = m_base.LastError();
        m_file.reset();
        m_folder.clear();
    }
    return result;
}

bool CJournal::Detach() {
    if (!IsAttached()) return true;
    const bool emptied = Checkpoint();
    if (emptied) {
        // The next start need not read room for commits that never came.
        (void)m_file->SetSize(static_cast<int64_t>(JournalHeader::kDiskSize));
    }
    m_files.clear();
    m_touched.clear();
    m_participants.clear();
    m_file.reset();
    m_folder.clear();
    m_setAsidePath.clear();
    m_renameFrom.clear();
    m_renameTo.clear();
    m_depth = 0;
    m_allocated = 0;
    return emptied;
}

}  // namespace quillon
