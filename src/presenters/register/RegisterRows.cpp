#include "presenters/register/RegisterRows.h"

#include <algorithm>
#include <utility>

#include "finance/ledger/Balance.h"

namespace quillon {

namespace {

void TakeNumbers(TransactionNumbers&& numbers, AccountType account, RegisterData& data) {
    data.ids = std::move(numbers.ids);
    data.dates = std::move(numbers.dates);
    data.payees = std::move(numbers.payees);
    data.categories = std::move(numbers.categories);
    data.types = std::move(numbers.types);
    data.checks = std::move(numbers.checks);
    // Amounts become effects where they lie.
    data.effects = std::move(numbers.amounts);
    for (size_t i = 0; i < data.effects.size(); ++i) {
        const double effect =
            BalanceEffect(static_cast<TransactionType>(data.types[i]), data.effects[i], account);
        data.effects[i] = effect == 0.0 ? 0.0 : effect;  // never -0
    }
}

}  // namespace

void CRegisterRows::Clear() {
    m_data = {};
    m_held.clear();
    m_joined.clear();
    m_loaded = 0;
    m_order.Build();
}

bool CRegisterRows::Load(CQuillonDatabaseInterface& database, const CAccountEntry& account) {
    Clear();
    m_type = account.accountType;
    TransactionNumbers numbers;
    const bool read = database.ReadTransactionNumbers(account.id, numbers);
    if (read) TakeNumbers(std::move(numbers), m_type, m_data);
    m_loaded = m_data.ids.size();
    m_held.assign(m_loaded, 1);
    m_order.Build();
    return read;
}

uint32_t CRegisterRows::FindEver(int64_t rowId) const {
    const auto end = m_data.ids.begin() + static_cast<std::ptrdiff_t>(m_loaded);
    const auto place = std::lower_bound(m_data.ids.begin(), end, rowId);
    if (place != end && *place == rowId) return static_cast<uint32_t>(place - m_data.ids.begin());
    const auto joined = m_joined.find(rowId);
    return joined == m_joined.end() ? kNoSlot : joined->second;
}

uint32_t CRegisterRows::Find(int64_t rowId) const {
    const uint32_t slot = FindEver(rowId);
    return slot != kNoSlot && Holds(slot) ? slot : kNoSlot;
}

void CRegisterRows::Set(uint32_t slot, const CTransactionEntry& row) {
    const double effect = BalanceEffect(row.transactionType, row.amount, m_type);
    m_data.dates[slot] = row.serviceDate;
    m_data.payees[slot] = row.payeeId;
    m_data.categories[slot] = row.categoryId;
    m_data.types[slot] = static_cast<int32_t>(row.transactionType);
    m_data.checks[slot] = row.check;
    m_data.effects[slot] = effect == 0.0 ? 0.0 : effect;
}

uint32_t CRegisterRows::Put(const CTransactionEntry& row) {
    uint32_t slot = FindEver(row.id);
    if (slot == kNoSlot) {
        slot = static_cast<uint32_t>(SlotCount());
        m_data.ids.push_back(row.id);
        for (auto* column : {&m_data.dates, &m_data.payees, &m_data.categories}) {
            column->push_back(0);
        }
        for (auto* column : {&m_data.types, &m_data.checks}) column->push_back(0);
        m_data.effects.push_back(0.0);
        m_held.push_back(0);
        m_joined[row.id] = slot;
    }
    if (Holds(slot)) m_order.Erase(slot);
    Set(slot, row);
    m_held[slot] = 1;
    m_order.Insert(slot);
    return slot;
}

void CRegisterRows::Remove(uint32_t slot) {
    m_order.Erase(slot);
    m_held[slot] = 0;
}

}  // namespace quillon
