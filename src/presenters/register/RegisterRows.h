#pragma once

#include <unordered_map>

#include "finance/database/QuillonDatabaseInterface.h"
#include "presenters/register/RegisterOrder.h"

namespace quillon {

// The rows of one account, read from the indexes at once and kept up to date row by row.
//
//   Errors   false, with no rows; std::bad_alloc passes through.
//   Threads  One.
class CRegisterRows {
public:
    static constexpr uint32_t kNoSlot = UINT32_MAX;

    CRegisterRows() = default;
    CRegisterRows(const CRegisterRows&) = delete;
    CRegisterRows& operator=(const CRegisterRows&) = delete;

    [[nodiscard]] bool Load(CQuillonDatabaseInterface& database, const CAccountEntry& account);
    void Clear();

    const RegisterData& Data() const { return m_data; }
    const CRegisterOrder& Order() const { return m_order; }
    // Slots ever given: none is as large.
    size_t SlotCount() const { return m_data.ids.size(); }
    bool Holds(uint32_t slot) const { return m_held[slot] != 0; }
    // kNoSlot: the account has no such row.
    uint32_t Find(int64_t rowId) const;

    // A row that was changed, or a new one. Its slot.
    uint32_t Put(const CTransactionEntry& row);
    void Remove(uint32_t slot);

private:
    uint32_t FindEver(int64_t rowId) const;
    void Set(uint32_t slot, const CTransactionEntry& row);

    RegisterData m_data;
    CRegisterOrder m_order{m_data};
    std::vector<uint8_t> m_held;
    AccountType m_type = AccountType::Checking;
    size_t m_loaded = 0;                             // slots in ascending order of identifiers
    std::unordered_map<int64_t, uint32_t> m_joined;  // slots behind them
};

}  // namespace quillon
