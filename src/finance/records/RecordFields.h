#pragma once

#include <cmath>
#include <span>
#include <type_traits>

#include "finance/records/FinanceRecords.h"
#include "query/NoSQLDatabaseResults.h"
#include "storage/database/DatabaseManager.h"

namespace quillon {

// How the members of a record and the columns of its table belong together: one list
// per record class, used for reading and writing alike.
template <class Entry>
struct CRecordField {
    const char* column;
    // False: the value cannot be read.
    bool (*read)(const CNoSQLDatabaseResults& rows, int64_t position, const char* column,
                 Entry& entry);
    // Sets the value in the row that was begun.
    bool (*write)(CDatabaseManager& database, const char* column, const Entry& entry);
};

// Table and fields of a record class; the stamps and the row identifier, which all
// tables have, are not among the fields.
template <class Entry>
const char* TableOf();
template <class Entry>
std::span<const CRecordField<Entry>> FieldsOf();

namespace fields {

// What is stored for a number: there is no ordering, sum or sign of one that is not finite.
inline double Finite(double value) {
    return std::isfinite(value) ? value : 0.0;
}

// What is stored and read for a reference: 0 for whatever means none.
constexpr int64_t ReferenceOrNone(int64_t rowId) {
    return rowId < 0 ? kNoRow : rowId;
}

// The member at the end of a path of member pointers.
template <auto... Path, class Entry>
auto& Follow(Entry& entry) {
    return (entry.*....*Path);
}

template <class Member>
bool ReadMember(const CNoSQLDatabaseResults& rows, int64_t position, const char* column,
                Member& member) {
    if constexpr (std::is_same_v<Member, CKeelString>) {
        return rows.ReadText(column, position, member);
    } else if constexpr (std::is_same_v<Member, bool>) {
        return rows.ReadBoolean(column, position, member);
    } else if constexpr (std::is_same_v<Member, double>) {
        return rows.ReadDouble(column, position, member);
    } else if constexpr (std::is_same_v<Member, int32_t>) {
        return rows.ReadInt32(column, position, member);
    } else if constexpr (std::is_same_v<Member, int64_t>) {
        return rows.ReadInt64(column, position, member);
    } else {
        static_assert(std::is_same_v<std::underlying_type_t<Member>, int32_t>);
        int32_t code = 0;
        if (!rows.ReadInt32(column, position, code)) return false;
        member = static_cast<Member>(code);
        return true;
    }
}

template <class Member>
bool WriteMember(CDatabaseManager& database, const char* column, const Member& member) {
    if constexpr (std::is_same_v<Member, CKeelString>) {
        return database.SetText(column, member);
    } else if constexpr (std::is_same_v<Member, bool>) {
        return database.SetBoolean(column, member);
    } else if constexpr (std::is_same_v<Member, double>) {
        return database.SetDouble(column, Finite(member));
    } else if constexpr (std::is_same_v<Member, int32_t>) {
        return database.SetInt32(column, member);
    } else if constexpr (std::is_same_v<Member, int64_t>) {
        return database.SetInt64(column, member);
    } else {
        return database.SetInt32(column, static_cast<int32_t>(member));
    }
}

// A column whose type follows from the member's. Enums are stored as their code.
template <class Entry, auto... Path>
constexpr CRecordField<Entry> Plain(const char* column) {
    return {column,
            [](const CNoSQLDatabaseResults& rows, int64_t position, const char* name,
               Entry& entry) { return ReadMember(rows, position, name, Follow<Path...>(entry)); },
            [](CDatabaseManager& database, const char* name, const Entry& entry) {
                return WriteMember(database, name, Follow<Path...>(entry));
            }};
}

// A reference to a row of another table; 0 and negative values are none.
template <class Entry, auto Member>
constexpr CRecordField<Entry> Reference(const char* column) {
    return {
        column,
        [](const CNoSQLDatabaseResults& rows, int64_t position, const char* name, Entry& entry) {
            int64_t row = 0;
            if (!rows.ReadInt64(name, position, row)) return false;
            entry.*Member = ReferenceOrNone(row);
            return true;
        },
        [](CDatabaseManager& database, const char* name, const Entry& entry) {
            return database.SetInt64(name, ReferenceOrNone(entry.*Member));
        }};
}

template <class Entry, auto Member>
constexpr CRecordField<Entry> Date(const char* column) {
    return {column,
            [](const CNoSQLDatabaseResults& rows, int64_t position, const char* name,
               Entry& entry) { return rows.ReadDateTime(name, position, entry.*Member); },
            [](CDatabaseManager& database, const char* name, const Entry& entry) {
                return database.SetDateTime(name, entry.*Member);
            }};
}

}  // namespace fields
}  // namespace quillon
