// Undo, redo and taking back of CWorkspace.

#include <new>
#include <unordered_set>

#include "finance/schema/FinanceSchema.h"
#include "presenters/workspace/Workspace.h"
#include "wording/HistoryWords.h"

namespace quillon {

namespace {

// Rows told one by one; more are read again.
constexpr size_t kMostRows = 2000;

// What follows from transactions is no change of an account.
bool ChangesAccount(const HistoryTable& table, const HistoryChange& change) {
    if (change.action != RowAction::Changed) return true;
    for (size_t i = 0; i < table.columns.size(); ++i) {
        const std::string& name = table.columns[i].name;
        if (change.isSet[i] && name != "CurrentBalance" && name != "LatestCheckNumber" &&
            name != kModificationStampColumn) {
            return true;
        }
    }
    return false;
}

class CNoticeOfRows {
public:
    explicit CNoticeOfRows(ChangeNotice& notice) : m_notice(notice) {}

    void Add(const HistoryPart& part, const HistoryChange& change) {
        const HistoryTable& table = part.tables[change.table];
        if (table.name == kTransactionTable) {
            AddTransaction(table, change);
        } else if (table.name == kAccountTable) {
            m_notice.AddAccount(change.row);
            m_notice.accountTable |= ChangesAccount(table, change);
        }
        m_notice.categoryTable |= table.name == kCategoryTable;
        m_notice.payeeTable |= table.name == kPayeeTable;
    }

    // Where changed rows are, once they are.
    void Finish(CQuillonDatabaseInterface& database) {
        if (m_notice.rows.size() > kMostRows) m_notice.everything = true;
        for (RowNotice& row : m_notice.rows) {
            CTransactionEntry entry;
            if (m_notice.everything) break;
            if (row.change == RowChange::Removed) continue;
            if (!database.Read(row.row, entry)) {
                m_notice.everything = true;
                break;
            }
            row.account = entry.accountId;
            if (row.change == RowChange::Changed && row.former == kNoRow) row.former = row.account;
            m_notice.AddAccount(row.account);
            if (row.former != kNoRow) m_notice.AddAccount(row.former);
        }
        if (m_notice.everything) m_notice.rows.clear();
    }

private:
    void AddTransaction(const HistoryTable& table, const HistoryChange& change) {
        if (m_notice.rows.size() > kMostRows) return;
        const std::optional<size_t> place = table.FindColumn("AccountID");
        const bool isSet = place && change.isSet[*place];
        RowNotice row;
        row.row = change.row;
        row.change = change.action == RowAction::Added     ? RowChange::Added
                     : change.action == RowAction::Deleted ? RowChange::Removed
                                                           : RowChange::Changed;
        if (isSet && change.action == RowAction::Deleted) row.account = change.before[*place].bits;
        if (isSet && change.action == RowAction::Changed) row.former = change.before[*place].bits;
        if (!m_seen.insert(change.row).second) {
            // Twice: too much to say in one line.
            m_notice.everything = true;
            return;
        }
        if (row.account != kNoRow) m_notice.AddAccount(row.account);
        m_notice.rows.push_back(row);
    }

    ChangeNotice& m_notice;
    std::unordered_set<int64_t> m_seen;
};

}  // namespace

HistoryOutcome CWorkspace::Take(bool isUndo) try {
    ChangeNotice notice;
    HistoryOutcome outcome;
    {
        const CFinanceSection section(m_database);
        CNoticeOfRows rows(notice);
        const VisitChange visit = [&](const HistoryPart& part, const HistoryChange& change) {
            rows.Add(part, change);
            return true;
        };
        CHistory& history = m_database.History();
        outcome = isUndo ? history.Undo(visit) : history.Redo(visit);
        if (outcome.status == HistoryStatus::Ok) rows.Finish(m_database);
    }
    switch (outcome.status) {
        case HistoryStatus::Ok:
            break;
        case HistoryStatus::Damaged:
        case HistoryStatus::StoreFailed:  // in the middle; some of it may be done
            notice = {};
            notice.everything = true;
            break;
        default:  // refused: nothing is changed, and nobody is told
            return outcome;
    }
    notice.label = (isUndo ? "Undo: " : "Redo: ") + ActionLabel(outcome.action);
    Tell(notice);
    return outcome;
} catch (const std::bad_alloc&) {
    HistoryOutcome outcome;
    outcome.status = HistoryStatus::StoreFailed;
    return outcome;
}

HistoryOutcome CWorkspace::Undo() {
    return Take(true);
}

HistoryOutcome CWorkspace::Redo() {
    return Take(false);
}

std::string CWorkspace::NextUndo() {
    const CFinanceSection section(m_database);
    const std::optional<HistoryAction> action = m_database.History().NextUndo();
    return action ? ActionLabel(*action) : std::string();
}

std::string CWorkspace::NextRedo() {
    const CFinanceSection section(m_database);
    const std::optional<HistoryAction> action = m_database.History().NextRedo();
    return action ? ActionLabel(*action) : std::string();
}

HistoryStatus CWorkspace::TakeBackImport(int64_t number, BatchRows which, BatchTakenBack& result) {
    const HistoryStatus status = quillon::TakeBackImport(m_ledger, number, which, result);
    if (status == HistoryStatus::Ok || status == HistoryStatus::StoreFailed) {
        ReadAgain("Take back import " + std::to_string(number));
    }
    return status;
}

}  // namespace quillon
