#include "StoreContent.h"

#include <functional>
#include <map>
#include <string_view>

#include "finance/Ledger.h"
#include "support/MemoryFileSystem.h"

namespace quillon {
namespace {

class CDigest {
public:
    void Add(std::string_view text) { Add(uint64_t{std::hash<std::string_view>{}(text)}); }
    void Add(uint64_t number) {
        m_value = (m_value ^ number) * 0x9E3779B97F4A7C15ULL;
        m_value ^= m_value >> 31;
    }
    uint64_t Value() const { return m_value; }

private:
    uint64_t m_value = 1;
};

void AddTable(const CTableManager& table, CDigest& digest) {
    digest.Add(table.Name().View());
    std::vector<uint8_t> record;
    for (const CTableColumn& column : table.Columns()) digest.Add(column.name.View());
    table.WalkRows([&](int64_t rowId) {
        digest.Add(static_cast<uint64_t>(rowId));
        const bool readable = table.ReadRecord(rowId, record);
        for (const CTableColumn& column : table.Columns()) {
            if (column.name.View() == kCreationStampColumn ||
                column.name.View() == kModificationStampColumn) {
                continue;
            }
            CTableRowUpdateInfoValue value;
            if (!readable || !table.ValueFromRecord(record, column, value)) {
                digest.Add("unreadable");
            } else if (!value.isSet) {
                digest.Add("none");
            } else if (value.type == ColumnType::Text) {
                digest.Add(value.text.View());
            } else {
                digest.Add(static_cast<uint64_t>(value.Key()));
            }
        }
        return true;
    });
}

std::string TextOf(const std::vector<TableIntegrity>& tables, IntegrityCode code) {
    std::string text = "verify gives " + std::to_string(static_cast<int>(code));
    for (const TableIntegrity& table : tables) {
        if (table.code != IntegrityCode::Ok) text += "; " + table.table + ": " + table.detail;
    }
    return text;
}

std::string ProblemText(DatabaseProblem problem, const std::string& detail) {
    return "does not open, problem " + std::to_string(static_cast<int>(problem)) + " " + detail;
}

}  // namespace

uint64_t ContentOf(CDatabaseManager& database) {
    CDigest digest;
    // By name: a table that could not be made at first comes later than others.
    std::map<std::string, const CTableManager*> tables;
    for (const auto& table : database.Tables()) tables[table->Name().ToUtf8()] = table.get();
    for (const auto& table : tables) AddTable(*table.second, digest);
    constexpr int64_t kMostBlobs = 8;
    std::vector<uint8_t> bytes;
    for (int64_t id = 0; id < kMostBlobs; ++id) {
        if (!database.ReadBlob(id, bytes)) continue;
        digest.Add(static_cast<uint64_t>(id));
        digest.Add(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
    }
    return digest.Value();
}

StoreLook LookAtOpen(CDatabaseManager& database, CQuillonDatabaseInterface* finance) {
    StoreLook look;
    std::vector<TableIntegrity> tables;
    const IntegrityCode code = database.Verify(tables);
    if (code != IntegrityCode::Ok) look.problem = TextOf(tables, code);
    look.content = ContentOf(database);
    if (!finance || !look.problem.empty()) return look;
    CLedger ledger(*finance);
    std::vector<BalanceMismatch> mismatches;
    if (!ledger.VerifyBalances(mismatches)) look.problem = "balances cannot be read";
    if (!mismatches.empty()) look.problem = "a balance is not the sum of the transactions";
    return look;
}

StoreLook LookAtFolder(CFileSystem& files, bool isFinance) {
    StoreLook look;
    if (!isFinance) {
        CDatabaseManager database(files);
        if (!database.Open(kLedgerFolder)) {
            look.problem = ProblemText(database.Problem(), database.ProblemDetail());
            return look;
        }
        look = LookAtOpen(database, nullptr);
        if (!database.Close()) look.problem = "does not close";
        return look;
    }
    CQuillonDatabaseInterface finance(files);
    const FinanceOpenResult opened = finance.Open(kLedgerFolder);
    if (!opened.opened || !opened.schema.Complete()) {
        look.problem = ProblemText(opened.problem, opened.detail);
        return look;
    }
    look = LookAtOpen(finance.Database(), &finance);
    if (!finance.Close()) look.problem = "does not close";
    return look;
}

StoreLook LookAtImage(const DiskImage& image, bool isFinance) {
    CMemoryFileSystem files;
    files.Restore(image.files);
    for (const std::string& folder : image.folders) {
        if (!files.MakeFolder(folder)) return {.problem = "no folder " + folder};
    }
    return LookAtFolder(files, isFinance);
}

}  // namespace quillon
