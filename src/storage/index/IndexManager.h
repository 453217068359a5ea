#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "foundation/FileInterface.h"
#include "foundation/ReentrantLock.h"
#include "storage/index/IndexFormat.h"
#include "storage/index/IndexRows.h"
#include "storage/index/OrderedRows.h"
#include "storage/journal/BracketParticipant.h"
#include "storage/tables/ColumnType.h"

namespace quillon {

class CJournal;

// What opening or loading an index came to.
enum class IndexLoad {
    Ok,
    Damaged,  // missing, unreadable, no index, cut off, or a row twice: to be made anew
    NewerVersion,
};

// The index of one column: an append-only file of (row id, key) records and
// arrays in memory built from it when they are first asked for.
//
//   Loading    Opening reads the header only; the first call that needs the records loads
//              them. Where that fails the index answers as an empty one and takes no change:
//              whoever must not mistake "not loaded" for "none" calls Load() first. Adding a
//              new row, and mostly removing or updating one, needs no loading.
//   Keys       A column value as a 64-bit number: integers and booleans
//              themselves, doubles and date-times their bits, texts their hash.
//              A hash narrows a search only: callers confirm the text.
//   Order      Searches look at the rows' keys, skipping pages of rows that hold no such key.
//              Once that has cost as much as sorting, rows are kept sorted by value (doubles
//              numerically) and row id, and searched by halving.
//   Header     Its counts are written when the index is closed: counting keys takes time.
//   Errors     false. std::bad_alloc passes through, but not from Close.
//   Threads    Each public call holds the index's own CReentrantLock.
class CIndexManager final : public CBracketParticipant {
public:
    CIndexManager(CJournal& journal, ColumnType type, bool attribute);
    ~CIndexManager() override;

    // Makes a file that holds only the header.
    [[nodiscard]] bool Create(const std::string& path);
    // Reads the header and compares the size. Stays closed unless Ok.
    [[nodiscard]] IndexLoad Open(const std::string& path);
    // Reads the records unless they are in memory.
    [[nodiscard]] IndexLoad Load() const;
    bool IsLoaded() const;
    // Saves the header.
    bool Close();
    // Rewrites the header with the current counts when they may have changed.
    [[nodiscard]] bool SaveHeader();
    [[nodiscard]] bool DeleteFile();
    // Rewrites the file with live records only; false leaves the bracket to roll back.
    [[nodiscard]] bool Compact();
    // Of an index that is not loaded by the count in its header, which may be behind.
    bool NeedsCompaction() const;

    [[nodiscard]] bool Add(int64_t rowId, int64_t key);
    // Add of a row that is not in the index, new or restored; loads nothing.
    [[nodiscard]] bool AddNew(int64_t rowId, int64_t key);
    // False: the row is not in the index, or the write failed.
    [[nodiscard]] bool Remove(int64_t rowId);
    // Remove and Add in one; nothing is written when the key is the same.
    [[nodiscard]] bool Update(int64_t rowId, int64_t key);
    // The row is in the index, told without loading: of one that is not loaded, false says
    // nothing.
    bool FindsWithoutLoading(int64_t rowId) const;

    bool Attribute() const { return m_attribute; }
    // The flag that the file's header held when it was opened.
    bool AttributeInFile() const;
    ColumnType Type() const { return m_type; }
    int64_t Count() const;
    int64_t DistinctKeys() const;
    int64_t FileSize() const;
    const std::string& Path() const { return m_path; }
    // Searches have cost as much as sorting when they have looked at so many bytes a row; 0
    // sorts at the first one.
    void SortAfter(int64_t bytesARow) { m_sortAfter = bytesARow; }

    // The row's key; false when the row is not in the index.
    bool KeyOf(int64_t rowId, int64_t& key) const;
    // Keys of many rows; fastest in ascending order. False: one of them is not in the index.
    [[nodiscard]] bool KeysOf(std::span<const int64_t> rows, std::vector<int64_t>& keys) const;

    // Rows by key, appended to `rows` in no order.
    void CollectEqual(int64_t key, std::vector<int64_t>& rows) const;
    // Rows whose value lies between two keys, ends included, in no order. Not for texts, whose
    // keys have no meaningful order.
    void CollectRange(int64_t lowest, int64_t highest, std::vector<int64_t>& rows) const;
    // How many rows those look at and give at the most, told without looking at any.
    int64_t EstimateEqual(int64_t key) const;
    int64_t EstimateRange(int64_t lowest, int64_t highest) const;
    // Drops the rows that are not in the index or whose key `keep(key)` refuses.
    template <typename Keep>
    void KeepRows(std::vector<int64_t>& rows, Keep keep) const {
        const CLockScope lock(m_lock);
        (void)Load();
        std::erase_if(rows, [&](int64_t rowId) {
            int64_t value = 0;
            return !m_rows.FindValue(rowId, value) || !keep(KeyOfValue(value));
        });
    }
    // A key as a number that orders as the values do: doubles by magnitude within their sign.
    // Flipping the lower bits of negative ones does that, and doing it twice undoes it.
    int64_t SortValue(int64_t key) const {
        return m_type == ColumnType::Double ? packing::SortedBits(key) : key;
    }
    // Every (key, row id) pair; stops when the visitor returns false.
    void Walk(const std::function<bool(int64_t key, int64_t rowId)>& visit) const;

    bool OnBracketRolledBack() override;
    bool OnBracketCommitted() override;

private:
    static constexpr int64_t kSortedBytes = 512;  // a row, looked at in the time that it is sorted

    struct Record : IndexRecord {
        uint32_t number = 0;  // place in the file, from 1
    };
    using KeyCounts = std::vector<std::pair<int64_t, int64_t>>;  // key, live records that hold it
    // What the header says, and what it does not say yet: `changes` tells by how much a key
    // has become more or less frequent since, as long as they are few.
    struct HeaderState {
        bool stale = false;
        bool isCounted = false;
        int64_t distinct = 0;
        int64_t live = 0;
        std::map<int64_t, int64_t> changes;
    };

    [[nodiscard]] bool WriteHeader(int64_t distinct);
    [[nodiscard]] IndexLoad OpenFile(HeaderState& header) const;
    bool IsOpenAgain() const;
    [[nodiscard]] IndexLoad ReadHeader(HeaderState& header) const;
    [[nodiscard]] bool LoadRecords() const;
    // Visits the file's records in chunks. False: a read failed, or the visitor said so.
    template <typename Visit>
    [[nodiscard]] bool ScanFile(Visit visit) const;
    [[nodiscard]] bool IsReady() const { return Load() == IndexLoad::Ok; }
    void Touch();
    [[nodiscard]] bool ReadRecord(uint32_t number, Record& record) const;
    bool FindInFile(int64_t rowId, Record& record) const;
    bool FindByHalving(int64_t rowId, Record& record) const;
    bool FindAtEnd(int64_t rowId, Record& record) const;
    bool FindRecord(int64_t rowId, Record& record) const;
    [[nodiscard]] bool MarkRecordDeleted(const Record& record);
    [[nodiscard]] bool AppendRecord(int64_t rowId, int64_t key);
    void NoteChange(int64_t key, int64_t change);
    // Distinct keys now, by the shortest way.
    bool CountDistinct(int64_t& distinct) const;
    bool CountChanged(int64_t& distinct) const;
    // Fills in how often each key is there now. False: a read failed.
    [[nodiscard]] bool CountKeys(KeyCounts& counts) const;
    bool OrderPays() const;
    void MakeOrdered() const;
    void NoteInserted(int64_t rowId, int64_t key);
    void NoteErased(int64_t rowId, int64_t key);
    int64_t KeyOfValue(int64_t value) const { return SortValue(value); }
    int64_t ValueOf(int64_t rowId) const;
    void Between(int64_t lowest, int64_t highest, COrderedRows::Position& from,
                 COrderedRows::Position& to) const;
    bool HasNeighbourOfSameKey(int64_t rowId, int64_t key) const;
    void ForgetRecords() const;

    CJournal& m_journal;
    mutable CFileInterface m_file;
    std::string m_path;
    ColumnType m_type;
    bool m_attribute;
    mutable CReentrantLock m_lock;
    mutable bool m_loaded = false;
    mutable CIndexRows m_rows;  // by SortValue
    mutable COrderedRows m_order;
    mutable bool m_orderReady = false;
    mutable int64_t m_orderDistinct = 0;  // distinct keys, kept while m_orderReady
    mutable int64_t m_looked = 0;         // bytes that searches looked at since loading
    int64_t m_sortAfter = kSortedBytes;
    HeaderState m_header;
    HeaderState m_headerBefore;            // m_header when the bracket began
    bool m_inUse = false;                  // opened or made, and not closed since
    mutable bool m_fileAttribute = false;  // the flag as the file's header has it
    mutable int64_t m_recordCount = 0;     // records in the file, deleted ones included
    mutable int64_t m_liveCount = 0;       // until they are loaded, what the header says
    bool m_touched = false;                // changed in the open bracket
};

}  // namespace quillon
