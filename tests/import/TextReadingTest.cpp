#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "foundation/CalendarDate.h"
#include "import/text/AmountInference.h"
#include "import/text/AmountRounding.h"
#include "import/text/DateInference.h"
#include "import/text/TextScan.h"

namespace quillon {
namespace {

using Note = ImportNoteCode;

constexpr DateOrder kMdy = DateOrder::MonthDayYear;
constexpr DateOrder kDmy = DateOrder::DayMonthYear;
constexpr DateOrder kYmd = DateOrder::YearMonthDay;

std::string Shown(std::optional<int64_t> date) {
    return date ? FormatIsoDate(*date) : "none";
}

TEST(DateText, PlainRuleAddsACenturyToEveryYear) {
    const struct {
        const char* text;
        const char* date;
    } rows[] = {
        {"1/2'21", "2021-01-02"},
        {"1/15'05", "2005-01-15"},
        {"1/15/2015", "3915-01-15"},
        {"12/31/50", "2050-12-31"},
        {"12/31/51", "1951-12-31"},
        {"1/ 1/10", "2010-01-01"},
        {"1-15-99", "1999-01-15"},
        {"15/1/10", "none"},
        {"2/30'21", "none"},
        {"", "none"},
        {"1/2", "none"},
        {"2010-03-29", "none"},
        {"9/9/999999999999999999", "none"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(Shown(ReadPlainDate(row.text, kMdy)), row.date);
    }
}

TEST(DateText, ReadsTheWaysBanksWriteDates) {
    const struct {
        const char* text;
        DateOrder order;
        const char* date;
    } rows[] = {
        {"1/15/2015", kMdy, "2015-01-15"},
        {"15/1/2015", kDmy, "2015-01-15"},
        {"15.01.2015", kDmy, "2015-01-15"},
        {"2/10'2020", kMdy, "2020-02-10"},
        {"1/ 1'05", kMdy, "2005-01-01"},
        {"1/5'5", kMdy, "2005-01-05"},
        {"6/1/94", kMdy, "1994-06-01"},
        {"2014/1/2", kYmd, "2014-01-02"},
        {"2014-01-02", kMdy, "2014-01-02"},
        {"2014-01-02", kDmy, "2014-01-02"},
        {"94/06/01", kYmd, "1994-06-01"},
        {"20140102", kDmy, "2014-01-02"},
        {"29/2/2021", kDmy, "none"},
        {"15/1/2015", kMdy, "none"},
        {"1/1/0", kMdy, "2000-01-01"},
        {"1/1/100", kMdy, "none"},
        {"0/1/2015", kMdy, "none"},
        {"15012015", kMdy, "none"},
        {"15012015", kDmy, "2015-01-15"},
        {"01-Jul-2026", kMdy, "2026-07-01"},
        {"Jul 01, 2026", kDmy, "2026-07-01"},
        {"July 1st, 2026", kMdy, "2026-07-01"},
        {"01JUL26", kMdy, "2026-07-01"},
        {"2026-Jul-01", kMdy, "2026-07-01"},
        {"1 Sept. '99", kMdy, "1999-09-01"},
        {"Wed, 01 Jul 2026", kMdy, "2026-07-01"},
        {"mar. 1 juillet 2026", kMdy, "2026-07-01"},
        {"Mar 07/01/2026", kMdy, "2026-07-01"},
        {"1. M\xC3\xA4rz 2026", kMdy, "2026-03-01"},
        {"1er f\xC3\xA9vr. 2026", kMdy, "2026-02-01"},
        {"1 AO\xC3\x9BT 2026", kMdy, "2026-08-01"},
        {"1 de dic de 2026", kMdy, "2026-12-01"},
        {"1\xC2\xBA de mar\xC3\xA7o de 2026", kMdy, "2026-03-01"},
        {"1 giu 2026", kMdy, "2026-06-01"},
        {"1\xC2\xA0juin\xE2\x80\xAF"
         "2026\xC2\xA0",
         kMdy, "2026-06-01"},
        {"1 mrt 2026", kMdy, "2026-03-01"},
        {"1. desember 2026", kMdy, "2026-12-01"},
        {"1. \xC4\x8D"
         "ervence 2026",
         kMdy, "2026-07-01"},
        {"1 wrze\xC5\x9Bnia 2026", kMdy, "2026-09-01"},
        {"1 jui 2026", kMdy, "not split"},  // June or July
        {"1 Foo 2026", kMdy, "not split"},
        {"Jul 2026", kMdy, "not split"},
        {"2026 Jul 2026", kMdy, "not split"},
        {"07/01/2026 12:30", kMdy, "2026-07-01"},
        {"7/1/26 9:05:59 PM", kMdy, "2026-07-01"},
        {"01.07.2026, 12:30 Uhr", kDmy, "2026-07-01"},
        {"01.07.26 12.30", kDmy, "2026-07-01"},
        {"2026-07-01T12:30:00.000+02:00", kMdy, "2026-07-01"},
        {"Jul 1, 2026 at 12:30", kMdy, "2026-07-01"},
        {"20260701 12:30", kMdy, "2026-07-01"},
        {"20260701123000", kMdy, "2026-07-01"},
        {"07/01/2026 12:60", kMdy, "not split"},
        {"12:30", kMdy, "not split"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        DateParts parts;
        const bool isSplit = SplitDate(row.text, parts);
        EXPECT_EQ(isSplit ? Shown(ReadDate(parts, row.order)) : "not split", row.date);
    }
    for (const char* text : {"", "1/2", "1//2015", "/1/2/3", "1/2/3/4", "1/2/12345", "20260701x",
                             "1/2/", "-1/2/2015", "201401021"}) {
        SCOPED_TRACE(text);
        DateParts parts;
        EXPECT_FALSE(SplitDate(text, parts));
    }
}

TEST(DateText, StatementDatesAreTheirFirstEightDigits) {
    EXPECT_EQ(Shown(ReadStatementDate("20210315120000[-5:EST]")), "2021-03-15");
    EXPECT_EQ(Shown(ReadStatementDate("20210315")), "2021-03-15");
    for (const char* text : {"2021031", "20120231", "201120000000", "00000000", "2021-03-15", ""}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(Shown(ReadStatementDate(text)), "none");
    }
}

TEST(DateText, OrderIsInferredFromTheWholeFileOrNotAtAll) {
    const struct {
        const char* name;
        std::vector<const char*> dates;
        DateOrder order;
        YearRule years;
        std::optional<Note> note;
    } rows[] = {
        {"a 13th day in second place",
         {"1/2/21", "1/13/21"},
         kMdy,
         YearRule::TwoDigits,
         Note::DatesMonthFirst},
        {"in first place", {"1/2/21", "13/1/21"}, kDmy, YearRule::TwoDigits, Note::DatesDayFirst},
        {"year first", {"2014/1/2"}, kYmd, YearRule::AsWritten, Note::DatesYearFirst},
        {"undecided", {"1/2/21", "3/4/21"}, kMdy, YearRule::TwoDigits, Note::DatesUndecided},
        {"contradiction", {"13/1/21", "1/13/21"}, kMdy, YearRule::TwoDigits, Note::DatesContradict},
        {"year first beside undecided",
         {"2014-01-02", "1/2/14"},
         kMdy,
         YearRule::AsWritten,
         Note::DatesUndecided},
        {"year first beside day first",
         {"2014-01-02", "31/1/14"},
         kDmy,
         YearRule::AsWritten,
         Note::DatesDayFirst},
        {"12 proves nothing",
         {"12/12/12", "12/11/12"},
         kMdy,
         YearRule::TwoDigits,
         Note::DatesUndecided},
        {"the same either way", {"12/12/12", "1/1/13"}, kMdy, YearRule::TwoDigits, {}},
        {"rising with the day first",
         {"9/4/21", "10/4/21", "1/5/21"},
         kDmy,
         YearRule::TwoDigits,
         Note::DatesDayFirstByTime},
        {"falling with the month first",
         {"1/5/22", "12/9/21", "11/10/21"},
         kMdy,
         YearRule::TwoDigits,
         Note::DatesMonthFirstByTime},
        {"rising either way",
         {"1/2/21", "2/3/21", "3/4/21"},
         kMdy,
         YearRule::TwoDigits,
         Note::DatesUndecided},
        {"one date proves against the movement",
         {"9/4/21", "10/4/21", "1/5/21", "1/13/21"},
         kMdy,
         YearRule::TwoDigits,
         Note::DatesMonthFirst},
        {"a register begins anew",
         {"9/4/21", "1/5/21", "-", "9/3/21", "1/4/21"},
         kMdy,
         YearRule::TwoDigits,
         Note::DatesUndecided},
        {"a named month",
         {"01-Jul-2026", "02/07/2026"},
         kDmy,
         YearRule::AsWritten,
         Note::DatesNameMonth},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        CDateInference inference;
        int64_t line = 0;
        for (const std::string_view date : row.dates) {
            if (date == "-") inference.StartSequence();
            inference.Add(date, ++line);
        }
        Dialect dialect;
        CImportNotes notes;
        inference.Decide({}, dialect, notes);
        EXPECT_EQ(dialect.dateOrder, row.order);
        EXPECT_EQ(dialect.years, row.years);
        const std::vector<ImportNote> taken = notes.Take();
        const auto is = [&row](const ImportNote& note) { return note.code == row.note; };
        EXPECT_TRUE(row.note ? std::any_of(taken.begin(), taken.end(), is) : taken.empty());
        inference.Decide(kYmd, dialect, notes);
        EXPECT_EQ(dialect.dateOrder, kYmd);
    }
}

TEST(AmountText, PlainRuleDropsCommasAndDollars) {
    const struct {
        const char* text;
        double amount;
    } rows[] = {
        {"-12.50", -12.5},
        {"1,234.56", 1234.56},
        {"$1234.56", 1234.56},
        {"12,50", 1250},
        {"-1,250.00", -1250},
        {"+3", 3},
        {".5", 0.5},
        {"", 0},
        {"abc", 0},
        {"12abc", 12},
        {"0.000000001", 0},
        {"inf", 0},
        {"nan", 0},
        {"1e999", 0},
        {"1e3", 1000},
        {"  7 ", 7},
        {"+-3", 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_DOUBLE_EQ(ReadPlainAmount(row.text), row.amount);
    }
}

TEST(AmountText, ReadsTheWaysBanksWriteAmounts) {
    constexpr DecimalMark kPoint = DecimalMark::Point;
    constexpr DecimalMark kComma = DecimalMark::Comma;
    constexpr AmountReading kClean = AmountReading::Clean;
    const struct {
        const char* text;
        DecimalMark mark;
        double amount;
        AmountReading reading;
    } rows[] = {
        {"1,234.56", kPoint, 1234.56, kClean},
        {"1.234,56", kComma, 1234.56, kClean},
        {"-530,86", kComma, -530.86, kClean},
        {"1.234", kComma, 1234, kClean},
        {"1.234", kPoint, 1.234, kClean},
        {"1,234", kComma, 1.234, kClean},
        {"1'234.50", kPoint, 1234.5, kClean},
        {"1\xC2\xA0"
         "234,50",
         kComma, 1234.5, kClean},
        {"1 234,50", kComma, 1234.5, kClean},
        {"$120", kPoint, 120, kClean},
        {"12,50 EUR", kComma, 12.5, kClean},
        {"\xE2\x82\xAC 12", kPoint, 12, kClean},
        {"\xE2\x88\x92"
         "12",
         kPoint, -12, kClean},
        {"(12.50)", kPoint, -12.5, kClean},
        {"12.50-", kPoint, -12.5, kClean},
        {"+00000000000000.2400", kPoint, 0.24, kClean},
        {"3730.7633832701704", kPoint, 3730.7633832701704, kClean},
        {"1,234,567", kPoint, 1234567, kClean},
        {"-3.34", kComma, -3.34, AmountReading::OtherMark},
        {"1,234.56", kComma, 1234.56, AmountReading::OtherMark},
        {"45.00 DR", kPoint, -45, kClean},
        {"-45.00 Dr.", kPoint, -45, kClean},
        {"45,00 D", kComma, -45, kClean},
        {"EUR 45.00 CR", kPoint, 45, kClean},
        {"45.00 -", kPoint, -45, kClean},
        {"\xE2\x80\x93"
         "45.00",
         kPoint, -45, kClean},
        {"100,-", kComma, 100, kClean},
        {"US$ -45.00", kPoint, -45, kClean},
        {"45,00 z\xC5\x82", kComma, 45, kClean},
        {"Rs.45.00", kPoint, 45, kClean},
        {"-45.00 CR", kPoint, -45, AmountReading::Partly},
        {"45.00 FEE", kPoint, 45, AmountReading::Partly},
        {"45.00 12.00", kPoint, 45, AmountReading::Partly},
        {"12 50", kPoint, 12, AmountReading::Partly},
        {"(45.00", kPoint, -45, AmountReading::Partly},
        {"=746.36", kPoint, 746.36, AmountReading::Partly},
        {"12x5", kPoint, 12, AmountReading::Partly},
        {"1e5", kPoint, 1, AmountReading::Partly},
        {"12-50", kPoint, 12, AmountReading::Partly},
        {"            .  ", kPoint, 0, AmountReading::Failed},
        {"", kPoint, 0, AmountReading::Failed},
        {"nan", kPoint, 0, AmountReading::Failed},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        double amount = 77;
        const AmountMarks marks{row.mark, row.mark == kComma, false};
        EXPECT_EQ(ReadAmount(row.text, marks, amount), row.reading);
        EXPECT_DOUBLE_EQ(amount, row.amount);
    }
    // More digits than any amount has: bounded, and never a wrong small number.
    double amount = 0;
    EXPECT_EQ(ReadAmount(std::string(100'000, '9'), {}, amount), AmountReading::Partly);
    EXPECT_GT(amount, 1e60);
}

TEST(AmountText, DecimalMarkIsInferredFromTheWholeFileOrNotAtAll) {
    constexpr DecimalMark kPoint = DecimalMark::Point;
    constexpr DecimalMark kComma = DecimalMark::Comma;
    const struct {
        const char* name;
        std::vector<const char*> amounts;
        DecimalMark mark;
        size_t notes;
    } rows[] = {
        {"points", {"1.50", "1,234.50"}, kPoint, 0},
        {"whole numbers", {"100", "-5"}, kPoint, 0},
        {"two digits behind a comma", {"12,50", "3"}, kComma, 1},
        {"one digit", {"12,5"}, kComma, 1},
        {"a zero in front", {"0,125"}, kComma, 1},
        {"points group", {"1.234,50"}, kComma, 1},
        {"points group twice", {"1.234.567"}, kComma, 1},
        {"thousands alone prove nothing", {"1,234"}, kPoint, 0},
        {"both", {"74,40", "-3.34"}, kComma, 1},
        {"one comma among points", {"1.50", "12,50", "2.50", "3.50", "4.50", "5.50"}, kPoint, 1},
        {"one that groups", {"12,50", "1,234.56"}, kPoint, 1},
        {"no number proves anything", {"12,", ",", "."}, kPoint, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        CAmountInference inference;
        for (const char* amount : row.amounts) inference.Add(amount, 1);
        Dialect dialect;
        CImportNotes notes;
        inference.Decide({}, dialect, notes);
        EXPECT_EQ(dialect.decimal, row.mark);
        EXPECT_EQ(notes.Take().size(), row.notes);
    }
}

TEST(AmountText, WhereBothMarksAreDecimalsThreeDigitsAreThousands) {
    CAmountInference inference;
    int64_t line = 0;
    for (const char* amount : {"1,045.20", "12,50", "-1,234", "7.50", "2.345"}) {
        inference.Add(amount, ++line);
    }
    Dialect dialect;
    CImportNotes notes;
    const AmountMarks marks = inference.Decide({}, dialect, notes);
    const std::vector<ImportNote> taken = notes.Take();
    ASSERT_EQ(taken.size(), 2U);
    EXPECT_EQ(taken[0].code, Note::MarksUndecided);
    EXPECT_EQ(taken[0].values, (std::vector<ImportValue>{2, "-1,234", 3}));
    EXPECT_EQ(taken[1].code, Note::DecimalPointMostly);
    EXPECT_EQ(taken[1].values, (std::vector<ImportValue>{"1,045.20", 1, "12,50", 2}));
    const struct {
        const char* text;
        double amount;
        AmountReading reading;
    } rows[] = {
        {"45.20", 45.2, AmountReading::Clean},       {"12,50", 12.5, AmountReading::OtherMark},
        {"-1,234", -1234, AmountReading::Thousands}, {"2.345", 2345, AmountReading::Thousands},
        {"1,234.50", 1234.5, AmountReading::Clean},  {"0,125", 0.125, AmountReading::OtherMark},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        double amount = 0;
        EXPECT_EQ(ReadAmount(row.text, marks, amount), row.reading);
        EXPECT_DOUBLE_EQ(amount, row.amount);
    }
}

TEST(TextScan, NumbersAreReadFromTheStart) {
    int64_t number = 0;
    std::string_view rest;
    EXPECT_TRUE(ScanLong(" 12abc", number, &rest));
    EXPECT_EQ(number, 12);
    EXPECT_EQ(rest, "abc");
    EXPECT_TRUE(ScanLong("-7", number));
    EXPECT_EQ(number, -7);
    EXPECT_TRUE(ScanLong("9223372036854775807", number));
    EXPECT_FALSE(ScanLong("9223372036854775808", number));
    EXPECT_FALSE(ScanLong("", number));
    EXPECT_FALSE(ScanLong("+-1", number));
    EXPECT_EQ(number, INT64_MAX);
}

// A line of a size that no ledger takes leaves the others' cents alone.
TEST(AmountRounding, KeepsTheSumOfWhatCounts) {
    for (const double none : {std::numeric_limits<double>::infinity(), std::nan(""), 1e20}) {
        const double written[] = {0.334, none, 0.333, -none, 0.333};
        CAmountRounding rounding;
        for (const double amount : written) rounding.Add(amount);
        rounding.KeepSum();
        double sum = 0.0;
        for (const double amount : written) {
            const double rounded = rounding.Round(amount);
            if (std::fabs(amount) < 1) sum += rounded;
        }
        EXPECT_DOUBLE_EQ(sum, 1.0) << none;
    }
}

}  // namespace
}  // namespace quillon
