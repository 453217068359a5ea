// The brackets of CJournal: how they nest, and how the outermost becomes a group and then files.

#include <algorithm>
#include <new>
#include <utility>

#include "foundation/OutOfMemory.h"
#include "storage/journal/Checksums.h"
#include "storage/journal/Journal.h"

namespace quillon {

bool CJournal::BeginBatch() {
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

bool CJournal::CommitBatch() {
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

void CJournal::RollbackBatch() noexcept {
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

// A renaming group stands alone between two checkpoints. Replay takes a missing source for a
// rename that was done, so its name must be on the disk before the group is.
bool CJournal::PrepareRename() {
    if (!Checkpoint()) return false;
    if (m_base.SyncFolder(m_folder)) return true;
    m_failureKind = m_base.LastError();
    m_broken = true;
    return false;
}

bool CJournal::CommitOutermost() {
    if (m_broken) return false;
    const bool renames = !m_renameTo.empty();
    if (renames && !PrepareRename()) return false;
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
    constexpr size_t kOperations = 64;  // of one file, about
    m_checksums->Drop();                // of a group that was not written
    size_t total = 0;
    for (const CJournalledFile* file : m_touched) total += file->ExtentBytes() + kOperations;
    group.ReserveMore(total);
    if (!m_renameTo.empty()) {
        const std::string to = FileNameOf(m_renameTo);
        const std::span data(reinterpret_cast<const uint8_t*>(to.data()), to.size());
        group.Add(JournalOperationType::Rename, FileNameOf(m_renameFrom), 0, data);
        if (!m_checksums->StageRename(m_renameFrom, m_renameTo, group)) return false;
    }
    for (CJournalledFile* file : m_touched) {
        AddOperations(*file, group);
        if (!m_checksums->Stage(*file, group)) return false;
    }
    return true;
}

void CJournal::AddOperations(const CJournalledFile& file, JournalGroupBuilder& group) {
    const std::string name = FileNameOf(file.Path());
    if (!file.Exists()) {
        if (file.BaseExists()) group.Add(JournalOperationType::Remove, name, 0, {});
        return;
    }
    if (file.NeedsCreate()) {
        group.Add(JournalOperationType::Create, name, 0, {});
    } else if (file.KeptBase() < file.BaseSize()) {
        group.Add(JournalOperationType::SetSize, name, file.KeptBase(), {});
    }
    int64_t end = file.KeptBase();
    for (const auto& [offset, data] : file.Extents()) {
        group.Add(JournalOperationType::Write, name, offset, data);
        end = std::max(end, offset + static_cast<int64_t>(data.size()));
    }
    if (file.NewSize() > end) {
        group.Add(JournalOperationType::SetSize, name, file.NewSize(), {});
    }
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

}  // namespace quillon
