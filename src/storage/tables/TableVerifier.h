#pragma once

#include <cstdint>
#include <vector>

#include "storage/tables/IntegrityCode.h"
#include "storage/tables/IntegrityDetail.h"
#include "storage/tables/TableManager.h"

namespace quillon {

// Code 7 when live blocks overlap one another or are on the free list, 6 when one lies outside
// the file; `detail` then says where.
IntegrityCode CheckStoreBlocks(const CDictionaryManager& dictionary, const CDataStore& data,
                               IntegrityDetail& detail);

// The integrity check of one table: indexes against rows first, then row records, texts and
// free room.
//
//   Reads      only, but for an index that cannot be read: looking at it makes it anew, as any
//              other first use does (CTableManager::LoadIndex).
//   Errors     An IntegrityCode. std::bad_alloc passes through.
//   Ownership  Borrows the table, which must outlive it.
//   Threads    Callers hold the table's lock.
class CTableVerifier {
public:
    explicit CTableVerifier(const CTableManager& table) : m_table(table) {}

    // The first code that is not Ok; `detail` then names file and place.
    IntegrityCode Run(IntegrityDetail& detail);

private:
    IntegrityCode CheckIndexes();
    IntegrityCode CheckIndex(const CTableColumn& column);
    IntegrityCode CheckIndexEntry(const CTableColumn& column, int64_t key, int64_t rowId);
    IntegrityCode CheckRows();
    IntegrityCode CheckRow(int64_t rowId, const std::vector<uint8_t>& record);
    IntegrityCode CheckTextId(int64_t textId, int64_t rowId, const CTableColumn& column);
    IntegrityCode CheckOrphanTexts();
    IntegrityCode CheckBlocks(const CDictionaryManager& dictionary, const CDataStore& data);
    IntegrityCode Report(IntegrityCode code, IntegrityDetail detail);

    const CTableManager& m_table;
    std::vector<int64_t> m_textIds;  // seen in rows
    IntegrityDetail m_detail;
};

}  // namespace quillon
