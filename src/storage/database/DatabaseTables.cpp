// The brackets and the tables of CDatabaseManager.

#include <algorithm>
#include <limits>
#include <utility>

#include "foundation/platform/Clock.h"
#include "storage/database/DatabaseFiles.h"
#include "storage/database/DatabaseManager.h"
#include "storage/database/RowRecorder.h"
#include "storage/database/SchemaFile.h"

namespace quillon {

// --- brackets

bool CDatabaseManager::BeginBatch() {
    const CLockScope lock(m_lock);
    if (!m_journal.IsAttached()) return false;
    if (m_journal.BeginBatch()) return true;
    NoteBracketFailure();
    return false;
}

bool CDatabaseManager::CommitBatch() {
    const CLockScope lock(m_lock);
    if (!m_journal.IsAttached()) return false;
    if (!RecordBracket()) {
        RollbackBatch();
        return false;
    }
    const bool committed = Guarded([&] { return m_journal.CommitBatch(); });
    if (!committed) NoteBracketFailure();
    ReloadIfStale();
    return committed;
}

bool CDatabaseManager::RecordBracket() {
    if (!m_recorder || !m_journal.IsAboutToCommit()) return true;
    bool hadMemory = false;
    const bool recorded = Guarded([&] {
        const bool done = m_recorder->BracketEnds();
        hadMemory = true;
        return done;
    });
    if (recorded || !hadMemory) return recorded;
    return FailFromFileError(DatabaseProblem::WriteFailed, m_folder + kHistoryName);
}

void CDatabaseManager::RollbackBatch() {
    const CLockScope lock(m_lock);
    m_journal.RollbackBatch();
    ReloadIfStale();
}

void CDatabaseManager::NoteBracketFailure() {
    switch (m_journal.FailureKind()) {
        case FileError::NoSpace:
            (void)Fail(DatabaseProblem::DiskFull, m_folder);
            break;
        case FileError::NoPermission:
            (void)Fail(DatabaseProblem::NoPermission, m_folder);
            break;
        case FileError::NoMemory:
            (void)Fail(DatabaseProblem::OutOfMemory, {});
            break;
        default:
            (void)Fail(DatabaseProblem::WriteFailed, m_folder);
            break;
    }
}

void CDatabaseManager::ReloadIfStale() {
    const bool lost = m_journal.HasLostParticipant() && !m_tables.empty();
    // What does not open is left as it is; opening lets go of the stores itself.
    if (!m_open || m_journal.InBatch() || !(m_schemaParticipant.stale || lost)) return;
    m_schemaParticipant.stale = false;
    DropStores();
    m_journal.ForgetLostParticipants();
    const bool reopened = Guarded([&] {
        DatabaseSchema schema;
        return ReadSchema(schema) && OpenStores(schema);
    });
    if (reopened) return;
    // Tables that are missing here are not missing on the disk: write nothing any more.
    DropStores();
    m_journal.Break();
}

void CDatabaseManager::NoteSchemaChange() {
    m_journal.Join(m_schemaParticipant);
    m_schemaChangeTime = NowFileTime();
}

// --- schema

CTableManager* CDatabaseManager::FindTable(std::string_view name) {
    const CLockScope lock(m_lock);
    for (const auto& table : m_tables) {
        if (table->Name().View() == name) return table.get();
    }
    return nullptr;
}

bool CDatabaseManager::SaveSchema() {
    DatabaseSchema schema;
    schema.nextTableNumber = m_nextTableNumber;
    for (const auto& table : m_tables) {
        schema.tables.push_back(
            {table->Number(), table->Name().ToUtf8(), FileNameOf(table->DefinitionPath())});
    }
    return WriteWholeFile(m_journal, m_folder + kSchemaName, schema.Encode());
}

CTableManager* CDatabaseManager::CreateTable(std::string_view name) {
    const CLockScope lock(m_lock);
    if (!m_open || !ColumnDefinition::IsName(name) || FindTable(name) ||
        m_nextTableNumber == std::numeric_limits<int32_t>::max()) {
        return nullptr;
    }
    const bool created = RunInBracket([&] {
        NoteSchemaChange();
        auto table =
            std::make_unique<CTableManager>(m_journal, m_lock, m_folder, m_nextTableNumber);
        if (!table->Create(name)) return false;
        ++m_nextTableNumber;
        m_tables.push_back(std::move(table));
        return SaveSchema();
    });
    return created ? FindTable(name) : nullptr;
}

bool CDatabaseManager::AddColumn(std::string_view table, std::string_view column, ColumnType type,
                                 bool indexed, bool indexAttribute) {
    const CLockScope lock(m_lock);
    CTableManager* target = FindTable(table);
    if (!target) return false;
    return RunInBracket([&] {
        NoteSchemaChange();
        return target->AddColumn(column, type, indexed, indexAttribute);
    });
}

bool CDatabaseManager::HasColumn(std::string_view table, std::string_view column) {
    const CLockScope lock(m_lock);
    const CTableManager* target = FindTable(table);
    return target && target->FindColumn(column);
}

bool CDatabaseManager::RemoveColumn(std::string_view table, std::string_view column) {
    const CLockScope lock(m_lock);
    CTableManager* target = FindTable(table);
    if (!target || !target->FindColumn(column)) return false;
    const bool removed = RunInBracket([&] {
        NoteSchemaChange();
        return target->RemoveColumn(column);
    });
    // The texts of the column are gone from the rows; their room goes now, unless a
    // bracket around this one may still bring them back.
    if (removed && !m_journal.InBatch()) {
        (void)Guarded([&] { return FindTable(table)->RemoveDeleted(); });
    }
    return removed;
}

bool CDatabaseManager::RemoveTable(std::string_view name) {
    const CLockScope lock(m_lock);
    const auto found = std::find_if(m_tables.begin(), m_tables.end(), [&](const auto& table) {
        return table->Name().View() == name;
    });
    if (found == m_tables.end()) return false;
    m_rowTable = nullptr;
    return RunInBracket([&] {
        NoteSchemaChange();
        if (!(*found)->DeleteFiles()) return false;
        m_tables.erase(found);
        return SaveSchema();
    });
}

}  // namespace quillon
