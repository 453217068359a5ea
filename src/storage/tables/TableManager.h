#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/KeelMap.h"
#include "foundation/KeelString.h"
#include "foundation/ReentrantLock.h"
#include "storage/blocks/DataStore.h"
#include "storage/blocks/DictionaryManager.h"
#include "storage/blocks/TextManager.h"
#include "storage/index/IndexManagerContainer.h"
#include "storage/tables/ColumnType.h"
#include "storage/tables/IntegrityCode.h"
#include "storage/tables/IntegrityDetail.h"
#include "storage/tables/TableDefinition.h"
#include "storage/tables/TableRowUpdateInfo.h"

namespace quillon {

// One column of an open table.
struct CTableColumn {
    CKeelString name;
    int64_t id = 0;  // unique in the table; names the index file
    ColumnType type = ColumnType::Text;
    bool indexed = false;
    bool indexAttribute = false;
    int32_t tableNumber = 0;
    int32_t offset = 0;              // of the value in the row record, bytes
    int32_t skippedBefore = 0;       // columns in front of it whose type is unknown
    CIndexManager* index = nullptr;  // the table's; null when not indexed or lost
};

// A table: definition, rows, texts and indexes.
//
//   Rows       Fixed-size records known by the id that the row dictionary gave.
//   Skipped    A column whose type this version does not know has no value here and no
//              index; the others read as ever. A change of a row keeps the bytes that a
//              newer version wrote for it. Where there are such bytes, or an index that
//              only the newer version can keep, rows are neither added nor deleted; the
//              columns of such a table stay as they are.
//   Errors     false, -1 or empty. A failed change leaves the bracket to be rolled back by
//              its owner (CDatabaseManager), and so does std::bad_alloc, which passes through.
//   Threads    Each public call holds the database's CReentrantLock, which all tables of a
//              database share with its manager: reading a row looks through the journal's
//              bracket. What is returned by reference is the caller's to guard.
class CTableManager {
public:
    // `lock`: the database's, which must outlive the table.
    CTableManager(CJournal& journal, CReentrantLock& lock, std::string folder, int32_t number);
    ~CTableManager();
    CTableManager(const CTableManager&) = delete;
    CTableManager& operator=(const CTableManager&) = delete;

    // --- life (used by CDatabaseManager)
    [[nodiscard]] bool Create(std::string_view name);
    [[nodiscard]] bool Open();
    bool Close();
    // Saves headers and free lists; those of the indexes wait for closing.
    [[nodiscard]] bool Flush();
    [[nodiscard]] bool SaveDefinition();
    // Each rewrites the rows at once. `RemoveColumn` frees the column's texts and index; with
    // the last column go rows and files.
    [[nodiscard]] bool AddColumn(std::string_view name, ColumnType type, bool indexed,
                                 bool attribute);
    [[nodiscard]] bool RemoveColumn(std::string_view name);
    // The next row gets this id at the least.
    [[nodiscard]] bool SkipRowIdsBelow(int64_t rowId);
    [[nodiscard]] bool DeleteFiles();
    // True when something deleted still takes room in a file.
    bool NeedsCompaction() const;
    // Rewrites one store after another without what is deleted, each in a bracket of its own.
    [[nodiscard]] bool RemoveDeleted();

    // --- rows
    // The new row's id; -1 on failure. Columns not set get their defaults.
    int64_t AddRow(const CTableRowUpdateInfo& row);
    // Adds a row under the id of one that was deleted, which it takes from `row`. False also when
    // that id is in use or was never given.
    [[nodiscard]] bool RestoreRow(const CTableRowUpdateInfo& row);
    // Writes the set columns of an existing row; texts that are replaced are freed.
    [[nodiscard]] bool UpdateRow(const CTableRowUpdateInfo& row);
    [[nodiscard]] bool DeleteRow(int64_t rowId);

    // --- reading
    int32_t Number() const { return m_number; }
    const CKeelString& Name() const { return m_name; }
    const std::string& DefinitionPath() const { return m_definitionPath; }
    const std::vector<CTableColumn>& Columns() const { return m_columns; }
    // Null when the table has no such column. Names compare exactly.
    const CTableColumn* FindColumn(std::string_view name) const;
    const CTableColumn* FindColumnById(int64_t columnId) const;

    int64_t RowCount() const;
    bool RowExists(int64_t rowId) const;
    // Row ids in order of creation; stops when the visitor returns false.
    void WalkRows(const std::function<bool(int64_t rowId)>& visit) const;
    // Where the column's value lies in a record of that many bytes; -1 when it is skipped,
    // lies between skipped ones, or the record is too short.
    int64_t OffsetIn(size_t recordSize, const CTableColumn& column) const;
    // Whether records hold bytes of skipped columns.
    bool HasSkippedValues() const;
    // Fills `record` with the row's bytes. False: no such row or unreadable.
    [[nodiscard]] bool ReadRecord(int64_t rowId, std::vector<uint8_t>& record) const;
    // The column's value. Numbers of indexes that are loaded come from memory. False: no
    // such row, or its bytes or text cannot be read.
    [[nodiscard]] bool ReadValue(int64_t rowId, const CTableColumn& column,
                                 CTableRowUpdateInfoValue& value) const;
    // Numbers of a column that is no text, of many rows, as an index keeps them (CIndexManager:
    // Keys): out of the index when it is loaded or loading it pays. False: a row is not there,
    // or its bytes cannot be read.
    [[nodiscard]] bool ReadKeys(std::span<const int64_t> rows, const CTableColumn& column,
                                std::vector<int64_t>& keys) const;
    // ReadValue out of a record that was read before.
    [[nodiscard]] bool ValueFromRecord(std::span<const uint8_t> record, const CTableColumn& column,
                                       CTableRowUpdateInfoValue& value) const;
    int32_t RecordSize() const;

    // Checks texts, rows and indexes; where it stops, `detail` says what and where.
    IntegrityCode Verify(IntegrityDetail& detail) const;
    // Makes every index anew from the rows.
    [[nodiscard]] bool RebuildIndexes();
    // Brings the records of the column's index into memory; one that is damaged is made anew
    // from the rows, also while only reading. False: the column has none, or neither worked;
    // then nobody knows what the index holds.
    [[nodiscard]] bool LoadIndex(const CTableColumn& column) const;
    // Files of indexes that were missing or damaged and were made anew from the rows.
    const std::vector<std::string>& RebuiltIndexes() const { return m_rebuiltIndexes; }
    // The file that made Open fail.
    const std::string& FailedFile() const { return m_failedFile; }

    // Every file the table owns, without folder, those that exist.
    void ListFiles(std::vector<std::string>& names) const;

    const CDictionaryManager& Rows() const { return m_rows; }
    const CDataStore& RowData() const { return m_rowData; }
    const CTextManager& Texts() const { return m_texts; }

private:
    void SetStorePaths();
    void NoteSkippedColumns(const TableDefinition& definition);
    bool IsRecordSize(int64_t size) const;
    // A row added or deleted would be missing, or left over, for whoever knows the types.
    bool KeepsRows() const { return m_hasSkippedValues || !m_skippedIndexes.empty(); }
    std::span<uint8_t> FieldOf(const CTableColumn& column, std::span<uint8_t> record) const;
    [[nodiscard]] bool OpenStores();
    [[nodiscard]] bool ApplyDefinition(const TableDefinition& definition);
    [[nodiscard]] bool OpenIndexes(const TableDefinition& definition);
    // Offsets, record size and names, after the columns changed.
    void LayOutRecord();
    int64_t NextColumnId() const;
    // `field`: the column's bytes in a record.
    [[nodiscard]] bool ValueFromField(ColumnType type, std::span<const uint8_t> field,
                                      CTableRowUpdateInfoValue& value) const;
    [[nodiscard]] bool SetTextInField(const CKeelString& text, std::span<uint8_t> field);
    [[nodiscard]] bool ChangeTextInField(const CKeelString& text, std::span<uint8_t> field);
    [[nodiscard]] bool DeleteText(int64_t textId);
    // `give(position)`: the id of the row whose record is there; negative fails.
    template <typename Give>
    int64_t WriteNewRow(const CTableRowUpdateInfo& row, Give give);
    [[nodiscard]] bool WriteValue(ColumnType type, const CTableRowUpdateInfoValue& value,
                                  std::span<uint8_t> field);
    [[nodiscard]] bool MakeIndex(CTableColumn& column);
    [[nodiscard]] bool DeleteTextsOf(const CTableColumn& column);
    // The row records as `convert` makes them of the old ones of `oldSize` bytes, all at once.
    using ConvertRecord = std::function<void(std::span<const uint8_t> from, std::span<uint8_t> to)>;
    [[nodiscard]] bool RewriteRows(int32_t oldSize, const ConvertRecord& convert);
    [[nodiscard]] bool ConvertRecords(int32_t oldSize, const ConvertRecord& convert,
                                      std::vector<std::vector<uint8_t>>& records) const;
    // With the column at their end, holding its default; without it.
    [[nodiscard]] bool RewriteRowsWith(const CTableColumn& added, int32_t oldSize);
    [[nodiscard]] bool RewriteRowsWithout(const CTableColumn& removed, int32_t oldSize);
    // The row's record in the column's index is at hand, or the index is loaded.
    [[nodiscard]] bool ReachIndex(const CTableColumn& column, int64_t rowId) const;
    [[nodiscard]] bool RebuildIndex(const CTableColumn& column) const;
    // False: a row could not be read, though it is not damaged, or the index not written.
    [[nodiscard]] bool FillIndex(const CTableColumn& column) const;
    // For a value that cannot be had: whether its bytes are wrong or missing. False: they
    // could not be read.
    bool IsDamaged(int64_t rowId, const CTableColumn& column) const;

    CJournal& m_journal;
    CReentrantLock& m_lock;
    std::string m_folder;
    std::string m_definitionPath;
    int32_t m_number;
    CKeelString m_name;
    std::vector<CTableColumn> m_columns;
    CKeelMap m_columnsByName;  // of CTableColumn, the first of a name
    CIndexManagerContainer m_indexes;
    int32_t m_recordSize = 0;      // of a record without skipped values
    int32_t m_skippedColumns = 0;  // columns of unknown types
    bool m_hasSkippedValues = false;
    std::vector<std::string> m_skippedIndexes;  // paths
    bool m_storesOpen = false;
    CDictionaryManager m_rows;
    CDataStore m_rowData;
    CTextManager m_texts;
    mutable std::vector<std::string> m_rebuiltIndexes;
    std::string m_failedFile;
};

}  // namespace quillon
