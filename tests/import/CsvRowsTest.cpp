#include "import/csv/CsvRows.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "import/csv/CsvCells.h"
#include "import/csv/CsvWords.h"
#include "import/text/Charset.h"
#include "import/text/CharsetWords.h"
#include "support/Bytes.h"

namespace quillon {
namespace {

// "1: a|b\n3: c": rows with their lines.
std::string RowsOf(std::string_view text, char delimiter) {
    std::string all;
    CCsvReader reader(text, delimiter);
    for (CsvRow row; reader.Next(row);) {
        all += std::to_string(row.line) + (row.hasLoneQuote ? "?" : "") + ": ";
        for (size_t i = 0; i < row.cells.size(); ++i) {
            all.append(i > 0 ? "|" : "").append(row.cells[i]);
        }
        all += "\n";
    }
    return all;
}

TEST(CsvRows, CellsAndQuotes) {
    const struct {
        const char* name;
        std::string text;
        std::string rows;
    } rows[] = {
        {"plain", "a,b\r\nc,,d", "1: a|b\n2: c||d\n"},
        {"blank lines, blanks around", " a , b \n\n,\n", "1: a|b\n2: \n3: |\n"},
        {"no line at all", "", ""},
        {"delimiter and line break in quotes", "\"a,\nb\",c\nd", "1: a,\nb|c\n3: d\n"},
        {"doubled and empty ones", "\"a \"\"b\"\"\",\"\",\"\"\"\"\n", "1: a \"b\"||\"\n"},
        {"blanks around quotes", " \"a\" , \"b\"\n", "1: a|b\n"},
        {"inside a cell they are letters", "5\" pipe,\"a \"b\" c\"\n", "1: 5\" pipe|a \"b\" c\n"},
        {"never closed", "x,\"a,1\ny,b,2\n", "1?: x|\"a|1\n2: y|b|2\n"},
        {"closed by another cell's", "\"a,1\n\"b\",2\n", "1?: \"a|1\n2: b|2\n"},
        {"at the end of the file", "a,\"", "1?: a|\"\n"},
        {"longer than any cell", "\"" + std::string(CCsvReader::kLongestCell, 'x') + "\",1\nb,2",
         "1?: \"" + std::string(CCsvReader::kLongestCell, 'x') + "\"|1\n2: b|2\n"},
    };
    for (const auto& row : rows) EXPECT_EQ(RowsOf(row.text, ','), row.rows) << row.name;
    EXPECT_EQ(RowsOf("a\t\tb;c\n", '\t'), "1: a||b;c\n");
    EXPECT_EQ(DeclaredDelimiter("sep=;\r\na;b"), ';');
    EXPECT_EQ(DeclaredDelimiter("sepia"), '\0');
}

// Many marks that nothing closes cost no more than few, and many cells no memory.
TEST(CsvRows, OddTextsStaySmall) {
    std::string text;
    for (int i = 0; i < 100'000; ++i) text += i % 500 == 0 ? "\n\"x" : ",\"x";
    CCsvReader reader(text, ',');
    size_t cells = 0;
    for (CsvRow row; reader.Next(row);) cells += row.cells.size();
    EXPECT_EQ(cells, 100'001u) << "with the blank line in front";
    const std::string commas(100'000, ',');
    CCsvReader wide(commas, ',');
    CsvRow row;
    ASSERT_TRUE(wide.Next(row));
    EXPECT_EQ(row.cells.size(), CCsvReader::kMostCells);
    EXPECT_FALSE(wide.Next(row));
}

TEST(CsvCells, DatesAndNumbersAreToldApart) {
    const struct {
        const char* cell;
        bool isDate;
        bool isAmount;
    } rows[] = {
        {"2024-01-31", true, false},
        {"31.01.24", true, false},
        {"2019.04.19.", true, false},
        {"20240131", true, false},
        {"07 Nov 2013", true, false},
        {"2002-09-10T23:00:04", true, false},
        {"20091224120000[0:GMT]", true, false},
        {"2018\u5E741\u67085\u65E5", true, false},
        {"31.02.2024", false, false},
        {"12345678", false, true},
        {"1111/11/11", false, false},
        {"-1.234,56", false, true},
        {"1.234.567", false, true},
        {"- $21.59", false, true},
        {"(5.00) EUR", false, true},
        {"12.50 DR", false, true},
        {"0001019999", false, false},
        {"1234567890123", false, false},
        {"-", false, false},
        {"", false, false},
        {"A12", false, false},
        {"12:30:45", false, false},
    };
    for (const auto& row : rows) {
        DateParts parts;
        EXPECT_EQ(SplitCsvDate(row.cell, parts), row.isDate) << row.cell;
        EXPECT_EQ(LookAtNumber(row.cell).isAmount, row.isAmount) << row.cell;
    }
    EXPECT_TRUE(LookAtNumber("12.50 DR").isNegative);
    EXPECT_TRUE(LookAtNumber("-0,00").isZero);
}

TEST(CsvWords, HeadingsInManyLanguages) {
    using Word = CsvWord;
    const struct {
        const char* heading;
        Word word;
    } rows[] = {
        {"Date", Word::Date},
        {"Posted Date", Word::BookingDate},
        {"Transaction date", Word::TransactionDate},
        {"Value date", Word::ValueDate},
        {"Buchungstag", Word::BookingDate},
        {"Date de valeur", Word::ValueDate},
        {"Datum za\u00FA\u010Dtov\u00E1n\u00ED", Word::BookingDate},
        {"\u00C9rt\u00E9knap", Word::ValueDate},
        {"Auftraggeber/Empf\u00E4nger", Word::Payee},
        {"Partner neve", Word::Payee},
        {"Partner sz\u00E1mlasz\u00E1ma", Word::OtherAccount},
        {"Verwendungszweck", Word::Description},
        {"Hist\u00F3rico", Word::Description},
        {"VWZ12", Word::Memo},
        {"Viesti", Word::Memo},
        {"Transaction Type", Word::Type},
        {"Amount (EUR)", Word::Amount},
        {"\u010C\u00E1stka CZK", Word::Amount},
        {"Original amount", Word::ForeignAmount},
        {"Withdrawals (SGD)", Word::Debit},
        {"\u51FA\u91D1\u91D1\u984D(\u5186)", Word::Debit},
        {"Cr\u00E9dit", Word::Credit},
        {"Debit/Credit", Word::Sign},
        {"Bev\u00E9tel/Kiad\u00E1s", Word::Sign},
        {"Running Balance", Word::Balance},
        {"Kontostand", Word::Balance},
        {"Transaction ID", Word::Id},
        {"N\u00B0 de transaction", Word::Id},
        {"Check Number", Word::Check},
        {"Account Name", Word::OwnAccount},
        {"Paid", Word::None},
        {"", Word::None},
    };
    for (const auto& row : rows) EXPECT_EQ(WordOfHeading(row.heading), row.word) << row.heading;
}

TEST(CsvWords, CellsThatSayWhatARowIs) {
    EXPECT_EQ(SideOfWord("D"), CsvSide::Out);
    EXPECT_EQ(SideOfWord("Haben"), CsvSide::In);
    EXPECT_EQ(SideOfWord("+"), CsvSide::In);
    EXPECT_EQ(SideOfWord("CHECK"), CsvSide::None);
    for (const char* cell : {"Pending", "vorgemerkt", "PENDING - SHOP", "En attente"}) {
        EXPECT_TRUE(SaysPending(cell)) << cell;
    }
    for (const char* cell : {"Completed", "Spending", "", "Shop - pending"}) {
        EXPECT_FALSE(SaysPending(cell)) << cell;
    }
    for (const char* cell : {"Saldo Anterior", "TOTAL:", "Saldo 31.12.2023", "Total EUR",
                             "Beginning balance as of 01/01/2024", "Solde au 31 janvier 2024"}) {
        EXPECT_TRUE(SaysBalance(cell)) << cell;
    }
    for (const char* cell : {"Solde prix prestations", "Total Fuel", "New Balance Shoes", "12"}) {
        EXPECT_FALSE(SaysBalance(cell)) << cell;
    }
}

// The same words in several character sets come back.
TEST(CharsetWords, AreToldByWhatMakesWords) {
    const struct {
        const char* name;
        Bytes bytes;
        Charset charset;
        std::string text;
    } rows[] = {
        {"German",
         Text("f\xFCr Stra\xDF"
              "e"),
         Charset::Windows1252, "f\u00FCr Stra\u00DFe"},
        {"French and German", Text("pr\xE8s f\xFCr \xE0 \xE9t\xE9 h\xE4lt"), Charset::Windows1252,
         "pr\u00E8s f\u00FCr \u00E0 \u00E9t\u00E9 h\u00E4lt"},
        {"Polish", Text("spo\xBFywczy \xAFywno\x9C\xE6 Caf\xE9"), Charset::Windows1250,
         "spo\u017Cywczy \u017Bywno\u015B\u0107 Caf\u00E9"},
        {"Hungarian", Text("k\xF6lts\xE9g m\xE1sodik id\xF5 \xFBrben"), Charset::Windows1250,
         "k\u00F6lts\u00E9g m\u00E1sodik id\u0151 \u0171rben"},
        {"Czech in ISO",
         Text("\xAE"
              "abka \xE8\xE1stka \xB9\xE9"
              "f p\xF8\xEDjem"),
         Charset::Iso8859_2, "\u017Dabka \u010D\u00E1stka \u0161\u00E9f p\u0159\u00EDjem"},
        {"Turkish", Text("m\xFC\xFEteri a\xE7\xFDk g\xFCne\xFE da\xF0"), Charset::Iso8859_9,
         "m\u00FC\u015Fteri a\u00E7\u0131k g\u00FCne\u015F da\u011F"},
        {"Japanese",
         Text("\x93\xFA\x95t,\x93\xE0\x97"
              "e,\x83\x81\x83\x82"),
         Charset::ShiftJis, "\u65E5\u4ED8,\u5185\u5BB9,\u30E1\u30E2"},
        {"declared", Text("Encoding: ISO-8859-15\n\xA4 \xE9t\xE9"), Charset::Iso8859_15,
         "Encoding: ISO-8859-15\n\u20AC \u00E9t\u00E9"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        CharsetFinding finding;
        finding.charset = EightBitCharset(row.bytes);
        EXPECT_EQ(finding.charset, row.charset);
        EXPECT_EQ(ConvertToUtf8(row.bytes, finding), row.text);
        EXPECT_EQ(CharsetOfName(NameOf(row.charset)), row.charset);
    }
    // Bytes without a meaning, and a character cut off at the end.
    CharsetFinding japanese;
    japanese.charset = Charset::ShiftJis;
    EXPECT_EQ(ConvertToUtf8(Text("a\x83"), japanese).substr(0, 1), "a");
}

}  // namespace
}  // namespace quillon
