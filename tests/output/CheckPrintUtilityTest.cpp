#include "output/CheckPrintUtility.h"

#include <gtest/gtest.h>

#include "foundation/CurrencyFormat.h"

namespace quillon {
namespace {

TEST(CheckPrintUtility, AmountInWords) {
    const struct {
        const char* amount;
        const char* words;
    } rows[] = {
        {"1.00", "One and 00/100"},
        {"12.05", "Twelve and 05/100"},
        {"999.99", "Nine Hundred Ninety Nine and 99/100"},
        {"1,000,000.00", "One Million and 00/100"},
        {"1,000,018.00", "One Million Eighteen and 00/100"},
        {"1,234,567.89",
         "One Million Two Hundred Thirty Four Thousand Five Hundred Sixty Seven and 89/100"},
        // Below one there are no words, and so no cents.
        {"", ""},
        {"0.99", ""},
        {"0.00", ""},
        {".50", ""},
        // What stands before the millions is lost.
        {"2,000,000,000.00", ""},
        {"2,000,000,007.00", "Seven and 00/100"},
        {"9,001,000,000.00", "One Million and 00/100"},
        // The cents are a number, not a fraction.
        {"15", "Fifteen and 00/100"},
        {"15.", "Fifteen and 00/100"},
        {"100.5", "One Hundred and 05/100"},
        {"7. 25 ", "Seven and 25/100"},
        {"7.125", "Seven and 125/100"},
        {"7.x", "Seven and 00/100"},
        {"7.-5", "Seven and -5/100"},
        {"1.2.3", "One and 02/100"},
        {"1.5,000", "One and 05/100"},
        // A group is the number at its start.
        {"1,2x3", "One Thousand Two and 00/100"},
        {" 1 , 2 ", "One Thousand Two and 00/100"},
        {"+5", "Five and 00/100"},
        {"x5", ""},
        {"1,,5", "One Million Five and 00/100"},
        {"1,", "One Thousand and 00/100"},
        {",7", "Seven and 00/100"},
        {"-5.00", ""},
        {"-1,234.00", "Two Hundred Thirty Four and 00/100"},
        {"99999999999999999999,5", "Five and 00/100"},
        // A group of more than three digits has no words, but its name.
        {"1234.00", ""},
        {"1000,005.00", " Thousand Five and 00/100"},
        {"1,1000.00", "One Thousand  and 00/100"},
        {"0012.00", "Twelve and 00/100"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.amount);
        EXPECT_EQ(CCheckPrintUtility::AmountInWords(row.amount), row.words);
    }
}

// Every whole amount below a million, against words read back.
TEST(CheckPrintUtility, WordsReadBackAsTheAmount) {
    const std::string_view small[] = {"",        "One",     "Two",       "Three",    "Four",
                                      "Five",    "Six",     "Seven",     "Eight",    "Nine",
                                      "Ten",     "Eleven",  "Twelve",    "Thirteen", "Fourteen",
                                      "Fifteen", "Sixteen", "Seventeen", "Eighteen", "Nineteen"};
    const std::string_view tens[] = {"",      "",      "Twenty",  "Thirty", "Forty",
                                     "Fifty", "Sixty", "Seventy", "Eighty", "Ninety"};
    const auto valueOf = [&](std::string_view word) {
        for (int value = 1; value < 20; ++value) {
            if (small[value] == word) return value;
        }
        for (int value = 2; value < 10; ++value) {
            if (tens[value] == word) return value * 10;
        }
        return 0;
    };
    for (int amount = 1; amount < 1'000'000; amount += amount < 2000 ? 1 : 37) {
        const std::string words = CCheckPrintUtility::AmountInWords(FormatCurrency(amount));
        int read = 0;
        int group = 0;
        size_t start = 0;
        for (size_t end = words.find(' '); end != std::string::npos; end = words.find(' ', start)) {
            const std::string_view word = std::string_view(words).substr(start, end - start);
            start = end + 1;
            if (word == "and") break;
            if (word == "Hundred") {
                group *= 100;
            } else if (word == "Thousand") {
                read = group * 1000;
                group = 0;
            } else {
                ASSERT_NE(valueOf(word), 0) << words;
                group += valueOf(word);
            }
        }
        ASSERT_EQ(read + group, amount) << words;
        ASSERT_EQ(words.substr(start), "00/100");
    }
}

}  // namespace
}  // namespace quillon
