#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "presenters/entry/NameCompletion.h"
#include "presenters/workspace/Workspace.h"
#include "wording/EntryWords.h"

namespace quillon {

enum class EntryField { Date, Type, Number, Payee, Category, Amount, Memo };
inline constexpr size_t kEntryFieldCount = 7;

// The types that an entry in such an account can have, the usual one first. A transfer is
// entered by a form of its own.
std::span<const TransactionType> EntryTypesOf(AccountType account);

// What Check() found, by field.
struct EntryProblems {
    std::array<EntryProblem, kEntryFieldCount> fields{};

    EntryProblem Of(EntryField field) const { return fields[static_cast<size_t>(field)]; }
    bool Any() const {
        for (const EntryProblem problem : fields) {
            if (problem != EntryProblem::None) return true;
        }
        return false;
    }
};

// The row editor of a register: one transaction as it is typed, new or changed.
//
//   Fields     Are texts. One that people typed into is theirs; the others are filled from the
//              newest transaction of the chosen payee in the account (new entries only).
//   Names      One that no row has yet is made with the entry. Case does not make another name,
//              unless the completion "as typed" was chosen.
//   Changes    Of the ledger arrive from the workspace; what was typed stays.
//   Errors     Reads that fail leave lists and fields empty; Save tells. std::bad_alloc passes
//              through.
//   Ownership  Borrows the workspace, which must outlive it.
//   Threads    One.
class CEntryForm : public CWorkspaceListener {
public:
    explicit CEntryForm(CWorkspace& workspace);
    ~CEntryForm() override;
    CEntryForm(const CEntryForm&) = delete;
    CEntryForm& operator=(const CEntryForm&) = delete;

    // A new entry in the account, of today. False: the account or its names cannot be read.
    bool StartNew(int64_t accountId);
    // The next one, of the date of the last.
    void StartNext();
    // One that is there. False: it cannot be read.
    bool StartChange(int64_t transactionId);
    bool IsNew() const { return m_row.id == kNoRow; }
    const CAccountEntry& Account() const { return m_account; }

    // --- fields
    const std::string& Text(EntryField field) const { return m_texts[Place(field)]; }
    void SetText(EntryField field, std::string_view text);
    bool IsTouched(EntryField field) const { return m_touched[Place(field)]; }
    // For the list of types: those of the account, and the entry's own where it has another.
    std::vector<TransactionType> Types() const;

    // A key in the date field: see ApplyDateKey. It is taken while the text is a whole date, so
    // that "-" can still be typed into one. False: it is a character like others.
    bool PressDateKey(char key);
    // Leaving the date field: what was typed becomes the date in full where it is one.
    void CompleteDate();
    // "+" in the number field: the number behind the account's latest.
    void TakeNextCheckNumber();

    // Of Payee or Category.
    std::vector<Completion> Complete(EntryField field, size_t most = 10) const;
    // Takes one; of Payee, fills the fields that were not touched.
    void Choose(EntryField field, const Completion& completion);

    // --- result
    EntryProblems Check() const;
    // False where Check() finds a problem, or a name is reserved; nothing is set then.
    bool Result(CTransactionEntry& transaction, NewNames& names) const;
    // Enters or changes the transaction. False: not tried, since Check() finds a problem.
    bool Save(LedgerStatus& status, TransferSides sides = TransferSides::ThisOnly,
              const std::string& label = {});
    // The row that was saved last, kNoRow before.
    int64_t SavedRow() const { return m_savedRow; }

    void LedgerChanged(const ChangeNotice& notice) override;

private:
    static size_t Place(EntryField field) { return static_cast<size_t>(field); }
    void Put(EntryField field, std::string text) { m_texts[Place(field)] = std::move(text); }
    bool ReadAccount(int64_t accountId);
    bool ReadNames();
    bool ReadUses();
    void Clear(int64_t date);
    void FillFrom(int64_t payeeId);
    EntryProblem ReadType(TransactionType& type) const;
    EntryProblem ReadNumber(int32_t& check, std::string& electronic) const;
    EntryProblem ReadDate(int64_t& date) const;

    CWorkspace& m_workspace;
    CAccountEntry m_account;
    CTransactionEntry m_row;  // as it was, of a change
    std::array<std::string, kEntryFieldCount> m_texts;
    std::array<bool, kEntryFieldCount> m_touched{};
    CNameCompletion m_payees;
    CNameCompletion m_categories;
    bool m_payeeAsTyped = false;
    bool m_categoryAsTyped = false;
    int64_t m_savedRow = kNoRow;
};

}  // namespace quillon
