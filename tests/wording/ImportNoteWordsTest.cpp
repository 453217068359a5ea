#include <gtest/gtest.h>

#include "import/text/Dialect.h"
#include "wording/ImportWords.h"

namespace quillon {
namespace {

using Code = ImportNoteCode;

ImportSource Source(const char* name, int64_t lines, bool chosen) {
    ImportSource source;
    source.name = name;
    source.lines = lines;
    source.chosen = chosen;
    return source;
}

struct Row {
    Code code;
    std::vector<ImportValue> values;
    const char* text;
};

std::vector<Row> Rows() {
    constexpr auto kUtf16 = static_cast<int64_t>(Charset::Utf16Low);
    constexpr auto kAnsi = static_cast<int64_t>(Charset::Windows1252);
    return {
        {Code::TextIs, {kUtf16}, "The text is utf-16le."},
        {Code::TextIsUtf8, {"1252"}, "The text is utf-8. (The header says 1252.)"},
        {Code::TextIsNotAsDeclared,
         {kAnsi, "UTF-8"},
         "The text is windows-1252. The header says UTF-8, which it is not or which is not known "
         "here: check the names."},
        {Code::CharactersReplaced,
         {2},
         "2 broken characters were replaced by a question mark sign."},
        {Code::DatesDayFirst, {"31/1/15"}, "Dates have the day first: 31/1/15."},
        {Code::DatesMonthFirst, {"1/31/15"}, "Dates have the month first: 1/31/15."},
        {Code::DatesYearFirst, {"2015-01-31"}, "Dates have the year first: 2015-01-31."},
        {Code::DatesNameMonth, {"1 Jul 15"}, "Dates name the month: 1 Jul 15."},
        {Code::DatesDayFirstByTime,
         {"1/2/15"},
         "Dates have the day first, as in 1/2/15: so read they follow each other in time, the "
         "other way they jump."},
        {Code::DatesMonthFirstByTime,
         {"1/2/15"},
         "Dates have the month first, as in 1/2/15: so read they follow each other in time, the "
         "other way they jump."},
        {Code::DatesContradict,
         {2, "31/1/15", 5, "1/31/15"},
         "Dates contradict each other: line 2 (31/1/15) has the day first, line 5 (1/31/15) the "
         "month. They are read month first; those that are no date then are listed."},
        {Code::DatesUndecided,
         {"1/2/15", 7},
         "No date tells the day from the month (1/2/15 in line 7 could be either); they are read "
         "month first."},
        {Code::DatesUndecidedDayFirst,
         {"1/2/15", 7},
         "No date tells the day from the month (1/2/15 in line 7 could be either); they are read "
         "day first."},
        {Code::DatesMostlyDayFirst,
         {2, "31/1/15", 5, "1/31/15"},
         "Dates contradict each other: line 2 (31/1/15) has the day first, as most, line 5 "
         "(1/31/15) the month. They are read day first; those that are no date then are listed."},
        {Code::YearsAsWritten, {"1/31/2015"}, "Years are as written: 1/31/2015."},
        {Code::YearsOfBothKinds,
         {"1/31/2015", "1/31/15", 5},
         "Years are as written: 1/31/2015. Shorter ones, such as 1/31/15 in line 5, are 2000 to "
         "2050 or 1951 to 1999."},
        {Code::DecimalComma, {"12,50"}, "Amounts have a decimal comma: 12,50."},
        {Code::DecimalCommaMostly,
         {"12,50", "3.10", 9},
         "Amounts have a decimal comma: 12,50. Some have a point (3.10 in line 9) and were read by "
         "it."},
        {Code::DecimalPointMostly,
         {"3.10", 9, "12,50", 4},
         "Amounts have a decimal point (3.10 in line 9); some have a comma (12,50 in line 4) and "
         "were read by it."},
        {Code::MarksUndecided,
         {2, "1,234", 3},
         "2 amounts could have a decimal mark or a thousands mark, the first is 1,234 in line 3: "
         "taken for thousands."},
        {Code::MarksUndecided,
         {1, "1,234", 3},
         "1 amount could have a decimal mark or a thousands mark, the first is 1,234 in line 3: "
         "taken for thousands."},
        {Code::NotRewritten,
         {},
         "The file could not be rewritten with every element on a line of its own; it was left as "
         "it is."},
        {Code::ChangedMeanwhile, {}, "The file is no longer what was read; it was left as it is."},
        {Code::StatementsUnnamed,
         {},
         "Several statements of the file name no account; they count as one."},
        {Code::CardForOtherAccount,
         {"12"},
         "'12' is a card's statement, but the account is no credit account."},
        {Code::BankForCreditAccount,
         {"12"},
         "'12' is a bank account's statement, but the account is a credit account."},
        {Code::SourcesLeftOut, {}, "Only '12' (2 lines) was read; left out: 'Visa' (1 line)."},
        {Code::SourcesJoined,
         {},
         "The file holds several accounts; the lines of all of them go into this one: '12' (2 "
         "lines)."},
        {Code::SecuritiesSkipped,
         {3},
         "Skipped: 3 actions on securities, which are no bank-style lines."},
        {Code::ListsSkipped, {"Cat", "Class"}, "Skipped: lists of the type \"Cat\", \"Class\"."},
        {Code::ReadAsBank, {}, "No heading says what register this is: read as a bank register."},
        {Code::ReadAsInvestment,
         {},
         "No heading says what register this is: read as an investment register."},
        {Code::TypeReadAsBank,
         {"Giro"},
         "The type \"Giro\" is not known, but holds dates and amounts: read as a bank register."},
        {Code::TypeReadAsInvestment,
         {"401(k)"},
         "The type \"401(k)\" is not known, but holds dates and amounts: read as an investment "
         "register."},
        {Code::ProfileUsed, {"Giro"}, "Read by the profile 'Giro'."},
        {Code::BalanceProves, {5, 6}, "The balances prove 5 of 6 rows."},
        {Code::FeesByBalance,
         {7},
         "The fees in column 7 go out beside the amounts, as the balances show."},
        {Code::SignsByBalance,
         {},
         "Amounts are written the other way round, as the balances show."},
        {Code::SignsByWords,
         {},
         "Amounts are written the other way round: payments and credits are negative."},
        {Code::SignsByMajority,
         {},
         "Most amounts are positive and were taken for purchases, as in a card's statement; "
         "--invert turns the signs."},
        {Code::SignsOfRowsByBalance, {}, "No amount has a sign: the balances tell which go out."},
        {Code::SignsUnknown,
         {},
         "Nothing tells which amounts go out; their signs were read as they are written. --invert "
         "turns them."},
        {Code::NoDate, {}, "No date: entered under today's."},
        {Code::NoDateButOfUse, {"20210314"}, "No date: entered under the date of use, 20210314."},
        {Code::DateUnreadable, {"?"}, "The date \"?\" cannot be read: entered under today's."},
        {Code::DateUnreadableButOfUse,
         {"?", "20210314"},
         "The date \"?\" cannot be read: entered under the date of use, 20210314."},
        {Code::NoAmount, {}, "No amount: entered as 0."},
        {Code::AmountUnreadable, {"x"}, "The amount \"x\" cannot be read: entered as 0."},
        {Code::AmountPartlyRead,
         {"5 F"},
         "The amount \"5 F\" is not a clean number: what stands beside it was left out."},
        {Code::AmountOfOtherMark,
         {"1,5"},
         "The amount \"1,5\" has the other decimal mark: it was read by its own."},
        {Code::AmountOfThousands,
         {"1,234"},
         "The amount \"1,234\" was read with its mark as a thousands mark; it could be a decimal "
         "one."},
        {Code::AmountOdd,
         {"$5"},
         "The amount \"$5\" is not written as statements write amounts; what it says was read."},
        {Code::AmountRounded,
         {"1234.567", 1234.57},
         "The amount \"1234.567\" has more than two decimals: entered as 1,234.57."},
        {Code::SumRounded,
         {-1234.567, -1234.57},
         "The amount -1234.567 has more than two decimals: entered as -1234.57."},
        {Code::AmountOfSplits, {}, "No amount of its own: entered with the sum of its splits."},
        {Code::AmountOfSplitsPartlyRead,
         {},
         "No amount of its own: entered with the sum of its splits, of which some are no clean "
         "numbers."},
        {Code::RowOfBothSides,
         {},
         "Money out and money in stand in one line: entered with the difference."},
        {Code::BalanceDoesNotFollow,
         {"90.00"},
         "The balance \"90.00\" does not follow from this amount: a wrong sign, a wrong decimal "
         "mark or a missing line."},
        {Code::SignOfRowUnknown,
         {},
         "Nothing tells whether this amount goes out: it was read as it is written."},
        {Code::NoNameNoMemo, {}, "No name and no memo: entered without a payee."},
        {Code::NoPayeeNoMemo, {}, "No payee and no memo: entered without a payee."},
        {Code::NumberLeftOut, {"A-1"}, "The number \"A-1\" is no check number and was left out."},
        {Code::NumberToMemo,
         {"A-1"},
         "The number \"A-1\" is no check number: it went to the memo."},
        {Code::CorrectsLine,
         {"2"},
         "The bank corrects its line \"2\" by this one: if the old one is in the account, delete "
         "it."},
        {Code::CorrectsItself, {"2"}, "The bank corrects its line \"2\" by this one."},
        {Code::IdentifierMade, {}, "No identifier: one was made from date, amount and name."},
        {Code::TransferOneSided,
         {"Savings"},
         "A transfer with account \"Savings\": only this side was entered, under \"Transfer\"."},
        {Code::SplitParts, {2, "Food"}, "Split over 2 parts: entered as one, under \"Food\"."},
        {Code::SplitPartsUnfiled, {2}, "Split over 2 parts: entered as one, without a category."},
        {Code::SplitRest,
         {"Food"},
         "Split into one part and a rest: entered as one, under \"Food\"."},
        {Code::SplitRestUnfiled,
         {},
         "Split into one part and a rest: entered as one, without a category."},
        {Code::RecordEmpty, {}, "An empty record; not entered."},
        {Code::RecordWithoutValues,
         {},
         "Neither a date nor an amount: not a transaction, not entered."},
        {Code::RecordInNoRegister,
         {},
         "In no register, and without a date and an amount: not entered."},
        {Code::RecordCutOff, {}, "The file ends inside this record; it was not entered."},
        {Code::RecordNotWhole,
         {},
         "This record is not closed by \"^\" and lacks date or amount; it was not entered."},
        {Code::RecordUnreadable, {}, "Neither its date nor its amount can be read: not entered."},
        {Code::LineCutOff,
         {},
         "The file ends inside this statement line; it was not entered. Downloading the statement "
         "again brings it."},
        {Code::LineWithdrawn,
         {"2"},
         "The bank withdraws its line \"2\": nothing was entered; delete that transaction by "
         "hand."},
        {Code::LineEmpty, {}, "Neither date, amount nor identifier: this line was not entered."},
        {Code::ActionElsewhere,
         {"BuyX"},
         "Investment action \"BuyX\" is settled with another account; not entered."},
        {Code::ActionOfShares,
         {"Vest"},
         "Investment action \"Vest\" moves shares only; not entered."},
        {Code::ActionUnknown, {"Foo"}, "Investment action \"Foo\" is not known; not entered."},
        {Code::AmountTooLarge, {}, "The amount is too large for the ledger; not entered."},
        {Code::RowPending, {"Pending"}, "Not booked yet (\"Pending\"): not entered."},
        {Code::RowVoid, {"Declined"}, "Never booked (\"Declined\"): not entered."},
        {Code::RowOfBalance,
         {"Saldo"},
         "A balance or a total (\"Saldo\"), no transaction: not entered."},
        {Code::RowOfZero, {}, "An amount of 0: not entered."},
        {Code::RowOfOtherCurrency,
         {"5.00", "USD", "EUR"},
         "The amount \"5.00\" is in USD, the account's currency is EUR: not entered."},
        {Code::RowOfText, {}, "Neither a date nor an amount: not a transaction, not entered."},
        {Code::RowWithoutDate, {"5.00"}, "The amount \"5.00\" has no date: not entered."},
        {Code::RowWithoutAmount, {}, "No amount: not entered."},
        {Code::RowTooLong,
         {6, 5},
         "6 columns where the others have 5: which is which is not clear, not entered."},
        {Code::RowTooShort,
         {2, 5},
         "2 columns where the others have 5, and no amount: not entered."},
        {Code::LineRepeated, {3}, "The same line as in line 3, said again; entered once."},
        {Code::IdentifierShared,
         {3},
         "Line 3 has the same identifier, but another date, amount or name: both count."},
        {Code::IdentifierOfOthers,
         {3},
         "Line 3 has the same identifier, but is another account's: both count."},
        {Code::HeldDiffers,
         {},
         "The account holds this line already, with another date or amount; it was left as it is."},
        {Code::TakenForEntry,
         {"2021-03-14"},
         "Taken for the entry of 2021-03-14, which was made by hand."},
        {Code::MayBeEntry,
         {"2021-03-14"},
         "May be the entry of 2021-03-14, which is as much and was made by hand."},
        {Code::EntryChanged,
         {},
         "The entry that this line was taken for has changed since then: the line was entered."},
        {Code::TextCut,
         {4096},
         "A text of this record is longer than 4096 bytes; its beginning was kept."},
        {Code::RecordNotClosed,
         {4},
         "This record is not closed by \"^\"; it was entered up to line 4."},
        {Code::LineNotClosed,
         {},
         "This statement line has no </STMTTRN>; it was entered as it is."},
        {Code::ClassLeftOut, {"Trip"}, "The class \"Trip\" behind the category was left out."},
        {Code::TradeInCash,
         {"Buy"},
         "Investment action \"Buy\" is settled in the account's own cash: its money was entered, "
         "its shares were not."},
        {Code::RowShort, {3, 5}, "3 columns where the others have 5: entered as it is."},
        {Code::QuoteNotClosed, {}, "A quotation mark is never closed: it was read as a letter."},
        {Code::SeveralCurrencies,
         {"EUR, USD"},
         "The accounts of the file are kept in several currencies (EUR, USD); all amounts were "
         "entered as they are."},
        {Code::CurrencyConverted,
         {"-1000", "EUR", -1255.0, "1,255", "USD"},
         "The amount \"-1000\" in EUR was entered as -1,255.00 USD, at the rate \"1,255\" that "
         "stands with it."},
        {Code::CurrencyConverted,
         {"-10", "", -12.55, "1,255", ""},
         "The amount \"-10\" in another currency was entered as -12.55, at the rate \"1,255\" that "
         "stands with it."},
        {Code::CurrencyConvertedByBank,
         {"EUR", "-10"},
         "The bank converted this line from EUR; its amount \"-10\" was entered as it is."},
        {Code::CurrencyConvertedByBank,
         {"", "-10"},
         "The bank converted this line from another currency; its amount \"-10\" was entered as it "
         "is."},
        {Code::CurrencyWithoutRate,
         {"-10", "EUR", "USD"},
         "The amount \"-10\" is in EUR, not in USD, and no rate stands with it: it was entered as "
         "it is."},
        {Code::CurrencyWithoutRate,
         {"-10", "", ""},
         "The amount \"-10\" is in another currency, and no rate stands with it: it was entered as "
         "it is."},
        {Code::CurrencyChanged,
         {"5 USD", "EUR"},
         "The amount \"5 USD\" is not in \"EUR\", as those before: it was entered as it is."},
        {Code::CurrencyOfAccount,
         {"EUR", 4},
         "The file holds several currencies: the amounts in EUR enter (column 4), the others are "
         "listed."},
        {Code::TypeSaysOut,
         {"DEBIT"},
         "The type \"DEBIT\" says that money goes out, but the amount comes in; the amount's sign "
         "counts."},
        {Code::TypeSaysIn,
         {"DEP"},
         "The type \"DEP\" says that money comes in, but the amount goes out; the amount's sign "
         "counts."},
    };
}

TEST(ImportNoteWords, EveryNoteHasItsSentence) {
    ImportResult result;
    result.sources = {Source("12", 2, true), Source("Visa", 1, false), Source("none", 0, false)};
    int last = -1;
    for (const Row& row : Rows()) {
        EXPECT_EQ(ImportNoteText({row.code, 1, row.values}, result), row.text);
        EXPECT_LE(static_cast<int>(row.code), last + 1) << "one is missing: " << row.text;
        last = static_cast<int>(row.code);
    }
    EXPECT_EQ(last + 1, static_cast<int>(Code::kCount));
}

TEST(ImportNoteWords, OfManyLinesAndLongTexts) {
    ImportResult result;
    EXPECT_EQ(ImportNoteText({Code::NoAmount, 3, {}, 12, 90}, result),
              "No amount: entered as 0. (12 such, lines 3 to 90)");
    EXPECT_EQ(ImportNoteText({Code::SecuritiesSkipped, 0, {2}, 5, 0}, result),
              "Skipped: 2 actions on securities, which are no bank-style lines. (5 such)");
    // Braces in a file's text are its own, and no character is cut in two.
    const std::string longest = "{0}" + std::string(56, 'x');
    EXPECT_EQ(ImportNoteText({Code::ClassLeftOut, 1, {longest + "\xC3\xA9\xC3\xA9"}}, result),
              "The class \"" + longest + "...\" behind the category was left out.");

    for (int i = 1; i <= 22; ++i) result.sources.push_back(Source("A", i, true));
    EXPECT_TRUE(ImportNoteText({Code::SourcesJoined}, result)
                    .ends_with("'A' (19 lines), 'A' (20 lines) and 2 more."));
}

}  // namespace
}  // namespace quillon
