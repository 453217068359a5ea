// Flushing, compacting and checking: the upkeep of CDatabaseManager, and its timers.

#include <algorithm>
#include <utility>

#include "storage/database/DatabaseFiles.h"
#include "storage/database/DatabaseManager.h"
#include "storage/database/RowRecorder.h"
#include "storage/journal/Checksums.h"
#include "storage/tables/TableVerifier.h"

namespace quillon {

bool CDatabaseManager::WriteStoreStates() {
    for (const auto& table : m_tables) {
        if (!table->Flush()) return false;
    }
    return m_blobs && m_blobs->Flush() && (!m_recorder || m_recorder->Flushing());
}

bool CDatabaseManager::Flush() {
    const CLockScope lock(m_lock);
    if (!m_open || m_journal.InBatch()) return false;
    if (!RunInBracket([&] { return WriteStoreStates(); })) return false;
    if (m_journal.Checkpoint()) return true;
    return FailFromFileError(DatabaseProblem::WriteFailed, m_folder);
}

bool CDatabaseManager::RemoveDeleted() {
    const CLockScope lock(m_lock);
    if (!m_open || m_journal.InBatch()) return false;
    const bool removed = Guarded([&] {
        for (const auto& table : m_tables) {
            if (table->NeedsCompaction() && !table->RemoveDeleted()) return false;
        }
        return m_blobs && m_blobs->Compact();
    });
    ReloadIfStale();
    return removed;
}

bool CDatabaseManager::RebuildIndexes() {
    const CLockScope lock(m_lock);
    if (!m_open || m_journal.InBatch()) return false;
    const bool rebuilt = RunInBracket([&] {
        return std::all_of(m_tables.begin(), m_tables.end(),
                           [](const auto& table) { return table->RebuildIndexes(); });
    });
    return rebuilt && Flush();
}

IntegrityCode CDatabaseManager::Verify(std::vector<TableIntegrity>& tables) {
    const CLockScope lock(m_lock);
    tables.clear();
    if (!m_open) return IntegrityCode::General;
    const bool looked = Guarded([&] {
        for (const auto& table : m_tables) {
            TableIntegrity result;
            result.table = table->Name().ToUtf8();
            result.rows = table->RowCount();
            result.code = table->Verify(result.detail);
            tables.push_back(std::move(result));
        }
        // A line of its own only when there is something to say.
        TableIntegrity blobs;
        blobs.table = "BLOBs";
        blobs.rows = m_blobs ? m_blobs->Dictionary().LiveCount() : 0;
        blobs.code = m_blobs
                         ? CheckStoreBlocks(m_blobs->Dictionary(), m_blobs->Data(), blobs.detail)
                         : IntegrityCode::General;
        if (blobs.code != IntegrityCode::Ok) tables.push_back(std::move(blobs));
        return true;
    });
    if (!looked) {
        tables.clear();
        return IntegrityCode::General;
    }
    const auto damaged = std::find_if(tables.begin(), tables.end(), [](const auto& table) {
        return table.code != IntegrityCode::Ok;
    });
    return damaged == tables.end() ? IntegrityCode::Ok : damaged->code;
}

bool CDatabaseManager::VerifyPages(std::vector<PageDamage>& damage) {
    const CLockScope lock(m_lock);
    damage.clear();
    return m_open && Guarded([&] { return m_journal.CheckPages(damage); });
}

bool CDatabaseManager::AcceptPages() {
    const CLockScope lock(m_lock);
    if (!m_open || m_journal.InBatch()) return false;
    return Flush() && Guarded([&] { return m_journal.AcceptPages(); });
}

bool CDatabaseManager::ListFiles(std::vector<std::string>& names) {
    const CLockScope lock(m_lock);
    names.clear();
    if (!m_open) return false;
    return Guarded([&] {
        const std::string blobData = kBlobFiles.Data(kSchemaName);
        for (const std::string& name :
             {std::string(kSchemaName), kBlobFiles.Dictionary(kSchemaName), blobData,
              FreeListPath(blobData), std::string(kHistoryName)}) {
            if (m_journal.Exists(m_folder + name)) names.push_back(name);
        }
        for (const auto& table : m_tables) table->ListFiles(names);
        std::sort(names.begin(), names.end());
        return true;
    });
}

// --- timers

void CDatabaseManager::RunTimers(int64_t nowMs) {
    const CLockScope lock(m_lock);
    if (!m_open || m_journal.InBatch()) return;
    m_flushTimer.Run(nowMs);
    m_removeDeletedTimer.Run(nowMs);
}

}  // namespace quillon
