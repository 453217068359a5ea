#include "storage/tables/TableManager.h"

#include <algorithm>

#include "foundation/ByteCodec.h"
#include "storage/database/DatabaseFiles.h"
#include "storage/journal/Journal.h"
#include "storage/tables/TableVerifier.h"

namespace quillon {

CTableManager::CTableManager(CJournal& journal, CReentrantLock& lock, std::string folder,
                             int32_t number)
    : m_journal(journal),
      m_lock(lock),
      m_folder(std::move(folder)),
      m_definitionPath(m_folder + TableFileName(number)),
      m_number(number),
      m_indexes(journal, m_definitionPath),
      m_rows(journal),
      m_rowData(journal),
      m_texts(journal) {
    SetStorePaths();
}

CTableManager::~CTableManager() {
    Close();
}

void CTableManager::SetStorePaths() {
    m_rows.SetPath(CKeelString(kRowFiles.Dictionary(m_definitionPath)));
    m_rowData.SetPath(CKeelString(kRowFiles.Data(m_definitionPath)));
    m_texts.SetBasePath(m_definitionPath);
}

bool CTableManager::Create(std::string_view name) {
    const CLockScope lock(m_lock);
    m_name = CKeelString(name);
    return true;
}

bool CTableManager::OpenStores() {
    if (m_storesOpen) return true;
    if (!m_rows.Open() || m_rows.LoadFailed()) {
        m_failedFile = kRowFiles.Dictionary(m_definitionPath);
        return false;
    }
    if (!m_rowData.Open() || !m_rowData.IsOpen()) {
        m_failedFile = kRowFiles.Data(m_definitionPath);
        return false;
    }
    if (!m_texts.Open()) {
        m_failedFile = m_texts.Dictionary().IsOpen() ? kTextFiles.Data(m_definitionPath)
                                                     : kTextFiles.Dictionary(m_definitionPath);
        return false;
    }
    m_storesOpen = true;
    return true;
}

bool CTableManager::Open() {
    const CLockScope lock(m_lock);
    m_failedFile = m_definitionPath;
    m_rebuiltIndexes.clear();
    if (!m_journal.Exists(m_definitionPath)) {
        // A table without columns has no files at all; rows without a definition
        // are damage.
        return !m_journal.Exists(kRowFiles.Dictionary(m_definitionPath));
    }
    // Never make anew what should be there: an empty file in its place would hide the loss.
    for (const BlockFiles& files : {kRowFiles, kTextFiles}) {
        for (const std::string& path :
             {files.Dictionary(m_definitionPath), files.Data(m_definitionPath)}) {
            if (m_journal.Exists(path)) continue;
            m_failedFile = path;
            return false;
        }
    }
    std::vector<uint8_t> bytes;
    TableDefinition definition;
    if (!ReadWholeFile(m_journal, m_definitionPath, bytes) ||
        !TableDefinition::Decode(bytes, definition) || definition.number != m_number ||
        definition.name != m_name.ToUtf8() || !m_indexes.HasSoundNames(definition)) {
        return false;
    }
    return OpenStores() && ApplyDefinition(definition);
}

bool CTableManager::ApplyDefinition(const TableDefinition& definition) {
    m_columns.clear();
    for (const ColumnDefinition& stored : definition.columns) {
        CTableColumn column;
        column.name = CKeelString(stored.name);
        column.id = static_cast<int64_t>(m_columns.size()) + 1;
        column.type = stored.type;
        column.indexed = stored.indexed;
        column.indexAttribute = stored.indexAttribute;
        column.tableNumber = m_number;
        m_columns.push_back(std::move(column));
    }
    LayOutRecord();
    NoteSkippedColumns(definition);
    return OpenIndexes(definition);
}

void CTableManager::NoteSkippedColumns(const TableDefinition& definition) {
    m_skippedIndexes.clear();
    m_hasSkippedValues = false;
    if (m_skippedColumns == 0) return;
    for (const CTableColumn& column : m_columns) {
        if (IsColumnType(column.type) || !column.indexed) continue;
        const auto place = static_cast<size_t>(column.id) - 1;
        m_skippedIndexes.push_back(
            m_indexes.PathOf(column.id, definition.columns[place].indexFile));
    }
    m_rows.Walk([&](int64_t, const DictionaryEntry& entry) {
        m_hasSkippedValues = !entry.deleted && entry.size > m_recordSize;
        return !m_hasSkippedValues;
    });
}

bool CTableManager::OpenIndexes(const TableDefinition& definition) {
    for (size_t i = 0; i < m_columns.size(); ++i) {
        CTableColumn& column = m_columns[i];
        if (!column.indexed || !IsColumnType(column.type)) continue;
        const std::string path = m_indexes.PathOf(column.id, definition.columns[i].indexFile);
        column.index = &m_indexes.Add(column.id, column.type, column.indexAttribute);
        const IndexLoad opened = column.index->Open(path);
        if (opened == IndexLoad::Ok) continue;
        if (opened == IndexLoad::NewerVersion || !RebuildIndex(column)) {
            m_failedFile = path;
            return false;
        }
    }
    return true;
}

bool CTableManager::LoadIndex(const CTableColumn& column) const {
    const CLockScope lock(m_lock);
    return column.index && (column.index->Load() == IndexLoad::Ok || RebuildIndex(column));
}

// Everything in an index is in the rows too, so a lost one is made anew.
bool CTableManager::RebuildIndex(const CTableColumn& column) const {
    const std::string path = column.index->Path();
    CBracketScope bracket(m_journal);
    if (!bracket.Begun() || !column.index->Create(path) || !FillIndex(column) ||
        !bracket.Commit()) {
        return false;
    }
    const std::string file = FileNameOf(path);
    if (std::find(m_rebuiltIndexes.begin(), m_rebuiltIndexes.end(), file) ==
        m_rebuiltIndexes.end()) {
        m_rebuiltIndexes.push_back(file);
    }
    return true;
}

bool CTableManager::FillIndex(const CTableColumn& column) const {
    bool filled = true;
    CTableRowUpdateInfoValue value;
    std::vector<uint8_t> record;
    m_rows.Walk([&](int64_t rowId, const DictionaryEntry& entry) {
        if (entry.deleted) return true;
        if (ReadRecord(rowId, record) && ValueFromRecord(record, column, value)) {
            filled = column.index->Add(rowId, value.Key());
        } else {
            // A damaged row is left out, and the integrity check reports it.
            filled = IsDamaged(rowId, column);
        }
        return filled;
    });
    return filled;
}

bool CTableManager::IsDamaged(int64_t rowId, const CTableColumn& column) const {
    // A block that lies in its store reads, unless the disk fails.
    std::vector<uint8_t> bytes;
    const auto isHeld = [&bytes](const CDataStore& store, const DictionaryEntry* entry) {
        if (!entry || !store.Holds(entry->size, entry->position)) return false;
        bytes.resize(static_cast<size_t>(entry->size));
        return true;
    };
    const DictionaryEntry* row = m_rows.FindLive(rowId);
    if (!isHeld(m_rowData, row)) return true;
    if (!m_rowData.ReadAt(bytes.data(), row->size, row->position)) return false;
    CTableRowUpdateInfoValue value;
    if (ValueFromRecord(bytes, column, value)) return false;  // it was the disk, a moment ago
    const int64_t offset = OffsetIn(bytes.size(), column);
    if (offset < 0) return !IsRecordSize(row->size);  // else between skipped values
    if (column.type != ColumnType::Text) return true;
    if (!m_texts.Dictionary().Load()) return false;
    const auto textId = LoadLE<int64_t>(bytes, static_cast<size_t>(offset));
    const DictionaryEntry* text = m_texts.Dictionary().FindLive(textId);
    return !isHeld(m_texts.Data(), text) ||
           m_texts.Data().ReadAt(bytes.data(), text->size, text->position);
}

bool CTableManager::RebuildIndexes() {
    const CLockScope lock(m_lock);
    for (CTableColumn& column : m_columns) {
        if (!column.index) continue;
        // What is damaged is told, also where all are made anew.
        if (!LoadIndex(column)) return false;
        const std::string path = column.index->Path();
        if (!column.index->Create(path) || !FillIndex(column)) return false;
    }
    return true;
}

bool CTableManager::Close() {
    const CLockScope lock(m_lock);
    bool closed = m_indexes.Close();
    if (m_storesOpen) {
        closed = m_rows.Close() && closed;
        closed = m_rowData.Close() && closed;
        closed = m_texts.Close() && closed;
    }
    m_storesOpen = false;
    return closed;
}

bool CTableManager::Flush() {
    const CLockScope lock(m_lock);
    return !m_storesOpen || (m_rows.Flush() && m_rowData.Flush() && m_texts.Flush());
}

bool CTableManager::SaveDefinition() {
    const CLockScope lock(m_lock);
    if (m_columns.empty()) return true;
    TableDefinition definition;
    definition.number = m_number;
    definition.name = m_name.ToUtf8();
    for (const CTableColumn& column : m_columns) {
        definition.columns.push_back(
            {column.name.ToUtf8(), column.index ? FileNameOf(column.index->Path()) : std::string(),
             column.type, column.indexed, column.indexAttribute});
    }
    return WriteWholeFile(m_journal, m_definitionPath, definition.Encode());
}

bool CTableManager::SkipRowIdsBelow(int64_t rowId) {
    const CLockScope lock(m_lock);
    return OpenStores() && m_rows.SkipIdsBelow(rowId);
}

bool CTableManager::DeleteFiles() {
    const CLockScope lock(m_lock);
    if (!m_indexes.DeleteFiles()) return false;
    for (const std::string& path : m_skippedIndexes) {
        if (m_journal.Exists(path) && !m_journal.Remove(path)) return false;
    }
    if (m_storesOpen &&
        !(m_rows.DeleteFile() && m_rowData.DeleteFiles() && m_texts.DeleteFiles())) {
        return false;
    }
    m_storesOpen = false;
    return !m_journal.Exists(m_definitionPath) || m_journal.Remove(m_definitionPath);
}

bool CTableManager::NeedsCompaction() const {
    const CLockScope lock(m_lock);
    return m_storesOpen &&
           (m_rows.NeedsCompaction() || m_texts.NeedsCompaction() || m_indexes.NeedsCompaction());
}

bool CTableManager::RemoveDeleted() {
    const CLockScope lock(m_lock);
    if (!m_storesOpen) return true;
    {
        CBracketScope bracket(m_journal);
        if (!bracket.Begun() || !m_rows.Compact(false)) return false;
        for (const CTableColumn& column : m_columns) {
            // What a header says may be behind: loading tells.
            if (!column.index || !column.index->NeedsCompaction()) continue;
            if (!LoadIndex(column)) return false;
        }
        if (!m_indexes.Compact() || !bracket.Commit()) return false;
    }
    return m_texts.Compact();
}

void CTableManager::ListFiles(std::vector<std::string>& names) const {
    const CLockScope lock(m_lock);
    const auto add = [&](const std::string& path) {
        if (m_journal.Exists(path)) names.push_back(FileNameOf(path));
    };
    add(m_definitionPath);
    for (const BlockFiles& files : {kRowFiles, kTextFiles}) {
        const std::string data = files.Data(m_definitionPath);
        for (const std::string& path :
             {files.Dictionary(m_definitionPath), data, FreeListPath(data)}) {
            add(path);
        }
    }
    for (const std::string& path : m_indexes.Paths()) add(path);
    for (const std::string& path : m_skippedIndexes) add(path);
}

IntegrityCode CTableManager::Verify(IntegrityDetail& detail) const {
    const CLockScope lock(m_lock);
    return CTableVerifier(*this).Run(detail);
}

}  // namespace quillon
