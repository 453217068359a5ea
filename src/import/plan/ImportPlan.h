#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "finance/records/FinanceRecords.h"
#include "import/plan/ImportFormat.h"
#include "import/plan/ImportOptions.h"
#include "import/plan/PackedRows.h"
#include "import/plan/PlanNames.h"

namespace quillon {

class CQuillonDatabaseInterface;

// What was found out about a record of the file, judged in this order.
enum class PlanOutcome : uint8_t {
    Repeated,  // the file has said this line before
    // The account holds its identifier. Or, where the file has none for it, as many entries
    // of its date, amount and payee as the file has lines up to this one.
    Held,
    Refused,     // the ledger takes no such amount
    Unreadable,  // no date or no amount could be read; something stands in for it
    Matches,     // an entry that people made: see CLineMatcher
    Maybe,       // there is an entry that it may be
    New,
};

// Match: the entry takes the row's identifier, and its check number where it has none, and
// keeps all else.
enum class PlanAction : uint8_t { Enter, Skip, Match };

// A record of the file and what the import does with it. Views live as long as the plan.
struct ImportPlanRow {
    int64_t line = 0;  // from 1
    int64_t date = 0;  // midnight UTC; the day of the plan where `dateRead` is false
    bool dateRead = true;
    double amount = 0.0;  // signed: negative goes out; 0 where `amountRead` is false
    bool amountRead = true;
    TransactionType type = TransactionType::Payment;  // in this account; its value is the code
    int32_t check = 0;                                // 0: none
    std::string_view electronic;                      // kElectronicAtm and its kin, or empty
    std::string_view idText;                          // the statement's identifier as written
    int64_t fitId = 0;                                // and as it is stored; 0: none
    std::string_view payeeInFile;
    std::string_view payee;  // by the renaming rules
    std::string_view categoryInFile;
    std::string_view category;
    std::string_view memo;
    bool makesPayee = false;  // the ledger has no payee of this name yet
    bool makesCategory = false;
    PlanOutcome outcome = PlanOutcome::New;
    PlanAction action = PlanAction::Enter;
    int64_t match = kNoRow;  // the transaction that it meets, is matched with, or may be
};

// One import, decided: made once from a file, shown as it is, and carried out as it was
// shown. Nothing is judged a second time; only payees and categories are looked up by their
// names once more, since there may be other ones by then.
//
//   Made by    CImportManager::MakePlan(). Making one changes neither ledger nor file.
//   Rows       All records of the file's chosen accounts, in its order. What is not entered,
//              such as a withdrawn line, is in the notes alone.
//   Errors     A plan may be none: Failed() and Refusal() say why, and it has no rows. Commit()
//              tells by its result and throws nothing; the others let std::bad_alloc pass.
//   Memory     The file's text and some 15 to 30 bytes a record.
//   Ownership  Owns the file's text. Borrows database and file system, which must outlive it;
//              the manager that made it need not.
//   Threads    One at a time. The progress callback runs in the thread of Commit().
class CImportPlan {
public:
    // Writes the file in its normal form; called when the ledger is open for the first row.
    // A note where that was not done.
    using KeepFile = std::function<std::optional<ImportNoteCode>()>;

    CImportPlan() = default;

    bool Failed() const { return m_found.failed; }
    const ImportRefusal& Refusal() const { return m_found.refusal; }
    // See ImportResult.
    bool NeedsSource() const { return m_found.needsSource; }
    const Dialect& FoundDialect() const { return m_found.dialect; }
    const std::vector<ImportSource>& Sources() const { return m_found.sources; }
    const std::vector<ImportNote>& Notes() const { return m_found.notes; }

    // What Commit() would come to with the rows' actions as they are now.
    struct Counts {
        int64_t read = 0;  // records in the file, those in the notes alone included
        int64_t entered = 0;
        int64_t matched = 0;
        int64_t duplicates = 0;  // rows that are held or repeated, and skipped
        int64_t payees = 0;      // that would be made
        int64_t categories = 0;
    };
    Counts Count() const;
    // The same as a result, that of a dry run.
    ImportResult Preview() const;

    size_t RowCount() const { return m_rows.Size(); }
    // A walk over all rows reads each once; one row alone costs up to sixteen.
    ImportPlanRow Row(size_t index) const;
    void ForEachRow(const std::function<void(const ImportPlanRow&)>& take) const;
    // False, and nothing is changed: no such row; one to be entered or matched that the ledger
    // would refuse; one to be matched that is matched with nothing, or with what another row is.
    bool SetAction(size_t index, PlanAction action);
    // Matches the row with an entry of the account that has its amount and no identifier, and
    // sets its action. kNoRow takes the match away: the row is entered then, if it was to be
    // matched. False, and nothing is changed: no such row, or entry; the row is held, refused
    // or without an amount; another row is matched with the entry; or it cannot be read.
    bool SetMatch(size_t index, int64_t transactionId);

    // Enters the rows whose action says so, a few thousand a commit, each with the account's
    // balance, carries out the matches in the same commits, and keeps the file in its normal
    // form where the format has one. After a failure, or when `progress` stopped it, whole
    // commits stay, and the result tells how many records they hold. A plan is carried out
    // once; a second call fails.
    //
    // An entry that is to be matched may have changed since: it is gone, or has another amount
    // or an identifier. The row is entered then and a note says so; where the entry has the
    // row's own identifier by now, it is left out as known.
    ImportResult Commit(const ImportProgress& progress = {});

private:
    friend class CImportManager;
    friend class CImportPlanner;
    friend class CPlanMatcher;
    class CCommit;

    struct State {
        PlanOutcome outcome;
        PlanAction action;
    };
    ImportPlanRow Shown(const PackedRow& packed, size_t index) const;
    int64_t MatchOf(size_t index) const;
    bool IsMatchedElsewhere(size_t index, int64_t transactionId) const;
    bool CanBeMatched(size_t index, int64_t transactionId) const;
    void SetText(std::shared_ptr<const void> owner, std::string_view text);

    CQuillonDatabaseInterface* m_database = nullptr;
    CAccountEntry m_account;
    std::shared_ptr<const void> m_text;  // owner of what the rows refer to
    std::string m_fileName;              // without folder, for the history
    KeepFile m_keepFile;
    ImportResult m_found;  // without the counts but `read`

    CTextPool m_texts;  // memos and identifiers that do not stand in the file's text
    CPlanNames m_payees{CPlanNames::EmptyName::IsName};
    CPlanNames m_categories{CPlanNames::EmptyName::IsNone};
    CPackedRows m_rows;
    std::vector<State> m_states;                        // by row
    std::vector<std::pair<size_t, int64_t>> m_matches;  // row and transaction, by row
    bool m_isSpent = false;
};

}  // namespace quillon
