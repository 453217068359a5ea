#pragma once

#include <new>
#include <vector>

#include "finance/database/Lookup.h"
#include "finance/records/RecordFields.h"
#include "finance/schema/FinanceSchema.h"
#include "foundation/KeelList.h"
#include "foundation/ReentrantLock.h"
#include "foundation/platform/Clock.h"
#include "query/NoSQLDatabaseInterface.h"

namespace quillon {

// A list in the order of row identifiers, by date; the sort keeps that among equal dates.
inline void SortInRegisterOrder(COwnedList<CTransactionEntry>& transactions) {
    transactions.Sort([](const CTransactionEntry& left, const CTransactionEntry& right) {
        return left.serviceDate < right.serviceDate;
    });
}

// The pattern that every operation on rows follows: the critical section is held from
// the first call of the engine to the last, stamps are written with every change, and
// running out of memory is a failure like any other.
class CFinanceRows {
public:
    explicit CFinanceRows(CDatabaseManager& database) : m_database(database), m_query(database) {}

    CReentrantLock& Section() { return m_section; }
    CDatabaseManager& Database() { return m_database; }

    // The last clause and its results point into tables; let them go before those do.
    void ForgetQuery() { m_query.Reset(); }

    // Runs `work` in the critical section.
    template <class Work>
    bool Run(Work work) {
        const CLockScope lock(m_section);
        try {
            return work();
        } catch (const std::bad_alloc&) {
            m_database.AbandonRow();
            return false;
        }
    }

    template <class Entry>
    bool Add(Entry& entry) {
        return Run([&] {
            const int64_t id = Insert(TableOf<Entry>(), [&] { return WriteFields(entry); });
            if (id <= kNoRow) return false;
            entry.id = id;
            return true;
        });
    }

    template <class Entry>
    bool Update(const Entry& entry) {
        return Change(TableOf<Entry>(), entry.id, [&] { return WriteFields(entry); });
    }

    // `set()` sets the changed columns of the row that was begun.
    template <class Set>
    bool Change(const char* table, int64_t rowId, Set set) {
        return Run([&] {
            if (rowId <= kNoRow || !m_database.BeginRowUpdate(table, rowId)) return false;
            return set() && m_database.SetDateTime(kModificationStampColumn, NowFileTime())
                       ? m_database.CommitRow() >= 0
                       : Abandon();
        });
    }

    bool Delete(const char* table, int64_t rowId) {
        return Run([&] { return rowId > kNoRow && m_database.DeleteRow(table, rowId); });
    }

    // `where(query)` adds the segments; the list is in the order of row identifiers.
    template <class Entry, class Where>
    bool List(COwnedList<Entry>& list, Where where) {
        list.Clear();
        return Run([&] {
            if (!Select(TableOf<Entry>(), where)) return false;
            const auto fields = PresentFields<Entry>();
            const int64_t count = m_query.Results().Count();
            bool read = true;
            for (int64_t position = 0; read && position < count; ++position) {
                read = ReadEntry(fields, position, list.Emplace());
            }
            m_query.ReleaseResults();
            return read;
        });
    }

    template <class Entry>
    bool List(COwnedList<Entry>& list) {
        return List(list, [](CNoSQLDatabaseInterface&) { return true; });
    }

    // Rows of one reference column.
    template <class Entry>
    bool ListByReference(const char* column, int64_t rowId, COwnedList<Entry>& list) {
        return List(list, [&](CNoSQLDatabaseInterface& query) {
            return query.AddInt64(column, WhereOperator::Equal, fields::ReferenceOrNone(rowId));
        });
    }

    // Runs a query and hands its results to `read(results)`, which returns bool.
    template <class Where, class Read>
    bool Ask(const char* table, Where where, Read read) {
        return Run([&] {
            if (!Select(table, where)) return false;
            const bool done = read(m_query.Results());
            m_query.ReleaseResults();
            return done;
        });
    }

    // The first row that matches; `entry` is untouched unless there is one.
    template <class Entry, class Where>
    CLookup ReadFirst(Entry& entry, Where where) {
        CLookup answer = CLookup::Failed();
        Run([&] {
            if (!Select(TableOf<Entry>(), where)) return false;
            Entry read;
            const CNoSQLDatabaseResults& rows = m_query.Results();
            const bool none = HasNone(rows);
            const bool found = !rows.IsEmpty() && ReadEntry(PresentFields<Entry>(), 0, read);
            m_query.ReleaseResults();
            if (found) entry = read;
            if (found || none) answer = found ? CLookup::Found() : CLookup::None();
            return true;
        });
        return answer;
    }

    template <class Entry>
    CLookup Read(int64_t rowId, Entry& entry) {
        if (rowId <= kNoRow) return CLookup::None();
        return ReadFirst(entry, [&](CNoSQLDatabaseInterface& query) {
            return query.AddInt64(kRowIdColumnName, WhereOperator::Equal, rowId);
        });
    }

    // The oldest row with that text.
    template <class Entry>
    CLookup ReadByText(Entry& entry, const char* column, std::string_view text) {
        return ReadFirst(entry, [&](CNoSQLDatabaseInterface& query) {
            return query.AddText(column, WhereOperator::Equal, text);
        });
    }

    // Identifier of the oldest row with that text, 0 unless there is one.
    CLookup FindByText(const char* table, const char* column, std::string_view text,
                       int64_t& rowId) {
        CLookup answer = CLookup::Failed();
        rowId = kNoRow;
        Run([&] {
            if (!Select(table, [&](CNoSQLDatabaseInterface& query) {
                    return query.AddText(column, WhereOperator::Equal, text);
                })) {
                return false;
            }
            const CNoSQLDatabaseResults& rows = m_query.Results();
            if (!rows.IsEmpty()) {
                rowId = rows.RowIdAt(0);
                answer = CLookup::Found();
            } else if (HasNone(rows)) {
                answer = CLookup::None();
            }
            m_query.ReleaseResults();
            return true;
        });
        return answer;
    }

    // The single row of a table that has one: `read(results)` reads from position 0.
    template <class Read>
    bool ReadSingle(const char* table, Read read) {
        return Run([&] {
            if (!Select(table, [](CNoSQLDatabaseInterface&) { return true; })) return false;
            const bool done = !m_query.Results().IsEmpty() && read(m_query.Results());
            m_query.ReleaseResults();
            return done;
        });
    }

    // Changes the single row, or adds it when it is missing.
    template <class Set>
    bool ChangeSingle(const char* table, Set set) {
        return Run([&] {
            if (!Select(table, [](CNoSQLDatabaseInterface&) { return true; })) return false;
            const int64_t rowId = m_query.Results().RowIdAt(0);
            m_query.ReleaseResults();
            return rowId > kNoRow ? Change(table, rowId, set) : Insert(table, set) > kNoRow;
        });
    }

private:
    // Among rows that cannot be read may be the one asked for.
    static bool HasNone(const CNoSQLDatabaseResults& rows) {
        return rows.IsEmpty() && rows.UnreadableRows() == 0;
    }

    bool Abandon() {
        m_database.AbandonRow();
        return false;
    }

    // The new row's identifier; -1 on failure.
    template <class Set>
    int64_t Insert(const char* table, Set set) {
        if (!m_database.BeginRow(table)) return -1;
        const int64_t now = NowFileTime();
        if (set() && m_database.SetDateTime(kCreationStampColumn, now) &&
            m_database.SetDateTime(kModificationStampColumn, now)) {
            return m_database.CommitRow();
        }
        Abandon();
        return -1;
    }

    template <class Where>
    bool Select(const char* table, Where where) {
        return m_query.SetTable(table) && where(m_query) && m_query.Execute();
    }

    template <class Entry>
    bool WriteFields(const Entry& entry) {
        for (const CRecordField<Entry>& field : FieldsOf<Entry>()) {
            if (!field.write(m_database, field.column, entry)) return false;
        }
        return true;
    }

    // A column that could not be added to an older table reads as the record's default.
    template <class Entry>
    std::vector<CRecordField<Entry>> PresentFields() {
        std::vector<CRecordField<Entry>> present;
        for (const CRecordField<Entry>& field : FieldsOf<Entry>()) {
            if (m_query.Clause().Table()->FindColumn(field.column)) present.push_back(field);
        }
        return present;
    }

    template <class Entry>
    bool ReadEntry(const std::vector<CRecordField<Entry>>& fields, int64_t position, Entry& entry) {
        const CNoSQLDatabaseResults& rows = m_query.Results();
        entry.id = rows.RowIdAt(position);
        if (!rows.ReadDateTime(kCreationStampColumn, position, entry.created) ||
            !rows.ReadDateTime(kModificationStampColumn, position, entry.modified)) {
            return false;
        }
        for (const CRecordField<Entry>& field : fields) {
            if (!field.read(rows, position, field.column, entry)) return false;
        }
        return true;
    }

    CReentrantLock m_section;
    CDatabaseManager& m_database;
    CNoSQLDatabaseInterface m_query;
};

}  // namespace quillon
