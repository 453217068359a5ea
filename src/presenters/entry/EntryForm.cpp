#include "presenters/entry/EntryForm.h"

#include <algorithm>
#include <charconv>

#include "foundation/CalendarDate.h"
#include "foundation/CurrencyFormat.h"
#include "foundation/Unicode.h"
#include "foundation/platform/Clock.h"
#include "presenters/entry/AmountTyping.h"
#include "presenters/entry/DateTyping.h"

namespace quillon {

namespace {

std::string_view Trimmed(std::string_view text) {
    const size_t start = text.find_first_not_of(" \t");
    if (start == std::string_view::npos) return {};
    return text.substr(start, text.find_last_not_of(" \t") - start + 1);
}

bool IsOneLine(std::string_view text) {
    return std::none_of(text.begin(), text.end(),
                        [](char character) { return static_cast<unsigned char>(character) < 32; });
}

}  // namespace

std::span<const TransactionType> EntryTypesOf(AccountType account) {
    using enum TransactionType;
    static constexpr TransactionType kChecking[] = {Payment, Deposit, Withdrawal};
    static constexpr TransactionType kSavings[] = {Withdrawal, Deposit, Payment};
    static constexpr TransactionType kCredit[] = {Charge, Payment};
    static constexpr TransactionType kLoan[] = {Payment, Principal};
    switch (account) {
        case AccountType::Checking:
            return kChecking;
        case AccountType::Credit:
            return kCredit;
        case AccountType::Loan:
            return kLoan;
        default:
            return kSavings;
    }
}

CEntryForm::CEntryForm(CWorkspace& workspace) : m_workspace(workspace) {
    m_workspace.Listen(*this);
}

CEntryForm::~CEntryForm() {
    m_workspace.Leave(*this);
}

void CEntryForm::Clear(int64_t date) {
    m_row = {};
    m_row.accountId = m_account.id;
    m_texts.fill({});
    m_touched.fill(false);
    m_payeeAsTyped = m_categoryAsTyped = false;
    Put(EntryField::Date, FormatIsoDate(date));
    Put(EntryField::Type, std::string(NameOf(EntryTypesOf(m_account.accountType)[0])));
}

bool CEntryForm::StartNew(int64_t accountId) {
    const bool read = ReadAccount(accountId);
    Clear(TodayFileTime());
    return read;
}

void CEntryForm::StartNext() {
    int64_t date = TodayFileTime();
    (void)ReadDate(date);  // else today
    Clear(date);
}

bool CEntryForm::StartChange(int64_t transactionId) {
    CTransactionEntry row;
    if (!m_workspace.Database().Read(transactionId, row)) return false;
    if (!ReadAccount(row.accountId)) return false;
    m_row = row;
    m_touched.fill(true);
    m_payeeAsTyped = m_categoryAsTyped = false;
    const CNameTables& names = m_workspace.Names();
    Put(EntryField::Date, FormatIsoDate(row.serviceDate));
    Put(EntryField::Type, std::string(NameOf(row.transactionType)));
    Put(EntryField::Number,
        row.check != 0 ? std::to_string(row.check) : row.electronicPayment.ToUtf8());
    Put(EntryField::Payee, names.Payee(row.payeeId));
    Put(EntryField::Category, names.Category(row.categoryId));
    Put(EntryField::Amount, FormatPlainAmount(row.amount));
    Put(EntryField::Memo, row.memo.ToUtf8());
    return true;
}

// --- fields

void CEntryForm::SetText(EntryField field, std::string_view text) {
    if (Text(field) == text) return;
    Put(field, std::string(text));
    m_touched[Place(field)] = true;
    if (field == EntryField::Payee) m_payeeAsTyped = false;
    if (field == EntryField::Category) m_categoryAsTyped = false;
}

std::vector<TransactionType> CEntryForm::Types() const {
    const auto usual = EntryTypesOf(m_account.accountType);
    std::vector<TransactionType> types(usual.begin(), usual.end());
    const bool hasAnother =
        !IsNew() && std::find(types.begin(), types.end(), m_row.transactionType) == types.end();
    if (hasAnother) types.push_back(m_row.transactionType);
    return types;
}

bool CEntryForm::PressDateKey(char key) {
    int64_t date = TodayFileTime();
    const std::string_view text = Trimmed(Text(EntryField::Date));
    // A whole date, or an empty field, which stands for today.
    if (!text.empty() && !ParseCalendarDate(text, date)) return false;
    if (!ApplyDateKey(key, TodayFileTime(), date)) return false;
    SetText(EntryField::Date, FormatIsoDate(date));
    return true;
}

void CEntryForm::CompleteDate() {
    int64_t date = 0;
    if (ReadDate(date) == EntryProblem::None) Put(EntryField::Date, FormatIsoDate(date));
}

void CEntryForm::TakeNextCheckNumber() {
    // Others may have entered checks since the form was opened.
    CAccountEntry account;
    if (m_workspace.Database().Read(m_account.id, account)) m_account = account;
    if (m_account.latestCheckNumber == INT32_MAX) return;
    SetText(EntryField::Number, std::to_string(m_account.latestCheckNumber + 1));
}

std::vector<Completion> CEntryForm::Complete(EntryField field, size_t most) const {
    const CNameCompletion& names = field == EntryField::Payee ? m_payees : m_categories;
    return names.Complete(Trimmed(Text(field)), most);
}

void CEntryForm::Choose(EntryField field, const Completion& completion) {
    SetText(field, completion.name);
    m_touched[Place(field)] = true;
    const bool asTyped = completion.id == kNoRow;
    if (field == EntryField::Category) m_categoryAsTyped = asTyped;
    if (field != EntryField::Payee) return;
    m_payeeAsTyped = asTyped;
    if (IsNew()) FillFrom(completion.id);
}

void CEntryForm::FillFrom(int64_t payeeId) {
    const auto fill = [this](EntryField field, std::string text) {
        if (!IsTouched(field)) Put(field, std::move(text));
    };
    CTransactionEntry newest;
    TransactionType type = EntryTypesOf(m_account.accountType)[0];
    const bool found = payeeId != kNoRow &&
                       m_workspace.Database().FindNewestTransaction(m_account.id, payeeId, newest);
    const auto types = Types();
    const bool isUsual =
        found && std::find(types.begin(), types.end(), newest.transactionType) != types.end();
    if (isUsual) type = newest.transactionType;
    // What another payee had filled goes, too.
    fill(EntryField::Type, std::string(NameOf(type)));
    fill(EntryField::Category,
         found ? m_workspace.Names().Category(newest.categoryId) : std::string());
    fill(EntryField::Amount, found ? FormatPlainAmount(newest.amount) : std::string());
}

// --- result

EntryProblem CEntryForm::ReadDate(int64_t& date) const {
    const std::string_view text = Trimmed(Text(EntryField::Date));
    if (text.empty()) return EntryProblem::DateMissing;
    return ReadTypedDate(text, TodayFileTime(), date) ? EntryProblem::None
                                                      : EntryProblem::DateUnknown;
}

EntryProblem CEntryForm::ReadType(TransactionType& type) const {
    // A type that this version does not know has no name, and is kept while nobody changes it.
    const std::string_view text = Trimmed(Text(EntryField::Type));
    if (!IsNew() && text == NameOf(m_row.transactionType)) {
        type = m_row.transactionType;
        return EntryProblem::None;
    }
    TransactionType named = TransactionType::Payment;
    const auto types = Types();
    const bool known =
        FromName(text, named) && std::find(types.begin(), types.end(), named) != types.end();
    if (known) type = named;
    return known ? EntryProblem::None : EntryProblem::TypeUnknown;
}

EntryProblem CEntryForm::ReadNumber(int32_t& check, std::string& electronic) const {
    const std::string_view text = Trimmed(Text(EntryField::Number));
    check = 0;
    electronic.clear();
    const bool isOwn = !IsNew() && m_row.check == 0 && text == m_row.electronicPayment.ToUtf8();
    if (text.empty() || isOwn) {
        electronic = text;
        return EntryProblem::None;
    }
    for (const std::string_view kind : {kElectronicAtm, kElectronicEft, kElectronicTransfer}) {
        if (!EqualsIgnoringCase(text, kind)) continue;
        electronic = kind;
        return EntryProblem::None;
    }
    const auto read = std::from_chars(text.data(), text.data() + text.size(), check);
    const bool whole = read.ec == std::errc() && read.ptr == text.data() + text.size();
    return whole && check >= 0 ? EntryProblem::None : EntryProblem::NumberUnknown;
}

EntryProblems CEntryForm::Check() const {
    EntryProblems problems;
    const auto note = [&](EntryField field, EntryProblem problem) {
        problems.fields[Place(field)] = problem;
    };
    int64_t date = 0;
    TransactionType type = TransactionType::Payment;
    int32_t check = 0;
    std::string electronic;
    double amount = 0.0;
    note(EntryField::Date, ReadDate(date));
    note(EntryField::Type, ReadType(type));
    note(EntryField::Number, ReadNumber(check, electronic));
    // An amount with more decimals, from an old file, is kept while nobody changes it.
    const std::string& amountText = Text(EntryField::Amount);
    const bool isOwn = !IsNew() && amountText == FormatPlainAmount(m_row.amount);
    if (!isOwn) note(EntryField::Amount, ReadTypedAmount(amountText, amount));
    for (const EntryField field : {EntryField::Payee, EntryField::Category}) {
        if (!IsOneLine(Text(field))) note(field, EntryProblem::NameTooManyLines);
    }
    return problems;
}

bool CEntryForm::Result(CTransactionEntry& transaction, NewNames& names) const {
    if (Check().Any()) return false;
    CTransactionEntry row(m_row);
    std::string electronic;
    (void)ReadDate(row.serviceDate);
    (void)ReadType(row.transactionType);
    (void)ReadNumber(row.check, electronic);
    row.electronicPayment = electronic;
    const std::string& amountText = Text(EntryField::Amount);
    const bool isOwn = !IsNew() && amountText == FormatPlainAmount(m_row.amount);
    if (!isOwn) (void)ReadTypedAmount(amountText, row.amount);
    row.memo = Text(EntryField::Memo);
    const auto file = [](std::string_view name, const CNameCompletion& known, bool asTyped,
                         std::string& made) {
        made.clear();
        const int64_t id = name.empty() ? kNoRow : known.Find(name, asTyped);
        if (id == kNoRow) made = name;
        return id;
    };
    row.payeeId = file(Trimmed(Text(EntryField::Payee)), m_payees, m_payeeAsTyped, names.payee);
    row.categoryId =
        file(Trimmed(Text(EntryField::Category)), m_categories, m_categoryAsTyped, names.category);
    transaction = row;
    return true;
}

bool CEntryForm::Save(LedgerStatus& status, TransferSides sides, const std::string& label) {
    CTransactionEntry row;
    NewNames names;
    if (!Result(row, names)) return false;
    status = IsNew() ? m_workspace.EnterTransaction(row, names, label)
                     : m_workspace.ChangeTransaction(row, sides, names, EffectOnMove::Kept, label);
    if (status == LedgerStatus::Ok) m_savedRow = row.id;
    return true;
}

}  // namespace quillon
