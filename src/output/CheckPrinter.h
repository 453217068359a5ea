#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "finance/ledger/Ledger.h"
#include "output/CheckLayouts.h"
#include "output/CheckPage.h"

namespace quillon {

struct CheckRequest {
    int64_t accountId = kNoRow;
    int64_t transactionId = kNoRow;
    std::optional<int32_t> number;  // a specified check number, 1 or above
    std::string memo;               // of this print; the transaction's own stays private
};

enum class CheckProblem {
    None,
    StoreFailed,  // a read failed; Database().Problem() tells why
    NoSuchAccount,
    NotChecking,
    NoSuchTransaction,
    OtherAccount,    // the transaction is another account's
    ComesIn,         // it brings money into the account
    Electronically,  // it was paid by card or wire
    NoAmount,
    TooLarge,  // a billion or more cannot be written in words
    BadNumber,
    NoNumberLeft,
    BadPosition,  // the layout cannot be used
    BadWidth,
    TooWide,
    DoesNotFit,  // `field` has no room on the check
};

struct CheckTrouble {
    CheckProblem problem = CheckProblem::None;
    CheckField field = CheckField::Date;
};

// What the user should look at before the check is handed out.
struct CheckNote {
    enum class Kind {
        NoPayee,
        NoWords,     // of an amount below 1.00
        NumberUsed,  // `number` is also that of `transactionId`
        TextCut,     // of `field`, which was too long for its place
    };

    Kind kind = Kind::NoPayee;
    CheckField field = CheckField::Date;
    int32_t number = 0;
    int64_t transactionId = kNoRow;

    bool operator==(const CheckNote&) const = default;
};

// A check that is ready to be drawn. Nothing of it is stored yet.
struct CheckJob {
    int64_t accountId = kNoRow;
    int64_t transactionId = kNoRow;
    int32_t number = 0;
    CheckPage page;
    std::vector<CheckNote> notes;
};

// Prints checks in two steps, so that only a check that is on paper has a number:
//
//     CheckJob job;
//     if (printer.Prepare(request, job).problem != CheckProblem::None) ...
//     if (!draw(job.page)) ... PrintFailedMessage(job.number, destination)
//     if (printer.Record(job) != LedgerStatus::Ok) ...
//
//   Number     The specified one; else the one that the transaction has (it is printed
//              again); else the account's latest number + 1.
//   Ownership  Borrows the ledger and the settings, which must outlive it.
class CCheckPrinter {
public:
    CCheckPrinter(CLedger& ledger, const CSettingsFile& settings)
        : m_ledger(ledger), m_layouts(ledger.Database(), settings) {}

    // Fills `job`, which means nothing when there is a problem. Stores nothing.
    [[nodiscard]] CheckTrouble Prepare(const CheckRequest& request, CheckJob& job);
    // The account's layout with sample values and the check's outline. The account must
    // be a checking account; number and transaction of the job are 0.
    [[nodiscard]] CheckTrouble PrepareTest(int64_t accountId, CheckJob& job);

    // The check was printed: stores its number with the transaction, and as the account's
    // latest unless that is higher, in one commit or not at all.
    [[nodiscard]] LedgerStatus Record(const CheckJob& job);

private:
    CheckProblem ReadAccount(int64_t accountId, CAccountEntry& account);
    CheckProblem ChooseNumber(const CheckRequest& request, const CAccountEntry& account,
                              const CTransactionEntry& transaction, int32_t& number);
    // False: a read failed.
    bool NoteOtherUse(int64_t accountId, CheckJob& job);
    CheckTrouble LayOut(const CheckContents& contents, CheckJob& job);

    CLedger& m_ledger;
    CCheckLayouts m_layouts;
};

// "Print Check 1025".
std::string PrintTitle(int32_t number);
// "The print of check 1025 to 'Office' failed." with the destination as it is given.
std::string PrintFailedMessage(int32_t number, const std::string& destination);

}  // namespace quillon
