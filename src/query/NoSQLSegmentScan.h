#pragma once

#include <cstdint>
#include <vector>

#include "query/NoSQLWhereClauseSegment.h"

namespace quillon {

// One segment on its way through one table: which road leads to its rows, what that costs, and
// whether a given row passes.
//
//   Roads      seek: the keys looked for are known, and an index (or the row dictionary) has
//              them. range: an index with the attribute flag, searched by its order. walk: every
//              key of an index without the flag, every row identifier, and for texts the text of
//              every row in the index. read: the column is not indexed.
//   Ownership  Borrows segment and table for its short life.
class CNoSQLSegmentScan {
public:
    CNoSQLSegmentScan(const CNoSQLWhereClauseSegment& segment, const CTableManager& table);

    // No row can pass: see CNoSQLWhereClauseSegment::CanMatch; or the column or its index is lost.
    bool MatchesNothing() const { return m_road == Road::None; }

    // The index cannot be loaded, so which rows pass is not known.
    bool Failed() const { return m_failed; }

    // Takes over the work of another segment that must hold as well. Only ranges of one index
    // can: together they are a narrower range. False: nothing is changed.
    bool Absorb(const CNoSQLSegmentScan& other);

    // What collecting all rows costs, and what testing one does, in tests of a key in memory.
    int64_t CollectCost() const { return m_collectCost; }
    int64_t TestCost() const { return m_testCost; }

    // Appends the rows that pass, in no order; a row may come twice.
    void Collect(std::vector<int64_t>& rows);
    // Drops the rows that do not pass. The rows exist in the table.
    void Filter(std::vector<int64_t>& rows);

    // Rows that had to be read to be tested and could not.
    int64_t UnreadableRows() const { return m_unreadableRows; }

private:
    enum class Road { None, Seek, Range, Walk, Read };
    struct KeyRange {
        int64_t lowest;
        int64_t highest;
    };

    void ChooseRoad();
    void FindKeys();
    void FindRanges();
    void AddIntegerRange(int64_t value, int64_t least, int64_t greatest);
    void AddDateTimeRange(uint64_t value);
    void AddDoubleRange(double value);
    void EstimateCosts();
    void CollectFromRows(std::vector<int64_t>& rows);
    void CollectFromIndex(std::vector<int64_t>& rows);
    bool Test(int64_t rowId);
    bool MatchesKey(int64_t key) const;
    bool TestByReading(int64_t rowId);

    const CNoSQLWhereClauseSegment& m_segment;
    const CTableManager& m_table;
    const CTableColumn* m_column = nullptr;  // null for the row identifier
    const CIndexManager* m_index = nullptr;  // null for the row identifier and on road Read
    Road m_road = Road::None;
    bool m_failed = false;
    std::vector<int64_t> m_keys;     // road Seek; of a text its hash, which does not decide
    std::vector<KeyRange> m_ranges;  // road Range
    std::vector<const CNoSQLWhereClauseSegment*> m_absorbed;
    int64_t m_textHash = 0;
    int64_t m_collectCost = 0;
    int64_t m_testCost = 1;
    int64_t m_unreadableRows = 0;
    CTableRowUpdateInfoValue m_read;  // reused by TestByReading
};

}  // namespace quillon
