#include "storage/journal/Journal.h"

#include <array>

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

CJournal::CJournal(CFileSystem& base)
    : m_base(base), m_checksums(std::make_unique<CChecksums>(base)) {}

CJournal::~CJournal() {
    // Files that are still open here would dangle; the stores close them first.
    m_files.clear();
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

void CJournal::ForgetFolder() {
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
}

CJournal::AttachResult CJournal::Attach(const std::string& folder, uint64_t databaseId) {
    ForgetFolder();
    m_folder = folder;
    m_dirty.clear();
    m_namesDirty = false;
    m_broken = false;
    m_lostParticipant = false;
    m_checkpointDue = false;
    m_applyPending = false;
    m_failureKind = FileError::None;

    AttachResult result =
        m_checksums->Start(m_folder) ? AttachResult::Ok : AttachResult::UnreadableChecksums;
    const std::string path = m_folder + kJournalName;
    if (result == AttachResult::Ok && m_base.Exists(path)) result = ReplayExisting(databaseId);
    // One that was set aside gets a successor at once, so that no later opening misses it.
    const bool isWanted = result == AttachResult::Ok || result == AttachResult::Damaged;
    if (isWanted && !m_base.Exists(path) && !MakeJournalFile(databaseId)) {
        result = AttachResult::Failed;
    }
    if (result == AttachResult::Ok && !OpenJournalFile()) result = AttachResult::Failed;
    if (result != AttachResult::Ok) {
        m_failureKind = m_base.LastError();
        m_file.reset();
        m_folder.clear();
    }
    return result;
}

// Made beside and renamed: a journal that exists has a whole header.
bool CJournal::MakeJournalFile(uint64_t databaseId) {
    m_header.databaseId = databaseId;
    return (databaseId != 0 || RandomNumber(m_header.databaseId)) && RandomNumber(m_header.salt) &&
           ReplaceStoreFile(m_base, m_folder + kJournalName, m_header.Encode());
}

bool CJournal::OpenJournalFile() {
    m_file = m_base.Open(m_folder + kJournalName, OpenMode::ReadWrite);
    m_allocated = m_file ? m_file->Size() : -1;
    // The journal's own name too: whoever made the file may not have got so far as to
    // bring that to the medium.
    return m_allocated >= 0 && m_base.SyncFolder(m_folder) &&
           m_checksums->Save(m_header.databaseId) && StartNewJournal();
}

bool CJournal::Detach() {
    if (!IsAttached()) return true;
    const bool emptied = Checkpoint();
    if (emptied) {
        // The next start need not read room for commits that never came.
        (void)m_file->SetSize(static_cast<int64_t>(JournalHeader::kDiskSize));
    }
    ForgetFolder();
    return emptied;
}

}  // namespace quillon
