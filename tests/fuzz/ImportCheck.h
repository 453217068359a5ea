#pragma once

#include <cmath>
#include <vector>

#include "Fuzz.h"
#include "finance/database/QuillonDatabaseInterface.h"
#include "finance/ledger/Ledger.h"
#include "foundation/CalendarDate.h"
#include "import/plan/ImportManager.h"
#include "import/plan/ImportRecord.h"
#include "support/MemoryFileSystem.h"

namespace quillon::fuzz {

constexpr int64_t kTicksPerDay = 864'000'000'000;

// What holds for a record of any reader. `lines`: of the text it read.
inline void CheckRecord(const ImportRecord& record, int64_t lines) {
    FUZZ_CHECK(std::isfinite(record.amount), "amounts are finite");
    FUZZ_CHECK(record.date % kTicksPerDay == 0, "dates are midnights");
    FUZZ_CHECK(record.line >= 1 && record.line <= lines, "a record begins in the file");
    for (const std::string_view text :
         {record.payee, record.category, record.memo, record.electronic}) {
        Touch(text);
    }
}

// A ledger in memory that imports are tried on. Each is rolled back, so that every input
// meets the same one.
class CImportBench {
public:
    CImportBench() {
        m_files.SetClock(133'000'000'000'000'000);
        FUZZ_CHECK(m_database.Open("ledger").opened, "a ledger is made");
        CLedger ledger(m_database);
        m_account.name = "Checking";
        FUZZ_CHECK(
            ledger.OpenAccount(m_account, 0.0, FileTimeFromDate(2020, 1, 1)) == LedgerStatus::Ok,
            "with an account");
    }

    // Imports the bytes as a preview, then really, then really again. The first real
    // import's result is returned.
    template <typename Importer>
    ImportResult Run(std::span<const uint8_t> bytes, ImportOptions options, ImportResult& second) {
        Bytes& file = m_files.Bytes("in.txt");
        file = CopyOf(bytes);
        options.dryRun = true;
        const ImportResult preview = Preview<Importer>(options);
        FUZZ_CHECK(file == CopyOf(bytes), "a preview leaves the file alone");
        FUZZ_CHECK(Transactions() == 0, "a preview enters nothing");
        CheckResult(preview);

        options.dryRun = false;
        FUZZ_CHECK(m_database.Store().BeginBatch(), "a batch begins");
        const ImportResult result = Import<Importer>(options);
        CheckResult(result);
        FUZZ_CHECK(result.failed == preview.failed, "the preview told whether it works");
        FUZZ_CHECK(result.imported == preview.imported && result.duplicates == preview.duplicates &&
                       result.read == preview.read,
                   "the preview counted what was entered");
        FUZZ_CHECK(result.payeesCreated == preview.payeesCreated &&
                       result.categoriesCreated == preview.categoriesCreated,
                   "and what was made for it");
        FUZZ_CHECK(Transactions() == result.imported, "the account holds what was imported");
        FUZZ_CHECK(AreBalancesRight(), "its balance is the sum");
        second = Import<Importer>(options);
        CheckResult(second);
        FUZZ_CHECK(AreBalancesRight(), "after a second import too");
        m_database.Store().RollbackBatch();
        FUZZ_CHECK(Transactions() == 0, "a rollback leaves nothing");
        return result;
    }

    // The file as the last import left it.
    const Bytes& File() { return m_files.Bytes("in.txt"); }

private:
    template <typename Importer>
    ImportResult Import(const ImportOptions& options) {
        Importer import(m_database, m_account, "in.txt", m_files);
        import.SetOptions(options);
        return import.Import();
    }

    void CheckResult(const ImportResult& result) {
        using Code = ImportRefusalCode;
        const Code why = result.refusal.code;
        FUZZ_CHECK(result.failed == (why != Code::None), "a failure says why");
        FUZZ_CHECK(why != Code::DiskFull && why != Code::StoreFailed, "never for the ledger");
        FUZZ_CHECK(why != Code::OutOfMemory, "nor for want of memory");
        if (result.failed) return;
        FUZZ_CHECK(result.imported + result.duplicates + result.matched <= result.read,
                   "no more than was read");
    }

    // The rows of a plan, one by one and in a walk, and its counts.
    template <typename Importer>
    ImportResult Preview(const ImportOptions& options) {
        Importer import(m_database, m_account, "in.txt", m_files);
        import.SetOptions(options);
        const CImportPlan plan = import.MakePlan();
        int64_t entered = 0;
        size_t index = 0;
        plan.ForEachRow([&](const ImportPlanRow& row) {
            const ImportPlanRow same = plan.Row(index++);
            FUZZ_CHECK(same.line == row.line && same.date == row.date &&
                           same.amount == row.amount && same.fitId == row.fitId &&
                           same.payee == row.payee && same.memo == row.memo &&
                           same.idText == row.idText,
                       "a row is the same however it is asked for");
            for (const std::string_view text : {row.payeeInFile, row.payee, row.categoryInFile,
                                                row.category, row.memo, row.idText}) {
                Touch(text);
            }
            FUZZ_CHECK(std::isfinite(row.amount), "amounts are finite");
            entered += row.action == PlanAction::Enter;
        });
        ImportResult preview = plan.Preview();
        FUZZ_CHECK(index == plan.RowCount() && entered == preview.imported,
                   "rows and counters agree");
        return preview;
    }

    int64_t Transactions() {
        COwnedList<CTransactionEntry> transactions;
        FUZZ_CHECK(m_database.ListTransactionsByAccount(m_account.id, transactions),
                   "the account can be read");
        int64_t count = 0;
        for (const CTransactionEntry& transaction : transactions) {
            FUZZ_CHECK(transaction.amount >= 0, "amounts are magnitudes");
            ++count;
        }
        return count;
    }

    bool AreBalancesRight() {
        CLedger ledger(m_database);
        std::vector<BalanceMismatch> mismatches;
        return ledger.VerifyBalances(mismatches) && mismatches.empty();
    }

    CMemoryFileSystem m_files;
    CQuillonDatabaseInterface m_database{m_files};
    CAccountEntry m_account;
};

inline CImportBench& ImportBench() {
    static CImportBench bench;
    return bench;
}

}  // namespace quillon::fuzz
