#include "import/qif/QifParser.h"

#include <gtest/gtest.h>

#include "import/ImportLedger.h"
#include "import/qif/QifInferred.h"

namespace quillon {
namespace {

using Code = ImportNoteCode;

const int64_t kToday = FileTimeFromDate(2030, 5, 6);

struct Read {
    Lines records;
    int64_t read = 0;
    std::vector<ImportNote> notes;
    std::string sources;  // "Savings:2 Bank:1 "
    Dialect dialect;
};

Read ReadPlain(std::string_view text, DateOrder order = DateOrder::MonthDayYear) {
    CReadOnlyTextFileManager lines;
    const Bytes bytes = Text(text);
    EXPECT_EQ(lines.LoadBlock(bytes.data(), static_cast<int64_t>(bytes.size())),
              TextFileStatus::Ok);
    Read read;
    ReadPlainQif(lines, kToday, order, [&](ImportRecord& record) {
        read.records.push_back(Shown(record));
        return ++read.read > 0;
    });
    return read;
}

Read ReadInferred(std::string_view text, const ImportOptions& options = {}) {
    CReadOnlyTextFileManager lines;
    const Bytes bytes = Join({0xEF, 0xBB, 0xBF}, Text(text));
    EXPECT_EQ(lines.LoadBlock(bytes.data(), static_cast<int64_t>(bytes.size())),
              TextFileStatus::Ok);
    CImportNotes notes;
    Read read;
    CInferredQif reader(lines, kToday, options, read.dialect, notes);
    reader.Survey();
    std::vector<ImportSource> sources = reader.Sources();
    for (ImportSource& source : sources) {
        source.chosen = true;
        read.sources += source.name + ":" + std::to_string(source.lines) + " ";
    }
    read.read = reader.Count(sources).read;
    reader.Read(sources, [&](ImportRecord& record) {
        read.records.push_back(Shown(record));
        return true;
    });
    read.notes = notes.Take();
    return read;
}

TEST(PlainQif, FollowsItsRulesLineByLine) {
    const struct {
        const char* name;
        const char* text;
        Lines records;
    } rows[] = {
        {"one record",
         "!Type:Bank\nD1/2'21\nT-12.50\nPShop\nLFood\n^\n",
         {"2021-01-02 -12.5 Shop [Food]"}},
        {"four-digit years go wrong on purpose",
         "!Type:Bank\nD1/15/2015\nT1\n^\n",
         {"3915-01-15 1"}},
        {"amounts",
         "!Type:Cash\nD1/2'21\nT1,234.56\n^\nD1/2'21\nT$1234.56\n^\n",
         {"2021-01-02 1234.56", "2021-01-02 1234.56"}},
        {"the later of U and T", "!Type:CCard\nD1/2'21\nU5\nT6\n^\n", {"2021-01-02 6"}},
        {"unreadable date is today's", "!Type:Invst\nDsoon\nT1\n^\n", {"2030-05-06 1"}},
        {"nothing before the header",
         "D1/2'21\nT1\n^\n!Type:Bank\nD1/3'21\nT2\n^\n",
         {"2021-01-03 2"}},
        {"other sections",
         "!Type:Cat\nNFood\n^\n!Type:Bank\nT2\n^\n!Type:Memorized\nT3\n^\n",
         {"2030-05-06 2"}},
        {"header inside a line", "x!Type:Bankers\nT2\n^\n", {"2030-05-06 2"}},
        {"lower case header", "!type:bank\nT2\n^\n!Type:bank\nT2\n^\n", {}},
        {"not closed", "!Type:Bank\nT2\n", {}},
        {"account blocks are records", "!Type:Bank\n!Account\nNX\nTBank\n^\n", {"2030-05-06 0"}},
        {"deposit marker", "!Type:Bank\nT2\nNdep\n^\n", {"2030-05-06 2"}},
        {"transfer", "!Type:Bank\nT2\nNtxfr\n^\n", {"2030-05-06 2 Transfer"}},
        {"eft", "!Type:Bank\nT2\nNeft\n^\n", {"2030-05-06 2 EFT"}},
        {"atm", "!Type:Bank\nT2\nNatm\n^\n", {"2030-05-06 2 ATM"}},
        {"ATM is no number", "!Type:Bank\nT2\nNATM\n^\n", {"2030-05-06 2"}},
        {"number", "!Type:Bank\nT2\nN 1005 \n^\n", {"2030-05-06 2 #1005"}},
        {"number too large", "!Type:Bank\nT2\nN99999999999\n^\n", {"2030-05-06 2"}},
        {"empty record", "!Type:Bank\n^\n", {"2030-05-06 0"}},
        {"code page 1252 in UTF-8", "!Type:Bank\nT2\nPCaf\xE9\n^\n", {"2030-05-06 2 Caf\xC3\xA9"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::string text = row.text;
        // The accent has to lie behind the bytes that decide on the kind.
        if (text.find('\xE9') != std::string::npos) text = std::string(100, '\n') + text;
        const Read read = ReadPlain(text);
        EXPECT_EQ(read.records, row.records);
        EXPECT_EQ(read.read, static_cast<int64_t>(row.records.size()));
    }
    EXPECT_EQ(ReadPlain("!Type:Bank\nD15/1/21\nT1\n^\n", DateOrder::DayMonthYear).records,
              Lines{"2021-01-15 1"});
}

TEST(InferredQif, ReadsARegisterAsAPersonWould) {
    const struct {
        const char* name;
        const char* text;
        Lines records;
        Noted note = {};
    } rows[] = {
        {"years as written",
         "!Type:Bank\nD1/15/2015\nT1\n^\n",
         {"2015-01-15 1"},
         {2, Code::YearsAsWritten, {"1/15/2015"}}},
        {"day first",
         "!Type:Bank\nD1/2/15\nT1\n^\nD31/1/15\nT2\n^\n",
         {"2015-02-01 1", "2015-01-31 2"},
         {5, Code::DatesDayFirst, {"31/1/15"}}},
        {"decimal comma",
         "!Type:Bank\nD1/31/15\nT-1.234,50\n^\n",
         {"2015-01-31 -1234.5"},
         {3, Code::DecimalComma, {"-1.234,50"}}},
        {"account block inside a register",
         "!Type:Bank\nD1/31/15\nT1\n^\n!Account\nNSavings\nTBank\n^\n!Type:Bank\nD1/30/15\nT2\n^\n",
         {"2015-01-31 1", "2015-01-30 2"},
         {}},
        {"account list",
         "!Option:AutoSwitch\n!Account\nNA\nTBank\n^\nNB\nTCCard\n^\n!Clear:AutoSwitch\n"
         "!Type:Oth L\nD1/31/15\nT1\n^\n",
         {"2015-01-31 1"},
         {}},
        {"lists are skipped",
         "!Type:Cat\nNFood\nD1/1/15\nT1\n^\n!Type:Bank\nD1/31/15\nT1\n^\n",
         {"2015-01-31 1"},
         {0, Code::ListsSkipped, {"Cat"}}},
        {"lower case header", "!type:bank \nD1/31/15\nT1\n^\n", {"2015-01-31 1"}, {}},
        {"split lines do not disturb",
         "!Type:Bank\nD1/31/15\nT-10\nPShop\nLFood\nSFood\nD2/1/15\nEhalf\n$-5\nSFun\n$-5\n^\n",
         {"2015-01-31 -10 Shop [Food]"},
         {2, Code::SplitParts, {2, "Food"}}},
        {"splits without an amount",
         "!Type:Bank\nD1/31/15\nSA\n$-7.80\nSB\n$-0.20\n^\n",
         {"2015-01-31 -8"},
         {2, Code::AmountOfSplits}},
        {"a single split is none",
         "!Type:Bank\nD1/31/15\nT-7\nSFood\n$-7\n^\n",
         {"2015-01-31 -7 [Food]"},
         {}},
        {"memo as payee", "!Type:Bank\nD1/31/15\nT1\nMRent\n^\n", {"2015-01-31 1 Rent (Rent)"}, {}},
        {"no payee", "!Type:Bank\nD1/31/15\nT1\n^\n", {"2015-01-31 1"}, {2, Code::NoPayeeNoMemo}},
        {"stray end", "!Type:Bank\n^\nD1/31/15\nT1\n^\n", {"2015-01-31 1"}, {2, Code::RecordEmpty}},
        {"neither date nor amount", "!Type:Bank\nPNote\n^\n", {}, {2, Code::RecordWithoutValues}},
        {"transfer",
         "!Type:Bank\nD1/31/15\nT1\nL[Savings]\n^\n",
         {"2015-01-31 1 [Transfer]"},
         {2, Code::TransferOneSided, {"Savings"}}},
        {"empty transfer", "!Type:Bank\nD1/31/15\nT1\nL[]\n^\n", {"2015-01-31 1"}, {}},
        {"opening balance",
         "!Type:Bank\nD1/31/15\nT1\nPOpening Balance\nL[Me]\n^\n",
         {"2015-01-31 1 Opening Balance [Adjustment]"},
         {}},
        {"transfer with itself",
         "!Account\nNMe\n^\n!Type:Bank\nD1/31/15\nT1\nL[Me]\n^\n",
         {"2015-01-31 1 [Adjustment]"},
         {}},
        {"numbers",
         "!Type:Bank\nD1/31/15\nT1\nNATM\n^\nD1/31/15\nT1\nN12\n^\nD1/31/15\nT1\nNN/A\n^\n",
         {"2015-01-31 1 ATM", "2015-01-31 1 #12", "2015-01-31 1"},
         {}},
        {"a reference for a number",
         "!Type:Bank\nD1/31/15\nT1\nNINV-1\n^\nD1/31/15\nT1\nPA\nMB\nN12345678901234\n^\n",
         {"2015-01-31 1 (INV-1)", "2015-01-31 1 A (B 12345678901234)"},
         {2, Code::NumberToMemo, {"INV-1"}}},
        {"unreadable date",
         "!Type:Bank\nDsoon\nT1\n^\n",
         {"2030-05-06 1"},
         {2, Code::DateUnreadable, {"soon"}}},
        {"no amount", "!Type:Bank\nD1/31/15\nPA\n^\n", {"2015-01-31 0 A"}, {2, Code::NoAmount}},
        {"cash of an investment account",
         "!Type:Invst\nD1/31/15\nNMiscExp\nT3\n^\nD1/31/15\nNDiv\nYX\nT4\n^\n",
         {"2015-01-31 -3", "2015-01-31 4 X"},
         {}},
        {"trades settled in the account's own cash",
         "!Account\nNMe\n^\n!Type:Invst\nD1/31/15\nNBuy\nYX\nT9\n^\n"
         "D1/31/15\nNsellX\nYX\nT8\nL[Me]\n^\n",
         {"2015-01-31 -9 X", "2015-01-31 8 X"},
         {5, Code::TradeInCash, {"Buy"}}},
        {"ends in one line",
         "!Type:Bank\nD1/31/15\nT1\n^^ ^D1/30/15\nT2\n^\n",
         {"2015-01-31 1", "2015-01-30 2"},
         {4, Code::RecordEmpty}},
        {"trades settled elsewhere",
         "!Type:Invst\nD1/31/15\nNBuyX\nYX\nT9\nL[A]\n$9\n^\nD1/31/15\nNBuy\nYX\nT9\nL[A]\n^\n",
         {},
         {2, Code::ActionElsewhere, {"BuyX"}}},
        {"shares alone",
         "!Type:Invst\nD1/31/15\nNShrsIn\nYX\nT9\n^\nD1/31/15\nNFoo\nYX\nT9\n^\n",
         {},
         {2, Code::ActionOfShares, {"ShrsIn"}}},
        {"a bank's record among investments",
         "!Type:Invst\nD1/31/15\nN101\nPA\nT-9\n^\n",
         {"2015-01-31 -9 A"},
         {}},
        {"forgotten end",
         "!Type:Bank\nD1/31/15\nT1\nPA\n\nD1/30/15\nT2\nPB\n^\n",
         {"2015-01-31 1 A", "2015-01-30 2 B"},
         {2, Code::RecordNotClosed, {4}}},
        {"forgotten end without a blank line",
         "!Type:Bank\nD1/31/15\nT1\nPA\nD1/30/15\nT2\nPB\n^\n",
         {"2015-01-31 1 A", "2015-01-30 2 B"},
         {}},
        {"no end anywhere",
         "!Type:Bank\nPA\nD1/31/15\nT1\n\nPB\nD1/30/15\nT2\n",
         {"2015-01-31 1 A", "2015-01-30 2 B"},
         {}},
        {"blank lines between all lines",
         "!Type:Bank\n\nD1/31/15\n\nT1\n\nPA\n\n^\n\nD1/30/15\n\nT2\n\n^\n",
         {"2015-01-31 1 A", "2015-01-30 2"},
         {}},
        {"not closed at the end",
         "!Type:Bank\nD1/31/15\nT1\nPA",
         {"2015-01-31 1 A"},
         {2, Code::RecordNotClosed, {4}}},
        {"cut off inside the amount",
         "!Type:Bank\nD1/31/15\nPA\nT-12",
         {},
         {2, Code::RecordCutOff}},
        {"cut off before the amount", "!Type:Bank\nD1/31/15\nPA\n", {}, {2, Code::RecordCutOff}},
        {"closed by a header",
         "!Type:Bank\nD1/31/15\nT1\n!Type:Cat\nNX\n^\n",
         {"2015-01-31 1"},
         {2, Code::RecordNotClosed, {3}}},
        {"contradicting amounts",
         "!Type:Bank\nD1/31/15\nT1,234.50\n^\nD1/31/15\nT12,50\n^\n",
         {"2015-01-31 1234.5", "2015-01-31 12.5"},
         {6, Code::AmountOfOtherMark, {"12,50"}}},
        {"text before the header",
         "# T1\nD1/31/15\n^\n!Type:Bank\nD1/31/15\nT1\n^\n",
         {"2015-01-31 1"},
         {2, Code::RecordInNoRegister}},
        {"records before the header",
         "Statement of\nPeter\n\nD1/31/15\nT1\n^\n!Type:Bank\nD1/30/15\nT2\n^\n",
         {"2015-01-31 1", "2015-01-30 2"},
         {4, Code::ReadAsBank}},
        {"no header and no end",
         "D1/31/15\nT1\nPA\n\nD1/30/15\nT2\nPB\n",
         {"2015-01-31 1 A", "2015-01-30 2 B"},
         {}},
        {"a register goes on behind an account block",
         "!Type:Bank\nD1/31/15\nT1\n^\n!Account\nNA\nDMine\nTCCard\n^\nD1/30/15\nT2\n^\n"
         "D1/29/15\nT3\n^\nD1/28/15\nPno amount\n^\n",
         {"2015-01-31 1", "2015-01-30 2", "2015-01-29 3", "2015-01-28 0 no amount"},
         {}},
        {"an account block is all the header there is",
         "!Account\nNA\nTInvst\n^\nD1/31/15\nNBuy\nYX\nT9\n^\n",
         {"2015-01-31 -9 X"},
         {}},
        {"a type that is not known",
         "!Type:Credit Card\nD1/31/15\nT1\n^\nD1/30/15\nPA\n^\n!Type:Checking\nNlist\n^\n",
         {"2015-01-31 1", "2015-01-30 0 A"},
         {2, Code::TypeReadAsBank, {"Credit Card"}}},
        {"investments of a type that is not known",
         "!Type:401(k)\nD1/31/15\nNShrsIn\nYX\nT9\n^\nD1/31/15\nNDiv\nYX\nT1\n^\n",
         {"2015-01-31 1 X"},
         {2, Code::TypeReadAsInvestment, {"401(k)"}}},
        {"indented", "  !Type:Bank\n  D1/31/15\n\tT1\n  PA\n  ^\n", {"2015-01-31 1 A"}, {}},
        {"a text that goes on does not take the amount away",
         "!Type:Bank\nD1/31/15\nT1\nMlong\nText\nDivided\n^\n",
         {"2015-01-31 1 long (long)"},
         {}},
        {"classes",
         "!Type:Bank\nD1/31/15\nT1\nLFood:Fun/Trip\n^\nD1/31/15\nT1\nL[A/B]/Trip\n^\n"
         "D1/31/15\nT1\nL/Trip\n^\n",
         {"2015-01-31 1 [Food:Fun]", "2015-01-31 1 [Transfer]", "2015-01-31 1"},
         {2, Code::ClassLeftOut, {"Trip"}}},
        {"a category with a stroke in its name",
         "!Type:Bank\nD1/31/15\nT1\nLCar/Taxi/Trip\n^\n!Type:Cat\nNCar/Taxi\nE\n^\n",
         {"2015-01-31 1 [Car/Taxi]"},
         {}},
        {"one part smaller than the whole",
         "!Type:Bank\nD1/31/15\nT-7\nL--Split--\nSFood\n$-5\n^\n",
         {"2015-01-31 -7"},
         {2, Code::SplitRestUnfiled}},
        {"which way the money goes",
         "!Type:Bank\nD1/31/15\nT45.00 DR\n^\nD1/31/15\nT45.00 CR\n^\n",
         {"2015-01-31 -45", "2015-01-31 45"},
         {}},
        {"another currency",
         "!Type:Bank\nD1/31/15\nT4 EUR\n^\nD1/31/15\nT5 USD\n^\n",
         {"2015-01-31 4", "2015-01-31 5"},
         {6, Code::CurrencyChanged, {"5 USD", "EUR"}}},
        {"neither date nor amount can be read",
         "!Type:Bank\nD1/31/15\nT1\n^\nDsoon\nTmuch\n^\n",
         {"2015-01-31 1"},
         {5, Code::RecordUnreadable}},
        {"more decimals, up to the balance of the account",
         "!Account\nNA\n$3.01\n^\n!Type:Bank\nD1/31/15\nT1.003\n^\nD1/31/15\nT1.004\n^\n"
         "D1/31/15\nT1.0033\n^\n",
         {"2015-01-31 1", "2015-01-31 1.01", "2015-01-31 1"},
         {9, Code::SumRounded, {1.004, 1.01}}},
        {"more decimals without a balance",
         "!Type:Bank\nD1/31/15\nT1.003\n^\nD1/31/15\nT1.004\n^\nD1/31/15\nT1.005\n^\n",
         {"2015-01-31 1", "2015-01-31 1", "2015-01-31 1.01"},
         {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const Read read = ReadInferred(row.text);
        EXPECT_EQ(read.records, row.records);
        ExpectNoted(read.notes, row.note);
    }
}

TEST(InferredQif, WhatTheUserSaysWins) {
    ImportOptions options;
    options.dateOrder = DateOrder::DayMonthYear;
    options.decimal = DecimalMark::Comma;
    EXPECT_EQ(ReadInferred("!Type:Bank\nD1/2/15\nT1.234\n^\n", options).records,
              Lines{"2015-02-01 1234"});
    options.decimal = DecimalMark::Point;
    EXPECT_EQ(ReadInferred("!Type:Bank\nD1/2/15\nT12,50\n^\n", options).records,
              Lines{"2015-02-01 1250"});
}

// A group of open lines that grows with the file must not be searched again and again, nor
// a call wait for each of many ends.
TEST(InferredQif, AMillionLinesWithoutAnEndAreReadInOnePass) {
    std::string text = "!Type:Bank\n";
    for (int i = 0; i < 200'000; ++i) text += "D1/31/15\nT1\nPA\n\n";
    for (int i = 0; i < 200'000; ++i) text += "D1/31/15\n";
    text += "T1\n^\n" + std::string(200'000, '^');  // as many ends in one line
    const Read read = ReadInferred(text);
    EXPECT_GE(read.records.size(), 200'000U);
}

TEST(InferredQif, TellsTheAccountsApart) {
    const std::string record = "D1/31/15\nT1\n^\n";
    const auto block = [](const std::string& name) { return "!Account\nN" + name + "\n^\n"; };
    const struct {
        const char* name;
        std::string text;
        const char* sources;
    } rows[] = {
        {"one register", "!Type:Bank\n" + record, "Bank:1 "},
        {"one register, said twice", "!Type:Bank\n" + record + "!Type:Bank\n" + record, "Bank:2 "},
        {"no heading", record, "Bank:1 "},
        {"two kinds", "!Type:Bank\n" + record + "!Type:CCard\n" + record, "Bank:1 CCard:1 "},
        {"two accounts",
         block("A") + "!Type:Bank\n" + record + block("B") + "!Type:Bank\n" + record, "A:1 B:1 "},
        {"back to the first",
         block("A") + "!Type:Bank\n" + record + block("B") + "!Type:Bank\n" + record + block("A") +
             "!Type:Bank\n" + record,
         "A:2 B:1 "},
        {"records behind the blocks alone", block("A") + record + block("B") + record, "A:1 B:1 "},
        {"one without a name", "!Type:Bank\n" + record + block("B") + "!Type:Bank\n" + record,
         "Bank:1 B:1 "},
        {"a register without records",
         block("A") + "!Type:Bank\n" + block("B") + "!Type:Bank\n" + record, "A:0 B:1 "},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(ReadInferred(row.text).sources, row.sources);
    }
}

}  // namespace
}  // namespace quillon
