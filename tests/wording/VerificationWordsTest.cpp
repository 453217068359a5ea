#include "wording/VerificationWords.h"

#include <gtest/gtest.h>

namespace quillon {
namespace {

using Kind = IntegrityDetail::Kind;

TEST(VerificationWords, WhatIsWrongWithATable) {
    const struct {
        IntegrityDetail detail;
        const char* text;
    } rows[] = {
        {{}, ""},
        {{.kind = Kind::NoColumns}, "the table has no columns"},
        {{.kind = Kind::NoDictionary, .file = "A.dat"}, "A.dat: its dictionary cannot be read"},
        {{.kind = Kind::NoIndex, .file = "I.dat"}, "I.dat can be neither read nor made anew"},
        {{.kind = Kind::EntryCount, .file = "I.dat", .column = "Payee", .number = 2, .rows = 3},
         "I.dat: 2 entries for 3 rows"},
        {{.kind = Kind::EntryCount, .column = "Payee", .rows = 3}, "Payee: 0 entries for 3 rows"},
        {{.kind = Kind::AttributeFlag, .file = "I.dat"},
         "I.dat: the header's attribute flag is not the column's"},
        {{.kind = Kind::NoSuchRow, .file = "I.dat", .row = -1}, "I.dat, row -1 does not exist"},
        {{.kind = Kind::UnreadableRow, .file = "A.dat", .row = 7}, "A.dat, row 7 cannot be read"},
        {{.kind = Kind::ForeignKey, .file = "I.dat", .row = 7, .number = 9},
         "I.dat, row 7: no value of the column's type has the key 9"},
        {{.kind = Kind::OtherValue, .file = "I.dat", .row = 7}, "I.dat, row 7 holds another value"},
        {{.kind = Kind::NeitherBoolean, .column = "Active", .row = 7},
         "row 7, column \"Active\": neither true nor false"},
        {{.kind = Kind::BadText, .column = "Memo", .row = 7, .number = -2},
         "row 7, column \"Memo\", text -2"},
        {{.kind = Kind::BadText, .file = "A.dat", .column = "Memo", .row = 7, .number = 5},
         "A.dat, row 7, column \"Memo\", text 5"},
        {{.kind = Kind::SharedText, .number = 5}, "text 5 belongs to two rows"},
        {{.kind = Kind::OrphanText, .number = 5}, "text 5 belongs to no row"},
        {{.kind = Kind::OutsideFile, .file = "A.dat", .number = 5},
         "A.dat, entry 5 lies outside the file"},
        {{.kind = Kind::FreeBlockInUse, .file = "A.dat", .number = 99},
         "A.dat, byte 99: a block in use is on the free list"},
        {{.kind = Kind::SharedBlock, .file = "A.dat", .number = 99},
         "A.dat, byte 99: two entries share a block"},
    };
    for (const auto& row : rows) EXPECT_EQ(IntegrityDetailText(row.detail), row.text);
}

TEST(VerificationWords, TheFirstDamagedTableIsNamed) {
    Verification found;
    found.code = IntegrityCode::TextMismatch;
    found.tables.resize(2);
    TableIntegrity& payees = found.tables.back();
    payees.table = "Payee";
    payees.code = found.code;
    payees.detail = {.kind = Kind::OrphanText, .number = 5};
    EXPECT_EQ(VerificationMessage(found),
              "The database integrity check found a text value that does not match. Table "
              "'Payee': text 5 belongs to no row.");
    payees.detail = {};
    EXPECT_EQ(VerificationMessage(found),
              "The database integrity check found a text value that does not match. Table "
              "'Payee'.");
}

}  // namespace
}  // namespace quillon
