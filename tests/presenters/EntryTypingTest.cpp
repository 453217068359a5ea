#include <gtest/gtest.h>

#include "foundation/CalendarDate.h"
#include "presenters/entry/AmountTyping.h"
#include "presenters/entry/DateTyping.h"
#include "presenters/entry/NameCompletion.h"

namespace quillon {
namespace {

TEST(EntryTyping, Amounts) {
    using enum EntryProblem;
    const struct {
        const char* text;
        EntryProblem problem;
        double amount;
    } rows[] = {
        {"12", None, 12},
        {" $1,234.50 ", None, 1234.5},
        {".5", None, 0.5},
        {"0", None, 0},
        {"+7", None, 7},
        {"0.1+0.2", None, 0.3},
        {"10 - 2.5 * 3", None, 2.5},
        {"(10-2.5)*3", None, 22.5},
        {"10/4/5", None, 0.5},
        {"100/3", None, 33.33},
        {"100/3*3", None, 100},
        {"2.01*0.5", None, 1.01},  // 1.005, a half away from zero
        {"--3", None, 3},
        {"2*-3+10", None, 4},
        {"5-(3-(2-1))", None, 3},
        {"9.99*1.19", None, 11.89},
        {"10000000000000", None, 1e13},
        {"", AmountMissing, 0},
        {"  ", AmountMissing, 0},
        {"abc", AmountUnknown, 0},
        {"1+", AmountUnknown, 0},
        {"1 2", AmountUnknown, 0},
        {"12,50", AmountUnknown, 0},
        {"1e3", AmountUnknown, 0},
        {"(1+2", ParenthesisOpen, 0},
        {"1+2)", ParenthesisOpen, 0},
        {"()", AmountUnknown, 0},
        {"1/0", DivisionByZero, 0},
        {"1/(2-2)", DivisionByZero, 0},
        {"-5", AmountNegative, 0},
        {"3-5", AmountNegative, 0},
        {"1.005", FractionOfCent, 0},
        {"10000000000000.01", AmountTooLarge, 0},
        {"999999999999*999999999999", AmountTooLarge, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        double amount = -77;
        EXPECT_EQ(ReadTypedAmount(row.text, amount), row.problem);
        EXPECT_EQ(amount, row.problem == None ? row.amount : -77);
    }
    double amount = 0;
    EXPECT_EQ(ReadTypedAmount(std::string(100'000, '('), amount), AmountUnknown);
}

TEST(EntryTyping, DateKeys) {
    const int64_t today = FileTimeFromDate(2024, 5, 17);
    const struct {
        const char* from;
        const char* keys;
        const char* to;
    } rows[] = {
        {"2024-02-28", "+", "2024-02-29"}, {"2024-03-01", "-", "2024-02-29"},
        {"2024-01-31", "]", "2024-02-29"}, {"2024-03-31", "[", "2024-02-29"},
        {"2020-01-01", "t", "2024-05-17"}, {"2024-02-10", "M", "2024-02-01"},
        {"2024-02-10", "h", "2024-02-29"}, {"2023-06-15", "Y", "2023-01-01"},
        {"2023-06-15", "R", "2023-12-31"}, {"2024-05-17", "M+]", "2024-06-02"},
        {"9999-12-31", "+", "9999-12-31"}, {"2024-05-17", "x7", "2024-05-17"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.keys);
        int64_t date = 0;
        ASSERT_TRUE(ParseCalendarDate(row.from, date));
        for (const char* key = row.keys; *key != '\0'; ++key) ApplyDateKey(*key, today, date);
        EXPECT_EQ(FormatIsoDate(date), row.to);
    }
}

TEST(EntryTyping, Dates) {
    const struct {
        const char* text;
        const char* today;
        const char* date;  // empty: none
    } rows[] = {
        {"2024-05-17", "2020-01-01", "2024-05-17"},
        {" 2024/5/7 ", "2020-01-01", "2024-05-07"},
        {"5/17/2023", "2024-01-01", "2023-05-17"},
        {"17.5.2023", "2024-01-01", "2023-05-17"},
        {"5/17/23", "2024-01-01", "2023-05-17"},
        {"1/2/99", "2024-01-01", "1999-01-02"},
        {"17", "2024-05-20", "2024-05-17"},
        {"28", "2024-05-05", "2024-04-28"},
        {"3", "2024-05-28", "2024-06-03"},
        {"31", "2024-02-20", "2024-01-31"},
        {"16", "2024-05-01", "2024-04-16"},  // as near: the earlier
        {"12/30", "2024-01-05", "2023-12-30"},
        {"1-4", "2023-12-30", "2024-01-04"},
        {"30.12", "2024-01-05", "2023-12-30"},
        {"30.12.", "2024-01-05", "2023-12-30"},
        {"2/29", "2022-06-01", "2024-02-29"},
        {"", "2024-01-01", ""},
        {"32", "2024-01-01", ""},
        {"0", "2024-01-01", ""},
        {"13/5", "2024-01-01", ""},
        {"5/", "2024-01-01", ""},
        {"2/30/2024", "2024-01-01", ""},
        {"5/17/2024/1", "2024-01-01", ""},
        {"5/17-2024", "2024-01-01", ""},
        {"123", "2024-01-01", ""},
        {"today", "2024-01-01", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        int64_t today = 0;
        int64_t date = -1;
        ASSERT_TRUE(ParseCalendarDate(row.today, today));
        EXPECT_EQ(ReadTypedDate(row.text, today, date), *row.date != '\0');
        EXPECT_EQ(date < 0 ? "" : FormatIsoDate(date), row.date);
    }
}

TEST(EntryTyping, CompletesNames) {
    CNameCompletion names;
    const char* all[] = {"Corner Shop", "Shop", "Bishop's", "Shoe Shop", "Élan", "shop"};
    for (int64_t i = 0; i < 6; ++i) names.Add(i + 1, all[i]);
    names.NoteUse(4, 100);
    names.NoteUse(1, 200);
    names.NoteUse(1, 50);
    const struct {
        const char* typed;
        std::string completions;
    } rows[] = {
        {"sho", "Corner Shop, Shoe Shop, Shop, shop, +sho"},
        {"Shop", "Shop, shop, Corner Shop, Shoe Shop"},
        {"SHOP", "Shop, shop, Corner Shop, Shoe Shop, +SHOP"},
        {"sh sho", "Corner Shop, Shoe Shop, Shop, shop, +sh sho"},
        {"shoe s", "Shoe Shop, +shoe s"},
        {"é", "Élan, +é"},
        {"op", "+op"},
        {"", "Corner Shop, Shoe Shop, Bishop's, Shop, shop, Élan"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.typed);
        std::string listed;
        for (const Completion& line : names.Complete(row.typed, 10)) {
            listed += (listed.empty() ? "" : ", ");
            listed += (line.id == kNoRow ? "+" : "") + line.name;
        }
        EXPECT_EQ(listed, row.completions);
    }
    EXPECT_EQ(names.Complete("", 2).size(), 2U);
    EXPECT_EQ(names.Find("shop"), 6);
    EXPECT_EQ(names.Find("SHOP"), kNoRow);  // two are as good
    EXPECT_EQ(names.Find("corner shop"), 1);
    EXPECT_EQ(names.Find("corner shop", true), kNoRow);
}

}  // namespace
}  // namespace quillon
