#include "finance/schema/SchemaBuilder.h"

namespace quillon {

namespace {

// Row identifier 0 means none in references, so no row of ours gets it.
constexpr int64_t kFirstRowId = 1;

constexpr FinanceColumn kStamps[] = {
    {kCreationStampColumn, ColumnType::DateTime, false, false},
    {kModificationStampColumn, ColumnType::DateTime, false, false},
};

bool AddColumns(CDatabaseManager& database, const char* table,
                std::span<const FinanceColumn> columns) {
    bool added = true;
    for (const FinanceColumn& column : columns) {
        added =
            database.AddColumn(table, column.name, column.type, column.indexed, column.attribute) &&
            added;
    }
    return added;
}

bool CreateFinanceTable(CSchemaBuilder& builder, const FinanceTable& table) {
    CDatabaseManager& database = builder.Database();
    CBracketScope bracket(database);
    if (!bracket.Begun()) return false;
    CTableManager* created = database.CreateTable(table.name);
    if (!created || !created->SkipRowIdsBelow(kFirstRowId)) return false;
    // A column that cannot be added takes the table and its seed with it: the next open
    // starts over, where a table without the column would stay as it is for good.
    return AddColumns(database, table.name, kStamps) &&
           AddColumns(database, table.name, table.columns) && SeedTable(builder, table.name) &&
           bracket.Commit();
}

}  // namespace

bool CSchemaBuilder::EnsureColumn(const char* table, const char* column) {
    if (m_database.HasColumn(table, column)) return true;
    const FinanceColumn* definition = FindFinanceColumn(table, column);
    return definition && m_database.AddColumn(table, column, definition->type, definition->indexed,
                                              definition->attribute);
}

std::vector<int64_t> CSchemaBuilder::RowsOf(const char* table) const {
    std::vector<int64_t> rows;
    if (const CTableManager* found = m_database.FindTable(table)) {
        found->WalkRows([&](int64_t rowId) {
            rows.push_back(rowId);
            return true;
        });
    }
    return rows;
}

bool CSchemaBuilder::SetFlags(const char* table, std::span<const char* const> columns, int64_t now,
                              const std::function<bool(int64_t rowId)>& value) {
    for (const int64_t rowId : RowsOf(table)) {
        const bool flag = value(rowId);
        const bool changed = ChangeRow(table, rowId, now, [&] {
            for (const char* column : columns) {
                if (!m_database.SetBoolean(column, flag)) return false;
            }
            return true;
        });
        if (!changed) return false;
    }
    return true;
}

SchemaOutcome EnsureFinanceSchema(CDatabaseManager& database, const CCheckPrintFormat& layout) {
    SchemaOutcome outcome;
    CSchemaBuilder builder(database, layout);
    for (const FinanceTable& table : FinanceTables()) {
        if (database.FindTable(table.name)) continue;
        if (CreateFinanceTable(builder, table)) {
            ++outcome.tablesCreated;
        } else {
            outcome.tablesFailed.push_back(table.name);
        }
    }
    UpgradeFinanceSchema(builder, outcome);
    return outcome;
}

}  // namespace quillon
