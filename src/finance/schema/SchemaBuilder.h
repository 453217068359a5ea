#pragma once

#include <cstdint>
#include <functional>

#include "finance/schema/FinanceSchema.h"
#include "storage/database/DatabaseManager.h"

namespace quillon {

// What creating and upgrading tables have in common. Nothing here opens a bracket
// of its own beyond that of a row.
class CSchemaBuilder {
public:
    // `layout`: of checks, for the accounts there are.
    CSchemaBuilder(CDatabaseManager& database, const CCheckPrintFormat& layout)
        : m_database(database), m_layout(layout) {}

    // Adds the column as the finance schema defines it; true as well when it is there.
    bool EnsureColumn(const char* table, const char* column);

    // A new row with its stamps; `set()` sets the rest. -1 on failure.
    template <class Set>
    int64_t AddRow(const char* table, int64_t now, Set set) {
        const bool ready = m_database.BeginRow(table) && set() &&
                           m_database.SetDateTime(kCreationStampColumn, now);
        return Finish(ready, now);
    }

    template <class Set>
    bool ChangeRow(const char* table, int64_t rowId, int64_t now, Set set) {
        return Finish(m_database.BeginRowUpdate(table, rowId) && set(), now) >= 0;
    }

    // Sets boolean columns of every row to what `value(rowId)` says.
    bool SetFlags(const char* table, std::span<const char* const> columns, int64_t now,
                  const std::function<bool(int64_t rowId)>& value);

    // Identifiers of all rows, in order.
    std::vector<int64_t> RowsOf(const char* table) const;

    CDatabaseManager& Database() { return m_database; }
    const CCheckPrintFormat& Layout() const { return m_layout; }

private:
    int64_t Finish(bool set, int64_t now) {
        if (set && m_database.SetDateTime(kModificationStampColumn, now)) {
            return m_database.CommitRow();
        }
        m_database.AbandonRow();
        return -1;
    }

    CDatabaseManager& m_database;
    const CCheckPrintFormat& m_layout;
};

// Writes what a new table starts with. True when there is nothing to write.
bool SeedTable(CSchemaBuilder& builder, std::string_view table);

// Runs the upgrade steps whose test holds and notes them in `outcome`.
void UpgradeFinanceSchema(CSchemaBuilder& builder, SchemaOutcome& outcome);

}  // namespace quillon
