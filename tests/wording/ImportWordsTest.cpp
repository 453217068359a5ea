#include "wording/ImportWords.h"

#include <gtest/gtest.h>

namespace quillon {
namespace {

constexpr ImportFormat kQif{"QIF", false, true};
constexpr ImportFormat kQfx{"QFX", true, false};

ImportResult EndedResult(const ImportFormat& format) {
    ImportResult result;
    result.format = format;
    result.tellsHeld = format.hasIdentifiers;  // as by the plain rules
    result.read = 7000;
    result.imported = 4000;
    result.categoriesCreated = 3;
    return result;
}

ImportSource Source(const char* name, int64_t lines, bool chosen) {
    ImportSource source;
    source.name = name;
    source.lines = lines;
    source.chosen = chosen;
    return source;
}

TEST(ImportWords, EveryRefusalHasItsSentence) {
    using Code = ImportRefusalCode;
    const std::string failed = "An error occurred importing the QIF data file 'a/b.qif'.";
    const struct {
        ImportRefusal refusal;
        std::string text;
    } rows[] = {
        {{Code::NoSuchFile}, "The import file 'a/b.qif' does not exist."},
        {{Code::NotReadable}, failed},
        {{Code::NoPermission}, failed + " It may not be read: check its permissions."},
        {{Code::ReadFailed}, failed + " It cannot be read."},
        {{Code::Empty}, failed + " The file is empty."},
        {{Code::NotText}, failed + " It is not a text file."},
        {{Code::NoLines}, failed + " It cannot be split into lines."},
        {{Code::SourceUnclear},
         "The file 'a/b.qif' holds several accounts: '12' (2 lines), 'Visa' (1 line). Nothing was "
         "entered; say which of them is meant."},
        {{Code::SourceUnknown, {"Giro"}},
         "The file 'a/b.qif' holds no account 'Giro', but '12' (2 lines), 'Visa' (1 line)."},
        {{Code::NoDates}, failed + " None of its dates can be read."},
        {{Code::QifInvestments, {2}},
         failed +
             " It holds only investment actions (2) that move none of the account's own money."},
        {{Code::QifIncomplete, {3}}, failed + " None of its records (3) has a date and an amount."},
        {{Code::QifNoRecords}, failed + " Its registers hold no transactions."},
        {{Code::QifOnlyLists, {"Cat", "Class"}},
         failed + " It holds only lists (Cat, Class) and no register of transactions."},
        {{Code::QifNoRegister}, failed + " It holds no register of transactions."},
        {{Code::QifIsOfx}, failed + " It is an OFX statement: import it as QFX."},
        {{Code::NotQif}, failed + " It is not a QIF file: no line begins with \"!Type:\"."},
        {{Code::NotOfx},
         failed + " It is not an OFX statement: it holds neither <OFX> nor <STMTTRN>."},
        {{Code::OfxNoCompleteLine}, failed + " No statement line in it is complete."},
        {{Code::OfxBankReports, {"15500", "Wrong password"}},
         failed + " The bank sent no statement but error 15500: Wrong password"},
        {{Code::OfxBankReports, {"2000", ""}},
         failed + " The bank sent no statement but error 2000"},
        {{Code::OfxInvestments, {4}},
         failed + " It is an investment statement (4 actions on securities) without bank-style "
                  "lines."},
        {{Code::OfxNoLines}, failed + " Its statements hold no lines."},
        {{Code::CsvIsOther, {"a PDF document"}},
         failed + " It holds no rows of text but a PDF document."},
        {{Code::CsvHeadingAlone}, failed + " It holds a heading and no rows."},
        {{Code::CsvNoSuchColumn}, failed + " Its rows have no such column as was asked for."},
        {{Code::CsvNoDates, {"", ",", 3, 2, 0, 2, "\t", 3, 1, 0, 0}},
         failed + " No column of it holds dates. Tried: ',' (3 rows, 2 columns, dates in none, "
                  "amounts in column 2), tab (3 rows, 1 columns, dates in none, amounts in none). "
                  "--map date=N,amount=2 says which columns they are."},
        {{Code::CsvNoRows, {"1111/11/11", ";", 3, 2, 1, 0}},
         failed +
             " None of its rows has both a date and an amount. \"1111/11/11\" fits no order of "
             "day, month and year, or lies before 1601. Tried: ';' (3 rows, 2 columns, dates in "
             "column 1, amounts in none). --map date=1,amount=N says which columns they are."},
        {{Code::AccountUnreadable}, failed + " The account's transactions cannot be read."},
        {{Code::NoSuchAccount}, failed + " The account does not exist."},
        {{Code::AccountClosed}, failed + " The account is closed."},
        {{Code::SpentPlan}, failed + " This plan was carried out before."},
        {{Code::DiskFull},
         failed + " The disk is full: 4000 of 7000 transactions were entered and stay. Importing "
                  "the file again would enter these twice."},
        {{Code::StoreFailed},
         failed + " The database cannot be written: 4000 of 7000 transactions were entered and "
                  "stay. Importing the file again would enter these twice."},
        {{Code::OutOfMemory}, "There is not enough memory to import 'a/b.qif'."},
    };
    int last = 0;
    for (const auto& row : rows) {
        ImportResult result = EndedResult(kQif);
        result.sources = {Source("12", 2, true), Source("Visa", 1, false)};
        result.refusal = row.refusal;
        EXPECT_EQ(ImportRefusalMessage(result, "a/b.qif"), row.text);
        EXPECT_LE(static_cast<int>(row.refusal.code), last + 1) << "one is missing: " << row.text;
        last = static_cast<int>(row.refusal.code);
    }
    EXPECT_EQ(last, static_cast<int>(Code::OutOfMemory));

    ImportResult result = EndedResult(kQfx);
    result.refusal.code = Code::DiskFull;
    EXPECT_EQ(ImportRefusalMessage(result, "b.qfx"),
              "An error occurred importing the QFX data file 'b.qfx'. The disk is full: 4000 of "
              "7000 transactions were entered and stay. Importing the file again adds the rest "
              "without duplicates.");
    result.refusal = {Code::SourceUnknown, {"Giro"}};
    EXPECT_EQ(ImportRefusalMessage(result, "b.qfx"),
              "The file 'b.qfx' holds no account 'Giro', but none by name.");
}

TEST(ImportWords, ReportsLetterForLetter) {
    ImportResult qif = EndedResult(kQif);
    EXPECT_EQ(ImportReport(qif, "in.qif"),
              "The QIF data file 'in.qif' was imported successfully.\n\nTotal transactions in "
              "file:   7000\nTransactions imported:     4000\nCategories created:          3");
    ImportResult qfx = EndedResult(kQfx);
    EXPECT_EQ(ImportReport(qfx, "in.qfx"),
              "The QFX data file 'in.qfx' was imported successfully.\n\nTotal transactions in "
              "file:   7000\nTransactions imported:     4000");
    qfx.cancelled = true;
    EXPECT_EQ(ImportReport(qfx, "in.qfx"),
              "The import of 'in.qfx' was stopped before its end; what was entered stays. "
              "Importing the file again adds the rest.\n\nTotal transactions in file:   7000\n"
              "Transactions imported:     4000");
    qif.dryRun = true;
    EXPECT_EQ(ImportReport(qif, "in.qif"),
              "Nothing was entered from 'in.qif': it was only tried.\n\nTotal transactions in "
              "file:   7000\nTransactions to enter:     4000");
}

}  // namespace
}  // namespace quillon
