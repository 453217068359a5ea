#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "finance/database/QuillonDatabaseInterface.h"
#include "finance/ledger/Balance.h"
#include "finance/ledger/Ledger.h"
#include "foundation/CalendarDate.h"
#include "foundation/platform/Clock.h"
#include "import/ofx/QFXImportManager.h"
#include "import/plan/ImportRecord.h"
#include "import/qif/QIFImportManager.h"
#include "support/Bytes.h"
#include "support/MemoryFileSystem.h"

namespace quillon {

using Lines = std::vector<std::string>;

inline std::string ShownAmount(double amount) {
    char text[40];
    std::snprintf(text, sizeof text, "%.10g", amount);
    return text;
}

// "2021-01-02 -12.5 Shop [Food] (memo) #7 EFT" of a record; parts that are empty are left
// out.
inline std::string Shown(const ImportRecord& record) {
    std::string line = FormatIsoDate(record.date) + " " + ShownAmount(record.amount);
    if (!record.payee.empty()) line.append(" ").append(record.payee);
    if (!record.category.empty()) line.append(" [").append(record.category).append("]");
    if (!record.memo.empty()) line.append(" (").append(record.memo).append(")");
    if (record.check != 0) line += " #" + std::to_string(record.check);
    if (!record.electronic.empty()) line.append(" ").append(record.electronic);
    return line;
}

// Values as a failed comparison shows them: " 2 -12.5 Food".
inline std::string Shown(const std::vector<ImportValue>& values) {
    std::string all;
    for (const ImportValue& value : values) {
        const auto* const number = std::get_if<int64_t>(&value);
        const auto* const amount = std::get_if<double>(&value);
        all += " " + (number   ? std::to_string(*number)
                      : amount ? ShownAmount(*amount)
                               : std::get<std::string>(value));
    }
    return all;
}
inline std::string Shown(const ImportRefusal& refusal) {
    return "refusal " + std::to_string(static_cast<int>(refusal.code)) + Shown(refusal.values);
}

// A note that is looked for among others.
struct Noted {
    int64_t line = -1;  // -1: none is looked for
    ImportNoteCode code{};
    std::vector<ImportValue> values = {};
};

inline std::string Shown(const std::vector<ImportNote>& notes) {
    std::string all;
    for (const ImportNote& note : notes) {
        all += std::to_string(note.line) + ": note " + std::to_string(static_cast<int>(note.code)) +
               Shown(note.values) + "\n";
    }
    return all;
}

inline void ExpectNoted(const std::vector<ImportNote>& notes, const Noted& wanted) {
    const auto is = [&wanted](const ImportNote& note) {
        return note.line == wanted.line && note.code == wanted.code && note.values == wanted.values;
    };
    EXPECT_TRUE(wanted.line < 0 || std::any_of(notes.begin(), notes.end(), is))
        << "no note " << static_cast<int>(wanted.code) << " among\n"
        << Shown(notes);
}

// A ledger on a disk in memory with one account to import into.
class CImportLedger : public testing::Test {
protected:
    void SetUp() override { OpenAccount("Checking", AccountType::Checking); }

    void OpenAccount(const std::string& name, AccountType type) {
        m_database.Close();
        ASSERT_TRUE(m_database.Open("ledger").opened);
        m_account = CAccountEntry();
        m_account.name = name;
        m_account.accountType = type;
        CLedger ledger(m_database);
        ASSERT_EQ(ledger.OpenAccount(m_account, 0.0, FileTimeFromDate(2020, 1, 1)),
                  LedgerStatus::Ok);
    }

    template <typename Importer>
    ImportResult Import(const std::string& path, const ImportOptions& options) {
        Importer import(m_database, m_account, path, m_files);
        import.SetOptions(options);
        return import.Import();
    }

    COwnedList<CTransactionEntry> Transactions() {
        COwnedList<CTransactionEntry> transactions;
        EXPECT_TRUE(m_database.ListTransactionsByAccount(m_account.id, transactions));
        return transactions;
    }

    // Each transaction in register order as if it were a record.
    Lines Register() {
        Lines lines;
        for (const CTransactionEntry& row : Transactions()) {
            CPayeeEntry payee;
            CCategoryEntry category;
            if (row.payeeId != kNoRow) {
                EXPECT_TRUE(m_database.Read(row.payeeId, payee));
            }
            if (row.categoryId != kNoRow) {
                EXPECT_TRUE(m_database.Read(row.categoryId, category));
            }
            const std::string texts[] = {payee.name.ToUtf8(), category.name.ToUtf8(),
                                         row.memo.ToUtf8(), row.electronicPayment.ToUtf8()};
            ImportRecord record;
            record.date = row.serviceDate;
            record.amount = BalanceEffect(row.transactionType, row.amount, m_account.accountType);
            record.payee = texts[0];
            record.category = texts[1];
            record.memo = texts[2];
            record.electronic = texts[3];
            record.check = row.check;
            lines.push_back(Shown(record));
        }
        return lines;
    }

    double Balance() {
        CAccountEntry account;
        EXPECT_TRUE(m_database.Read(m_account.id, account));
        return account.currentBalance;
    }

    void ExpectBalancesInOrder() {
        CLedger ledger(m_database);
        std::vector<BalanceMismatch> mismatches;
        EXPECT_TRUE(ledger.VerifyBalances(mismatches));
        EXPECT_TRUE(mismatches.empty());
    }

    CStoppedClock m_clock{FileTimeFromDate(2030, 5, 6)};
    CMemoryFileSystem m_files;
    CQuillonDatabaseInterface m_database{m_files};
    CAccountEntry m_account;
};

}  // namespace quillon
