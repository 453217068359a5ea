#include "foundation/CurrencyFormat.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

namespace quillon {
namespace {

TEST(CurrencyFormat, ShowsAmounts) {
    const struct {
        double amount;
        const char* text;
    } rows[] = {
        {0.0, "0.00"},
        {-0.0, "0.00"},
        {-0.001, "0.00"},
        {-0.004999, "0.00"},
        {0.005, "0.01"},
        {-0.005, "-0.01"},
        {0.125, "0.13"},
        {1.005, "1.01"},
        {2.675, "2.68"},
        {1.004999, "1.00"},
        {0.1 + 0.2, "0.30"},
        {0.994, "0.99"},
        {0.995, "1.00"},
        {9.999, "10.00"},
        {999.995, "1,000.00"},
        {-1234.5, "-1,234.50"},
        {100, "100.00"},
        {1000, "1,000.00"},
        {123456.78, "123,456.78"},
        {1234567.891, "1,234,567.89"},
        {-999999.999, "-1,000,000.00"},
        {1e15, "1,000,000,000,000,000.00"},
        {70368744177663.99, "70,368,744,177,663.99"},
        {5e-324, "0.00"},
        {std::nan(""), "0.00"},
        {-std::numeric_limits<double>::infinity(), "0.00"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(FormatCurrency(row.amount), row.text);
    }
    EXPECT_EQ(FormatPlainAmount(-1234567.891), "-1234567.89");
    EXPECT_EQ(FormatCurrency(std::numeric_limits<double>::max()).size(), 309 + 102 + 3U);
}

TEST(CurrencyFormat, ReadsWhatItShows) {
    for (int64_t cents = -250000; cents <= 250000; cents += 7) {
        const double amount = static_cast<double>(cents) / 100;
        double read = 0;
        ASSERT_TRUE(ParseAmount(FormatCurrency(amount), read));
        ASSERT_EQ(read, amount);
    }
}

TEST(CurrencyFormat, ReadsAmounts) {
    const struct {
        const char* text;
        double amount;
    } rows[] = {
        {"0", 0},
        {"12.50", 12.5},
        {" 12.5\t", 12.5},
        {"+12", 12},
        {"-12", -12},
        {"$12", 12},
        {"-$12.34", -12.34},
        {"$-12.34", -12.34},
        {".50", 0.5},
        {"-.5", -0.5},
        {"007", 7},
        {"1,234", 1234},
        {"12,345,678.90", 12345678.9},
        {"123,456", 123456},
        {"999999999999999", 999999999999999},
        {"0.0000000001", 1e-10},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        double amount = -77;
        EXPECT_TRUE(ParseAmount(row.text, amount));
        EXPECT_EQ(amount, row.amount);
    }
    double zero = 1;
    EXPECT_TRUE(ParseAmount("-0.00", zero));
    EXPECT_FALSE(std::signbit(zero));
}

TEST(CurrencyFormat, RefusesWhatIsNoAmount) {
    for (const char* text : {"",
                             " ",
                             "-",
                             "$",
                             "-$",
                             ".",
                             "5.",
                             "-.",
                             "--5",
                             "+-5",
                             "$$5",
                             "- 5",
                             "5-",
                             "(5)",
                             "1 000",
                             "1,23,4",
                             "12,50",
                             "1234,567",
                             "1,2345",
                             "1,234,56",
                             ",123",
                             "0,123",
                             "1,",
                             "1,234,",
                             "1.234.5",
                             "1.234,5",
                             "1e5",
                             "0x10",
                             "nan",
                             "inf",
                             "-inf",
                             "12abc",
                             "1,234.5,6",
                             "1000000000000000",
                             "0.00000000001",
                             "5 $",
                             "€5",
                             "1.-5",
                             "1.+5"}) {
        SCOPED_TRACE(text);
        double amount = -77;
        EXPECT_FALSE(ParseAmount(text, amount));
        EXPECT_EQ(amount, -77);
    }
}

}  // namespace
}  // namespace quillon
