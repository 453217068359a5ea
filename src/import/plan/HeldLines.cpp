#include "import/plan/HeldLines.h"

#include <cmath>

#include "finance/database/QuillonDatabaseInterface.h"
#include "finance/ledger/Balance.h"

namespace quillon {

namespace {

bool SameMoney(double a, double b) {
    return std::fabs(a - b) < kHalfCent;
}

}  // namespace

bool CHeldLines::Load(CQuillonDatabaseInterface& database, const CAccountEntry& account) {
    m_lines.clear();
    COwnedList<CTransactionEntry> transactions;
    if (!database.ListTransactionsWithStatementIds(account.id, transactions)) return false;
    for (const CTransactionEntry& stored : transactions) {
        m_lines.try_emplace(stored.fitId, Line{stored.serviceDate,
                                               BalanceEffect(stored.transactionType, stored.amount,
                                                             account.accountType),
                                               stored.id});
    }
    return true;
}

CHeldLines::Answer CHeldLines::MeetPlain(const ImportRecord& record) const {
    const auto found = record.fitId == 0 ? m_lines.end() : m_lines.find(record.fitId);
    if (found == m_lines.end()) return {};
    return {Meets::Held, found->second.row, false};
}

CHeldLines::Answer CHeldLines::Meet(ImportRecord& record) {
    if (record.fitId == 0) return {};
    if (record.saidBefore) return {Meets::Earlier, kNoRow, false};
    if (record.ownId != 0) {
        const auto own = m_lines.find(record.ownId);
        if (own != m_lines.end()) return {Meets::Held, own->second.row, false};
    }
    const auto found = m_lines.find(record.fitId);
    if (found != m_lines.end()) {
        const Line& line = found->second;
        const bool isEarlier = line.row == kNoRow;
        const bool sameMoney = SameMoney(line.amount, record.amount);
        const bool same = line.date == record.date && sameMoney;
        const bool differentLine = record.idShared && (isEarlier || !same);
        if (!differentLine) {
            const bool differs = !sameMoney || (record.dateRead && line.date != record.date);
            return {isEarlier ? Meets::Earlier : Meets::Held, line.row, differs};
        }
        record.fitId = record.ownId;
    }
    m_lines[record.fitId] = {record.date, record.amount, kNoRow};
    return {};
}

}  // namespace quillon
