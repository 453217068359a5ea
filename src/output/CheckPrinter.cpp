#include "output/CheckPrinter.h"

#include <algorithm>
#include <cstdio>
#include <limits>

#include "finance/ledger/Balance.h"
#include "foundation/CalendarDate.h"
#include "foundation/CurrencyFormat.h"
#include "output/CheckPrintUtility.h"

namespace quillon {

namespace {

// Millions are the last group that has words.
constexpr size_t kMostCommas = 2;

// As checks are dated where they are written: 03/05/2024 is the fifth of March.
std::string CheckDate(int64_t date) {
    const CivilDate day = DateFromFileTime(date);
    char text[40];
    std::snprintf(text, sizeof text, "%02d/%02d/%04d", day.month, day.day, day.year);
    return text;
}

CheckContents ContentsOf(int64_t date, std::string payee, double amount, std::string memo) {
    CheckContents contents;
    TextOf(contents, CheckField::Date) = CheckDate(date);
    TextOf(contents, CheckField::Payee) = std::move(payee);
    std::string& amountText = TextOf(contents, CheckField::Amount);
    amountText = FormatCurrency(amount);
    TextOf(contents, CheckField::WrittenAmount) = CCheckPrintUtility::AmountInWords(amountText);
    TextOf(contents, CheckField::Memo) = std::move(memo);
    return contents;
}

CheckProblem ProblemOf(CheckPageProblem problem) {
    switch (problem) {
        case CheckPageProblem::BadPosition:
            return CheckProblem::BadPosition;
        case CheckPageProblem::BadWidth:
            return CheckProblem::BadWidth;
        case CheckPageProblem::TooWide:
            return CheckProblem::TooWide;
        case CheckPageProblem::DoesNotFit:
            return CheckProblem::DoesNotFit;
        case CheckPageProblem::None:
            break;
    }
    return CheckProblem::None;
}

// What of the transaction itself speaks against a check.
CheckProblem JudgeTransaction(const CTransactionEntry& transaction, const CAccountEntry& account) {
    if (transaction.accountId != account.id) return CheckProblem::OtherAccount;
    if (BalanceEffect(transaction.transactionType, 1.0, account.accountType) > 0) {
        return CheckProblem::ComesIn;
    }
    if (!transaction.electronicPayment.IsEmpty()) return CheckProblem::Electronically;
    const std::string amount = FormatCurrency(transaction.amount);
    if (amount == FormatCurrency(0.0)) return CheckProblem::NoAmount;
    const auto commas = static_cast<size_t>(std::count(amount.begin(), amount.end(), ','));
    return commas > kMostCommas ? CheckProblem::TooLarge : CheckProblem::None;
}

}  // namespace

CheckProblem CCheckPrinter::ReadAccount(int64_t accountId, CAccountEntry& account) {
    CQuillonDatabaseInterface& database = m_ledger.Database();
    const CLookup found = database.Read(accountId, account);
    if (found.HasFailed()) return CheckProblem::StoreFailed;
    if (found.IsNone()) return CheckProblem::NoSuchAccount;
    return account.accountType == AccountType::Checking ? CheckProblem::None
                                                        : CheckProblem::NotChecking;
}

CheckProblem CCheckPrinter::ChooseNumber(const CheckRequest& request, const CAccountEntry& account,
                                         const CTransactionEntry& transaction, int32_t& number) {
    if (request.number) {
        number = *request.number;
        return number > 0 ? CheckProblem::None : CheckProblem::BadNumber;
    }
    if (transaction.check > 0) {
        number = transaction.check;
        return CheckProblem::None;
    }
    if (account.latestCheckNumber == std::numeric_limits<int32_t>::max()) {
        return CheckProblem::NoNumberLeft;
    }
    number = std::max(account.latestCheckNumber, 0) + 1;
    return CheckProblem::None;
}

bool CCheckPrinter::NoteOtherUse(int64_t accountId, CheckJob& job) {
    COwnedList<CTransactionEntry> transactions;
    if (!m_ledger.Database().ListTransactionsByAccount(accountId, transactions)) return false;
    for (const CTransactionEntry& other : transactions) {
        if (other.check != job.number || other.id == job.transactionId) continue;
        job.notes.push_back(
            {.kind = CheckNote::Kind::NumberUsed, .number = job.number, .transactionId = other.id});
        break;
    }
    return true;
}

CheckTrouble CCheckPrinter::LayOut(const CheckContents& contents, CheckJob& job) {
    CCheckPrintFormatEntry layout;
    if (!m_layouts.Read(job.accountId, layout)) return {CheckProblem::StoreFailed, {}};
    CheckPageResult result = LayOutCheck(layout.format, contents);
    job.page = std::move(result.page);
    for (const CheckField field : result.cut) {
        job.notes.push_back({.kind = CheckNote::Kind::TextCut, .field = field});
    }
    return {ProblemOf(result.problem), result.field};
}

CheckTrouble CCheckPrinter::Prepare(const CheckRequest& request, CheckJob& job) {
    job = {};
    CQuillonDatabaseInterface& database = m_ledger.Database();
    CAccountEntry account;
    CheckProblem problem = ReadAccount(request.accountId, account);
    if (problem != CheckProblem::None) return {problem, {}};
    CTransactionEntry transaction;
    const CLookup found = database.Read(request.transactionId, transaction);
    if (found.HasFailed()) return {CheckProblem::StoreFailed, {}};
    if (found.IsNone()) return {CheckProblem::NoSuchTransaction, {}};
    problem = JudgeTransaction(transaction, account);
    if (problem == CheckProblem::None) {
        problem = ChooseNumber(request, account, transaction, job.number);
    }
    if (problem != CheckProblem::None) return {problem, {}};
    job.accountId = account.id;
    job.transactionId = transaction.id;
    CPayeeEntry payee;
    if (transaction.payeeId != kNoRow && !database.Read(transaction.payeeId, payee)) {
        return {CheckProblem::StoreFailed, {}};
    }
    const CheckContents contents =
        ContentsOf(transaction.serviceDate, payee.name.ToUtf8(), transaction.amount, request.memo);
    if (payee.name.IsEmpty()) job.notes.push_back({.kind = CheckNote::Kind::NoPayee});
    if (contents[static_cast<size_t>(CheckField::WrittenAmount)].empty()) {
        job.notes.push_back({.kind = CheckNote::Kind::NoWords});
    }
    if (!NoteOtherUse(account.id, job)) return {CheckProblem::StoreFailed, {}};
    const CheckTrouble trouble = LayOut(contents, job);
    job.page.title = PrintTitle(job.number);
    return trouble;
}

CheckTrouble CCheckPrinter::PrepareTest(int64_t accountId, CheckJob& job) {
    job = {};
    CAccountEntry account;
    const CheckProblem problem = ReadAccount(accountId, account);
    if (problem != CheckProblem::None) return {problem, {}};
    job.accountId = account.id;
    const CheckTrouble trouble = LayOut(
        ContentsOf(FileTimeFromDate(2024, 12, 31), "Sample Payee Company", 1234.56, "Test print"),
        job);
    job.page.title = "Test Print";
    job.page.outline = true;
    return trouble;
}

LedgerStatus CCheckPrinter::Record(const CheckJob& job) {
    CQuillonDatabaseInterface& database = m_ledger.Database();
    CFinanceBatch batch(database);
    if (!batch.Begun()) return LedgerStatus::StoreFailed;
    // As they are now: somebody may have gone on working while the check was printed.
    CTransactionEntry transaction;
    const CLookup found = database.Read(job.transactionId, transaction);
    if (found.HasFailed()) return LedgerStatus::StoreFailed;
    if (found.IsNone()) return LedgerStatus::NoSuchTransaction;
    if (transaction.check != job.number) {
        transaction.check = job.number;
        const LedgerStatus status = m_ledger.ChangeTransaction(transaction);
        if (status != LedgerStatus::Ok) return status;
    }
    // The account that the check was drawn on, also when the row was moved away.
    CAccountEntry account;
    const CLookup drawnOn = database.Read(job.accountId, account);
    if (drawnOn.HasFailed()) return LedgerStatus::StoreFailed;
    if (drawnOn.IsNone()) return LedgerStatus::NoSuchAccount;
    if (job.number > account.latestCheckNumber &&
        !database.UpdateAccountLatestCheckNumber(account.id, job.number)) {
        return LedgerStatus::StoreFailed;
    }
    return batch.Commit() ? LedgerStatus::Ok : LedgerStatus::StoreFailed;
}

std::string PrintTitle(int32_t number) {
    return "Print Check " + std::to_string(number);
}

std::string PrintFailedMessage(int32_t number, const std::string& destination) {
    return "The print of check " + std::to_string(number) + " to " + destination + " failed.";
}

}  // namespace quillon
