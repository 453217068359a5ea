#include "StoreContent.h"

#include <algorithm>
#include <functional>

#include "finance/ledger/Ledger.h"
#include "storage/journal/Checksums.h"
#include "support/MemoryFileSystem.h"

namespace quillon {
namespace {

std::string TextOf(const std::vector<TableIntegrity>& tables, IntegrityCode code) {
    std::string text = "verify gives " + std::to_string(static_cast<int>(code));
    for (const TableIntegrity& table : tables) {
        if (table.code == IntegrityCode::Ok) continue;
        const IntegrityDetail& detail = table.detail;
        text += "; " + table.table + ": kind " + std::to_string(static_cast<int>(detail.kind)) +
                " " + detail.file + " row " + std::to_string(detail.row) + " number " +
                std::to_string(detail.number);
    }
    return text;
}

std::string ProblemText(DatabaseProblem problem, const std::string& detail) {
    return "does not open, problem " + std::to_string(static_cast<int>(problem)) + " " + detail;
}

}  // namespace

std::string WrongWith(const StoreLook& look, const std::vector<uint64_t>& allowed) {
    if (!look.IsSound()) return look.problem;
    const bool isAllowed = std::find(allowed.begin(), allowed.end(), look.content) != allowed.end();
    return isAllowed ? "" : "other contents than acknowledged";
}

uint64_t ContentHash(CDatabaseManager& database, Stamps stamps) {
    LeftOut leftOut;
    if (stamps == Stamps::LeftOut) leftOut = {kCreationStampColumn, kModificationStampColumn};
    std::string text;
    for (const auto& [table, rows] : ContentOf(database, 8, leftOut)) {
        text += "table " + table;
        for (const auto& [row, values] : rows) {
            text += '\n' + std::to_string(row);
            for (const std::string& value : values) text += ' ' + value;
        }
        text += '\n';
    }
    return std::hash<std::string>{}(text);
}

StoreLook LookAtOpen(CDatabaseManager& database, CQuillonDatabaseInterface* finance,
                     Stamps stamps) {
    StoreLook look;
    std::vector<TableIntegrity> tables;
    const IntegrityCode code = database.Verify(tables);
    if (code != IntegrityCode::Ok) look.problem = TextOf(tables, code);
    // A false alarm would be as bad. A store that stopped taking changes cannot tell.
    std::vector<PageDamage> pages;
    if (look.problem.empty() && database.VerifyPages(pages) && !pages.empty()) {
        look.problem = "page " + std::to_string(pages.front().page) + " of " + pages.front().file +
                       " is not as it was written";
    }
    look.content = ContentHash(database, stamps);
    if (!finance || !look.problem.empty()) return look;
    CLedger ledger(*finance);
    std::vector<BalanceMismatch> mismatches;
    if (!ledger.VerifyBalances(mismatches)) look.problem = "balances cannot be read";
    if (!mismatches.empty()) look.problem = "a balance is not the sum of the transactions";
    return look;
}

namespace {

// The history must be about these rows: what it says was done last can be taken back and done
// again, and everything is as before.
std::string WrongWithHistory(CQuillonDatabaseInterface& finance) {
    CHistory& history = finance.History();
    const std::optional<HistoryAction> last = history.NextUndo();
    // What a stop left in the middle goes back first: it is done again as a whole.
    if (last && last->state != ActionState::Done && history.Undo().status != HistoryStatus::Ok) {
        return "what was undone in part cannot be undone";
    }
    const uint64_t before = ContentHash(finance.Store(), Stamps::Kept);
    const bool undoes = last && last->state == ActionState::Done;
    if (!undoes && !history.NextRedo()) return {};
    const HistoryStatus first = (undoes ? history.Undo() : history.Redo()).status;
    const HistoryStatus second = (undoes ? history.Redo() : history.Undo()).status;
    if (first != HistoryStatus::Ok || second != HistoryStatus::Ok) {
        return "undo and redo give " + std::to_string(static_cast<int>(first)) + " and " +
               std::to_string(static_cast<int>(second));
    }
    const bool isSame = ContentHash(finance.Store(), Stamps::Kept) == before;
    return isSame ? "" : "undo and redo leave other contents";
}

}  // namespace

StoreLook LookAtFolder(CFileSystem& files, bool isFinance, const char* folder, Stamps stamps) {
    StoreLook look;
    if (!isFinance) {
        CDatabaseManager database(files);
        if (!database.Open(folder)) {
            look.problem = ProblemText(database.Problem(), database.ProblemDetail());
            return look;
        }
        look = LookAtOpen(database, nullptr, stamps);
        if (!database.Close()) look.problem = "does not close";
        return look;
    }
    CQuillonDatabaseInterface finance(files);
    const FinanceOpenResult opened = finance.Open(folder);
    if (!opened.opened || !opened.schema.Complete()) {
        look.problem = ProblemText(opened.problem, opened.detail);
        return look;
    }
    look = LookAtOpen(finance.Store(), &finance, stamps);
    if (!finance.Close()) look.problem = "does not close";
    return look;
}

StoreLook LookAtImage(const DiskImage& image, bool isFinance) {
    CMemoryFileSystem files;
    files.Restore(image);
    StoreLook look = LookAtFolder(files, isFinance);
    if (!isFinance || !look.IsSound()) return look;
    CQuillonDatabaseInterface finance(files);
    look.problem = finance.Open(kLedgerFolder).opened ? WrongWithHistory(finance) : "opens once";
    return look;
}

bool MakeOldVersion(CFileSystem& files, const std::string& folder) {
    std::vector<std::string> names;
    if (!files.List(folder, names)) return false;
    for (const std::string& name : names) {
        if (!name.ends_with("data.dat")) continue;
        const std::string path = WithTrailingSeparator(folder) + name;
        Bytes bytes;
        if (!ReadWholeFile(files, path, bytes)) return false;
        bytes[50] = 1;
        bytes.insert(bytes.begin() + 54, 8, 0xAB);
        if (!WriteWholeFile(files, path, bytes)) return false;
    }
    // Such stores know nothing of what newer versions put beside the files.
    const std::string checksums = WithTrailingSeparator(folder) + "Checksums.dat";
    return !files.Exists(checksums) || files.Remove(checksums);
}

}  // namespace quillon
