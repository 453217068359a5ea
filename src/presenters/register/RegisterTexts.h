#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "presenters/register/RegisterRows.h"

namespace quillon {

// Memos and kinds of electronic payment of a register's rows, read when they are first wanted
// and kept. They lie row by row in the files, so that reading those of a large register takes
// longer than anything else in it; an idle program reads them ahead (ReadSome).
//
//   Unreadable  A text that cannot be read is empty.
//   Views       Good until the next call that is not const, or that reads a row.
//   Errors      std::bad_alloc.
//   Threads     One.
class CRegisterTexts {
public:
    // Borrows both, which must outlive it.
    CRegisterTexts(CQuillonDatabaseInterface& database, const CRegisterRows& rows)
        : m_database(database), m_rows(rows) {}

    void Clear();
    // What a row holds now.
    void Put(uint32_t slot, const CTransactionEntry& row);

    std::string_view Memo(uint32_t slot);
    // Folded: see FoldCase.
    std::string_view FoldedMemo(uint32_t slot);
    const std::string& Electronic(uint32_t slot);

    // The same without reading: empty where the row was not read yet.
    std::string_view FoldedMemoIfRead(uint32_t slot) const;
    const std::string& ElectronicIfRead(uint32_t slot) const;

    // Reads up to so many rows that were not read yet, in the order of the files. True: all
    // are read.
    bool ReadSome(size_t count);
    bool HasAll() const { return m_read >= m_rows.SlotCount(); }
    // Slots that ReadSome may have to read.
    size_t LeftToRead() const { return m_rows.SlotCount() - m_read; }

private:
    struct Place {
        uint64_t offset = 0;
        uint32_t size = 0;
        uint32_t foldedAt = 0;  // behind the offset: 0 where folding changes nothing
        uint32_t foldedSize = 0;
        uint16_t electronic = kUnread;
    };
    static constexpr uint16_t kUnread = UINT16_MAX;
    static constexpr size_t kRowsARead = 4096;

    const Place& Reach(uint32_t slot);
    bool HasRead(uint32_t slot) const {
        return slot < m_places.size() && m_places[slot].electronic != kUnread;
    }
    void ReadSlots(const std::vector<uint32_t>& slots);
    void Keep(uint32_t slot, std::string_view memo, std::string_view electronic);
    uint16_t CodeOf(std::string_view electronic);

    CQuillonDatabaseInterface& m_database;
    const CRegisterRows& m_rows;
    std::vector<Place> m_places;  // by slot, as far as they were wanted
    std::string m_pool;           // memos; the folded one follows where it differs
    std::vector<std::string> m_kinds{std::string()};
    size_t m_read = 0;  // slots from the first on that are read
};

}  // namespace quillon
