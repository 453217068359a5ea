#include "finance/history/ImportBatch.h"

#include <algorithm>
#include <bit>
#include <new>
#include <optional>
#include <span>
#include <unordered_set>

#include "finance/history/HistoryStep.h"
#include "finance/ledger/Balance.h"

namespace quillon {
namespace {

constexpr size_t kRowsACommit = 5000;

bool IsImport(const HistoryPart& part) {
    return part.kind == static_cast<uint16_t>(ActionKind::Import);
}

int64_t NumberIn(const HistoryTable& table, const std::vector<HistoryValue>& values,
                 std::string_view column) {
    const std::optional<size_t> place = table.FindColumn(column);
    return place ? values[*place].bits : 0;
}

// An entry that an import met, and what it changed of it.
struct MetEntry {
    int64_t row = kNoRow;
    std::optional<int64_t> fitId;  // before
    std::optional<int64_t> check;
};

std::optional<int64_t> ChangedFrom(const HistoryTable& table, const HistoryChange& change,
                                   std::string_view column) {
    const std::optional<size_t> place = table.FindColumn(column);
    if (!place || !change.isSet[*place]) return {};
    return change.before[*place].bits;
}

// What an import left behind, and what of it can go.
class CTakeBack {
public:
    CTakeBack(CLedger& ledger, BatchRows which, BatchTakenBack& result)
        : m_ledger(ledger),
          m_database(ledger.Database()),
          m_all(which == BatchRows::All),
          m_result(result) {}

    HistoryStatus Survey(int64_t number);
    LedgerStatus Run();

private:
    void SurveyChange(const HistoryPart& part, const HistoryChange& change);
    void SurveyAdded(const std::string& table, int64_t row, bool isAsLeft);
    template <class Work>
    LedgerStatus InBatch(Work work);
    LedgerStatus RestoreMet();
    LedgerStatus RemoveNames();

    CLedger& m_ledger;
    CQuillonDatabaseInterface& m_database;
    bool m_all;
    BatchTakenBack& m_result;
    std::optional<CHistoryStep> m_step;  // of the part at hand
    std::vector<int64_t> m_rows;         // transactions to be removed
    std::vector<MetEntry> m_met;
    std::vector<int64_t> m_payees;
    std::vector<int64_t> m_categories;
};

void CTakeBack::SurveyAdded(const std::string& table, int64_t row, bool isAsLeft) {
    if (table == kTransactionTable) {
        (isAsLeft || m_all ? m_rows : m_result.left).push_back(row);
    } else if (isAsLeft && table == kPayeeTable) {
        m_payees.push_back(row);
    } else if (isAsLeft && table == kCategoryTable) {
        m_categories.push_back(row);
    }
}

void CTakeBack::SurveyChange(const HistoryPart& part, const HistoryChange& change) {
    const HistoryTable& table = part.tables[change.table];
    const CTableManager* rows = m_database.Store().FindTable(table.name);
    if (!rows || !rows->RowExists(change.row)) return;
    HistoryChange reversed(change);
    Reverse(reversed);
    const bool isAsLeft = m_step->Check(reversed) == HistoryStatus::Ok;
    if (change.action == RowAction::Added) {
        SurveyAdded(table.name, change.row, isAsLeft);
    } else if (change.action == RowAction::Changed && table.name == kTransactionTable) {
        if (!isAsLeft) {
            m_result.left.push_back(change.row);
            return;
        }
        m_met.push_back(
            {change.row, ChangedFrom(table, change, "FitID"), ChangedFrom(table, change, "Check")});
    }
}

HistoryStatus CTakeBack::Survey(int64_t number) {
    const auto wants = [&](const HistoryPart& part) {
        if (part.number != number) return false;
        m_step.emplace(m_database.Store(), part);
        return true;
    };
    return m_database.History().ReadDone(wants, [&](const HistoryPart& part, const auto& change) {
        SurveyChange(part, change);
        return true;
    });
}

template <class Work>
LedgerStatus CTakeBack::InBatch(Work work) {
    CFinanceBatch batch(m_database);
    if (!batch.Begun()) return LedgerStatus::StoreFailed;
    const LedgerStatus status = work();
    if (status != LedgerStatus::Ok) return status;
    return batch.Commit() ? LedgerStatus::Ok : LedgerStatus::StoreFailed;
}

LedgerStatus CTakeBack::RestoreMet() {
    for (const MetEntry& met : m_met) {
        CTransactionEntry entry;
        if (!m_database.Read(met.row, entry)) return LedgerStatus::StoreFailed;
        entry.fitId = met.fitId.value_or(entry.fitId);
        if (met.check) entry.check = static_cast<int32_t>(*met.check);
        if (!m_database.Update(entry)) return LedgerStatus::StoreFailed;
        ++m_result.restored;
    }
    return LedgerStatus::Ok;
}

// Those that something else uses by now stay.
LedgerStatus CTakeBack::RemoveNames() {
    for (const int64_t payee : m_payees) {
        const LedgerStatus status = m_ledger.RemovePayee(payee);
        if (status == LedgerStatus::StillUsed) continue;
        if (status != LedgerStatus::Ok) return status;
        ++m_result.payees;
    }
    for (const int64_t category : m_categories) {
        const LedgerStatus status = m_ledger.RemoveCategory(category);
        if (status == LedgerStatus::StillUsed || status == LedgerStatus::CategoryKept) continue;
        if (status != LedgerStatus::Ok) return status;
        ++m_result.categories;
    }
    return LedgerStatus::Ok;
}

LedgerStatus CTakeBack::Run() {
    const std::span<const int64_t> rows(m_rows);
    for (size_t done = 0; done < rows.size(); done += kRowsACommit) {
        const auto some = rows.subspan(done, std::min(kRowsACommit, rows.size() - done));
        const LedgerStatus status = m_ledger.RemoveTransactions(some);
        if (status != LedgerStatus::Ok) return status;
        m_result.removed += static_cast<int64_t>(some.size());
    }
    // An empty commit might fail behind one that stands.
    if (m_met.empty() && m_payees.empty() && m_categories.empty()) return LedgerStatus::Ok;
    return InBatch([&] {
        const LedgerStatus status = RestoreMet();
        return status == LedgerStatus::Ok ? RemoveNames() : status;
    });
}

HistoryStatus FindDoneImport(const CHistory& history, int64_t number, HistoryAction& action) {
    if (!history.Find(number, action) || action.kind != ActionKind::Import) {
        return HistoryStatus::NoSuchAction;
    }
    return action.state == ActionState::Done ? HistoryStatus::Ok : HistoryStatus::NotDone;
}

}  // namespace

bool ListImportBatches(const CHistory& history, std::vector<ImportBatch>& batches) {
    batches.clear();
    std::vector<HistoryAction> actions;
    const bool isWhole = history.List(actions);
    for (HistoryAction& action : actions) {
        if (action.kind == ActionKind::ImportUndone && action.state == ActionState::Done) {
            for (ImportBatch& batch : batches) {
                batch.takenBack |= batch.action.number == action.subject;
            }
        }
        if (action.kind != ActionKind::Import) continue;
        ImportBatch& batch = batches.emplace_back();
        for (const ActionTable& table : action.tables) {
            if (table.table != kTransactionTable) continue;
            batch.transactions += table.added;
            batch.matched += table.changed;
        }
        batch.action = std::move(action);
    }
    return isWhole;
}

HistoryStatus ListBatchRows(CQuillonDatabaseInterface& database, int64_t number,
                            std::vector<int64_t>& rows) {
    rows.clear();
    const CFinanceSection section(database);
    HistoryAction action;
    const HistoryStatus found = FindDoneImport(database.History(), number, action);
    if (found != HistoryStatus::Ok) return found;
    const CTableManager* table = database.Store().FindTable(kTransactionTable);
    return database.History().Read(number, [&](const HistoryPart& part, const auto& change) {
        if (part.tables[change.table].name == kTransactionTable && table &&
            table->RowExists(change.row)) {
            rows.push_back(change.row);
        }
        return true;
    });
}

HistoryStatus TakeBackImport(CLedger& ledger, int64_t number, BatchRows which,
                             BatchTakenBack& result) try {
    result = {};
    CQuillonDatabaseInterface& database = ledger.Database();
    const CFinanceSection section(database);
    HistoryAction action;
    HistoryStatus status = FindDoneImport(database.History(), number, action);
    if (status != HistoryStatus::Ok) return status;
    CTakeBack takeBack(ledger, which, result);
    status = takeBack.Survey(number);
    if (status != HistoryStatus::Ok) return status;
    const CHistory::CLongAction one(database.History(), ActionKind::ImportUndone, action.label,
                                    number);
    return takeBack.Run() == LedgerStatus::Ok ? HistoryStatus::Ok : HistoryStatus::StoreFailed;
} catch (const std::bad_alloc&) {
    return HistoryStatus::StoreFailed;
}

// --- deleted lines

namespace {

// Rows that imports brought: those of one commit have neighbouring identifiers.
class CImportedRows {
public:
    HistoryStatus Load(const CHistory& history) {
        std::vector<ImportBatch> batches;
        (void)ListImportBatches(history, batches);
        for (const ImportBatch& batch : batches) {
            if (batch.action.state != ActionState::Undone && !batch.takenBack) {
                m_numbers.insert(batch.action.number);
            }
        }
        const auto wants = [&](const HistoryPart& part) {
            if (!IsImport(part) || !m_numbers.contains(part.number)) return false;
            for (const HistoryTable& table : part.tables) {
                if (table.name != kTransactionTable) continue;
                if (table.added > 0) m_ranges.emplace_back(table.firstAdded, table.lastAdded);
                return table.changed > 0;
            }
            return false;
        };
        const auto takeMet = [&](const HistoryPart& part, const HistoryChange& change) {
            if (change.action == RowAction::Changed &&
                part.tables[change.table].name == kTransactionTable) {
                m_met.insert(change.row);
            }
            return true;
        };
        return history.ReadDone(wants, takeMet);
    }
    bool IsEmpty() const { return m_ranges.empty() && m_met.empty(); }
    bool Contains(int64_t row) const {
        return m_met.contains(row) ||
               std::any_of(m_ranges.begin(), m_ranges.end(), [row](const auto& range) {
                   return range.first <= row && row <= range.second;
               });
    }

private:
    std::unordered_set<int64_t> m_numbers;
    std::vector<std::pair<int64_t, int64_t>> m_ranges;
    std::unordered_set<int64_t> m_met;
};

bool DeletesTransactions(const HistoryPart& part) {
    return part.kind != static_cast<uint16_t>(ActionKind::ImportUndone) &&
           std::any_of(part.tables.begin(), part.tables.end(), [](const HistoryTable& table) {
               return table.name == kTransactionTable && table.deleted > 0;
           });
}

}  // namespace

HistoryStatus ForEachDeletedLine(CQuillonDatabaseInterface& database, const CAccountEntry& account,
                                 const std::function<void(const DeletedLine&)>& visit) {
    const CFinanceSection section(database);
    const CHistory& history = database.History();
    const CTableManager* rows = database.Store().FindTable(kTransactionTable);
    // Mostly nobody deleted anything, and one look at the history's parts is enough.
    bool isDeleted = false;
    const auto look = [&isDeleted](const HistoryPart& part) {
        isDeleted |= DeletesTransactions(part);
        return false;
    };
    const HistoryStatus looked = history.ReadDone(look, {});
    if (!isDeleted) return looked;
    CImportedRows imported;
    const HistoryStatus loaded = imported.Load(history);
    if (!rows || imported.IsEmpty() || loaded == HistoryStatus::StoreFailed) return loaded;
    const auto take = [&](const HistoryPart& part, const HistoryChange& change) {
        const HistoryTable& table = part.tables[change.table];
        if (change.action != RowAction::Deleted || table.name != kTransactionTable ||
            NumberIn(table, change.before, "AccountID") != account.id ||
            rows->RowExists(change.row) || !imported.Contains(change.row)) {
            return true;
        }
        const auto type =
            static_cast<TransactionType>(NumberIn(table, change.before, "TransactionType"));
        const auto amount = std::bit_cast<double>(NumberIn(table, change.before, "Amount"));
        visit({.date = NumberIn(table, change.before, "ServiceDate"),
               .effect = BalanceEffect(type, amount, account.accountType),
               .payeeId = NumberIn(table, change.before, "PayeeID"),
               .fitId = NumberIn(table, change.before, "FitID")});
        return true;
    };
    return history.ReadDone(DeletesTransactions, take);
}

}  // namespace quillon
