// Brings databases of older releases to the present schema. Each step is one
// bracket and tests for itself whether it has anything to do.

#include <string>
#include <unordered_map>

#include "finance/records/FinanceRecords.h"
#include "finance/schema/SchemaBuilder.h"
#include "foundation/KeelList.h"
#include "foundation/platform/Clock.h"

namespace quillon {

namespace {

// Columns of older releases.
constexpr const char* kOldPayeeColumn = "Payee";
constexpr const char* kOldExcludedColumn = "Excluded";

bool HasColumnOfType(CDatabaseManager& database, const char* table, const char* name,
                     ColumnType type) {
    const CTableManager* found = database.FindTable(table);
    const CTableColumn* column = found ? found->FindColumn(name) : nullptr;
    return column && column->type == type;
}

bool Lacks(CDatabaseManager& database, const char* table, const char* column) {
    return database.FindTable(table) && !database.HasColumn(table, column);
}

// Turns names of payees into rows.
class CPayeeConversion {
public:
    explicit CPayeeConversion(CSchemaBuilder& builder, int64_t now)
        : m_builder(builder), m_now(now) {}

    bool LoadPayees();
    bool Convert(const char* table);

private:
    using Rows = COwnedList<CTransactionPayeeForConversionEntry>;

    bool ReadNames(const char* table, Rows& rows);
    int64_t FindOrAdd(const CKeelString& name);

    CSchemaBuilder& m_builder;
    int64_t m_now;
    std::unordered_map<std::string, int64_t> m_payees;
};

bool CPayeeConversion::LoadPayees() {
    const CTableManager* table = m_builder.Database().FindTable(kPayeeTable);
    const CTableColumn* name = table ? table->FindColumn("Name") : nullptr;
    if (!name) return false;
    CTableRowUpdateInfoValue value;
    for (const int64_t rowId : m_builder.RowsOf(kPayeeTable)) {
        if (!table->ReadValue(rowId, *name, value)) return false;
        m_payees.emplace(value.text.ToUtf8(), rowId);  // the oldest of equal names stays
    }
    return true;
}

int64_t CPayeeConversion::FindOrAdd(const CKeelString& name) {
    std::string key = name.ToUtf8();
    const auto known = m_payees.find(key);
    if (known != m_payees.end()) return known->second;
    const int64_t rowId = m_builder.AddRow(
        kPayeeTable, m_now, [&] { return m_builder.Database().SetText("Name", name); });
    if (rowId >= 0) m_payees.emplace(std::move(key), rowId);
    return rowId;
}

bool CPayeeConversion::ReadNames(const char* tableName, Rows& rows) {
    const CTableManager* table = m_builder.Database().FindTable(tableName);
    const CTableColumn* payee = table ? table->FindColumn(kOldPayeeColumn) : nullptr;
    if (!payee) return false;
    CTableRowUpdateInfoValue value;
    for (const int64_t rowId : m_builder.RowsOf(tableName)) {
        if (!table->ReadValue(rowId, *payee, value)) return false;
        CTransactionPayeeForConversionEntry& row = rows.Emplace();
        row.id = rowId;
        row.payee = value.text;
    }
    return true;
}

bool CPayeeConversion::Convert(const char* table) {
    CDatabaseManager& database = m_builder.Database();
    if (!m_builder.EnsureColumn(table, "PayeeID")) return false;
    if (!HasColumnOfType(database, table, kOldPayeeColumn, ColumnType::Text)) return true;
    Rows rows;
    if (!ReadNames(table, rows)) return false;
    for (const CTransactionPayeeForConversionEntry& row : rows) {
        const int64_t payeeId = FindOrAdd(row.payee);
        const bool stored = payeeId > kNoRow && m_builder.ChangeRow(table, row.id, m_now, [&] {
            return database.SetInt64("PayeeID", payeeId);
        });
        if (!stored) return false;
    }
    return database.RemoveColumn(table, kOldPayeeColumn);
}

bool NamePayeesByRow(CSchemaBuilder& builder, int64_t now) {
    CPayeeConversion conversion(builder, now);
    return conversion.LoadPayees() && conversion.Convert(kTransactionTable) &&
           conversion.Convert(kMemorizedTransactionTable);
}

// A category that was excluded stays out of everything; all others are counted.
bool SplitExcludedFlag(CSchemaBuilder& builder, int64_t now) {
    static constexpr const char* kFlags[] = {"IncludeIncome", "IncludeWorth",  "IncludeInvestment",
                                             "IncludePayee",  "IncludeBudget", "IncludeReports"};
    CDatabaseManager& database = builder.Database();
    for (const char* flag : kFlags) {
        if (!builder.EnsureColumn(kCategoryTable, flag)) return false;
    }
    const CTableManager* table = database.FindTable(kCategoryTable);
    const CTableColumn* excluded = table->FindColumn(kOldExcludedColumn);
    CTableRowUpdateInfoValue value;
    const bool set = builder.SetFlags(kCategoryTable, kFlags, now, [&](int64_t rowId) {
        return !(excluded->type == ColumnType::Boolean &&
                 table->ReadValue(rowId, *excluded, value) && value.boolean);
    });
    return set && database.RemoveColumn(kCategoryTable, kOldExcludedColumn);
}

bool AddTotalFlag(CSchemaBuilder& builder, int64_t now) {
    static constexpr const char* kFlags[] = {"IncludeTotal"};
    return builder.EnsureColumn(kCategoryTable, kFlags[0]) &&
           builder.SetFlags(kCategoryTable, kFlags, now, [](int64_t) { return true; });
}

}  // namespace

void UpgradeFinanceSchema(CSchemaBuilder& builder, SchemaOutcome& outcome) {
    CDatabaseManager& database = builder.Database();
    const int64_t now = NowFileTime();
    const auto run = [&](UpgradeStep step, auto work) {
        CBracketScope bracket(database);
        const bool done = bracket.Begun() && work() && bracket.Commit();
        (done ? outcome.upgrades : outcome.upgradesFailed).push_back(step);
    };

    if (HasColumnOfType(database, kTransactionTable, kOldPayeeColumn, ColumnType::Text)) {
        run(UpgradeStep::PayeeReferences, [&] { return NamePayeesByRow(builder, now); });
    }
    if (database.HasColumn(kCategoryTable, kOldExcludedColumn)) {
        run(UpgradeStep::CategoryFlags, [&] { return SplitExcludedFlag(builder, now); });
    }
    if (Lacks(database, kCategoryTable, "IncludeTotal")) {
        run(UpgradeStep::CategoryTotalFlag, [&] { return AddTotalFlag(builder, now); });
    }
    if (Lacks(database, kMemorizedTransactionTable, "Notes")) {
        run(UpgradeStep::MemorizedNotes,
            [&] { return builder.EnsureColumn(kMemorizedTransactionTable, "Notes"); });
    }
    if (Lacks(database, kCheckFormatTable, "VerticalOrientation")) {
        run(UpgradeStep::CheckOrientation,
            [&] { return builder.EnsureColumn(kCheckFormatTable, "VerticalOrientation"); });
    }
    // Removed columns left their texts and index records behind; their room goes now. Should
    // it fail, the next clean-up does it.
    if (!outcome.upgrades.empty()) (void)database.RemoveDeleted();
}

}  // namespace quillon
