#include "import/plan/HeldLines.h"

#include <bit>
#include <cmath>

#include "finance/database/QuillonDatabaseInterface.h"
#include "finance/ledger/Balance.h"

namespace quillon {

namespace {

bool SameMoney(double a, double b) {
    return std::fabs(a - b) < kHalfCent;
}

}  // namespace

bool CHeldLines::Load(CQuillonDatabaseInterface& database, const CAccountEntry& account,
                      std::span<const DeletedLine> deleted) {
    m_ofFile.clear();
    m_deleted.clear();
    for (const DeletedLine& line : deleted) {
        if (line.fitId != 0) m_deleted[line.fitId] = {line.date, line.effect, kNoRow, false};
    }
    m_accountType = account.accountType;
    if (!database.ReadStatementIdentities(account.id, m_held)) return false;
    const size_t count = m_held.ids.size();
    m_slots.assign(std::bit_ceil(2 * count + 1), 0);
    for (size_t i = 0; i < count; ++i) {
        uint32_t& slot = m_slots[SlotOf(m_held.fitIds[i])];
        if (slot == 0 || IsEarlierInRegister(i, slot - 1)) slot = static_cast<uint32_t>(i + 1);
    }
    return true;
}

size_t CHeldLines::SlotOf(int64_t fitId) const {
    constexpr uint64_t kGolden = 0x9E3779B97F4A7C15;  // spreads numbers that follow each other
    const size_t mask = m_slots.size() - 1;
    size_t slot = static_cast<size_t>(static_cast<uint64_t>(fitId) * kGolden >> 32) & mask;
    while (m_slots[slot] != 0 && m_held.fitIds[m_slots[slot] - 1] != fitId)
        slot = (slot + 1) & mask;
    return slot;
}

// Of rows with one identifier the first in the register counts.
bool CHeldLines::IsEarlierInRegister(size_t a, size_t b) const {
    return m_held.dates[a] < m_held.dates[b];
}

bool CHeldLines::Find(int64_t fitId, Line& line) const {
    const auto ofFile = m_ofFile.find(fitId);
    if (ofFile != m_ofFile.end()) {
        line = ofFile->second;
        return true;
    }
    const size_t place = m_slots.empty() ? 0 : m_slots[SlotOf(fitId)];
    if (place == 0) {
        const auto deleted = m_deleted.find(fitId);
        if (deleted != m_deleted.end()) line = deleted->second;
        return deleted != m_deleted.end();
    }
    const size_t i = place - 1;
    line = {m_held.dates[i],
            BalanceEffect(static_cast<TransactionType>(m_held.types[i]), m_held.amounts[i],
                          m_accountType),
            m_held.ids[i], false};
    return true;
}

CHeldLines::Answer CHeldLines::MeetPlain(const ImportRecord& record) const {
    Line line;
    if (record.fitId == 0 || !Find(record.fitId, line)) return {};
    return {Meets::Held, line.row, false};
}

CHeldLines::Answer CHeldLines::Meet(ImportRecord& record) {
    if (record.fitId == 0) return {};
    if (record.saidBefore) return {Meets::Earlier, kNoRow, false};
    Line line;
    if (record.ownId != 0 && Find(record.ownId, line)) return {Meets::Held, line.row, false};
    if (Find(record.fitId, line)) {
        const bool isEarlier = line.isOfFile;
        const bool sameMoney = SameMoney(line.amount, record.amount);
        const bool same = line.date == record.date && sameMoney;
        const bool differentLine = record.idShared && (isEarlier || !same);
        if (!differentLine) {
            const bool differs = !sameMoney || (record.dateRead && line.date != record.date);
            return {isEarlier ? Meets::Earlier : Meets::Held, line.row, differs};
        }
        record.fitId = record.ownId;
    }
    m_ofFile[record.fitId] = {record.date, record.amount, kNoRow, true};
    return {};
}

}  // namespace quillon
