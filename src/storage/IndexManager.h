#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "foundation/FileInterface.h"
#include "foundation/ReentrantLock.h"
#include "storage/BracketParticipant.h"
#include "storage/ColumnType.h"
#include "storage/OrderedRows.h"
#include "storage/RowMap.h"

namespace quillon {

class CJournal;

// The index of one column: an append-only file of (row id, key) records and
// arrays in memory built from it.
//
//   Keys       A column value as a 64-bit number: integers and booleans
//              themselves, doubles and date-times their bits, texts their hash.
//              A hash narrows a search only: callers confirm the text.
//   Order      Rows are kept sorted by value (doubles numerically) and, among
//              equal values, by row id; the sorting is done at the first search.
//   Errors     false. std::bad_alloc passes through, but not from Close.
//   Threads    Each public call holds the index's own CReentrantLock.
class CIndexManager final : public CBracketParticipant {
public:
    CIndexManager(CJournal& journal, ColumnType type, bool attribute);
    ~CIndexManager() override;

    // Makes a file that holds only the header.
    [[nodiscard]] bool Create(const std::string& path);
    // Loads the records. False: not an index, a newer version, a damaged or cut-off record.
    [[nodiscard]] bool Open(const std::string& path);
    bool Close();
    // Rewrites the header with the current counts.
    [[nodiscard]] bool Flush();
    [[nodiscard]] bool DeleteFile();
    // Rewrites the file with live records only; false leaves the bracket to roll back.
    [[nodiscard]] bool Compact();
    bool NeedsCompaction() const;

    [[nodiscard]] bool Add(int64_t rowId, int64_t key);
    [[nodiscard]] bool Remove(int64_t rowId);
    // Remove and Add in one; nothing is written when the key is the same.
    [[nodiscard]] bool Update(int64_t rowId, int64_t key);

    bool Attribute() const { return m_attribute; }
    // The flag that the file's header held when it was opened.
    bool AttributeInFile() const;
    ColumnType Type() const { return m_type; }
    int64_t Count() const;
    int64_t DistinctKeys() const;
    int64_t FileSize() const;
    const std::string& Path() const { return m_path; }

    // The row's key; false when the row is not in the index.
    bool KeyOf(int64_t rowId, int64_t& key) const;

    // Rows by key, ascending by row id. Appends to `rows`.
    void CollectEqual(int64_t key, std::vector<int64_t>& rows) const;
    int64_t CountEqual(int64_t key) const;
    // Rows whose value lies between two keys, ends included, ordered by value and row id.
    // Not for texts, whose keys have no meaningful order.
    void CollectRange(int64_t lowest, int64_t highest, std::vector<int64_t>& rows) const;
    int64_t CountRange(int64_t lowest, int64_t highest) const;
    // Drops the rows that are not in the index or whose key `keep(key)` refuses.
    template <typename Keep>
    void KeepRows(std::vector<int64_t>& rows, Keep keep) const {
        const CLockScope lock(m_lock);
        std::erase_if(rows, [&](int64_t rowId) {
            const Entry* entry = m_entries.Find(rowId);
            return !entry || !keep(entry->key);
        });
    }
    // A key as a number that orders as the values do.
    int64_t SortValue(int64_t key) const;
    // Every (key, row id) pair; stops when the visitor returns false.
    void Walk(const std::function<bool(int64_t key, int64_t rowId)>& visit) const;

    bool OnBracketRolledBack() override;
    bool OnBracketCommitted() override;

private:
    struct Entry {
        int64_t key = 0;
        uint32_t record = 0;  // number of the record in the file, from 1; 0 for none
    };

    [[nodiscard]] bool WriteHeader();
    [[nodiscard]] bool Load();
    [[nodiscard]] bool ReadHeader();
    [[nodiscard]] bool LoadChunk(std::span<const uint8_t> bytes, int64_t firstRecord);
    void Touch();
    [[nodiscard]] bool MarkRecordDeleted(uint32_t record);
    [[nodiscard]] bool AppendRecord(int64_t rowId, int64_t key);
    void MakeOrdered() const;
    void NoteInserted(int64_t rowId, int64_t key);
    void NoteErased(int64_t rowId, int64_t key);
    int64_t SortValueOf(int64_t rowId) const;
    void Between(int64_t lowest, int64_t highest, COrderedRows::Position& from,
                 COrderedRows::Position& to) const;
    bool HasNeighbourOfSameKey(int64_t rowId, int64_t key) const;
    void ResetMemory();

    CJournal& m_journal;
    CFileInterface m_file;
    std::string m_path;
    ColumnType m_type;
    bool m_attribute;
    mutable CReentrantLock m_lock;
    CRowMap<Entry> m_entries;
    mutable COrderedRows m_order;
    mutable bool m_orderReady = false;
    mutable int64_t m_distinct = 0;  // distinct keys, kept while m_orderReady
    bool m_headerStale = false;
    bool m_fileAttribute = false;  // the flag as the file's header has it
    int64_t m_recordCount = 0;     // records in the file, deleted ones included
    int64_t m_liveCount = 0;
    bool m_touched = false;  // changed in the open bracket
};

}  // namespace quillon
