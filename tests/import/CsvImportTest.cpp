// Files in columns, shaped like those that banks write: what becomes of their rows.

#include <gtest/gtest.h>

#include "import/ImportLedger.h"
#include "import/csv/CSVImportManager.h"
#include "import/csv/CsvProfiles.h"

namespace quillon {
namespace {

using Code = ImportNoteCode;

// "date 1, payee 2, amount 3", and what else is not as usual.
std::string Shown(const CsvFinding& finding) {
    std::string text;
    for (size_t i = 0; i < kCsvFields; ++i) {
        if (finding.map.columns[i] == 0) continue;
        text.append(text.empty() ? "" : ", ").append(NameOf(static_cast<CsvField>(i))).append(" ");
        text += std::to_string(finding.map.columns[i]);
    }
    text += "; line " + std::to_string(finding.headerLine);
    return finding.invert ? text + ", inverted" : text;
}

std::string ShownProof(const CsvFinding& finding) {
    constexpr const char* kNames[] = {"none", "down", "up", "before"};
    return std::to_string(finding.balanceProved) + " of " + std::to_string(finding.balanceRows) +
           " " + kNames[static_cast<size_t>(finding.balanceDirection)];
}

class CsvImport : public CImportLedger {
protected:
    ImportResult ImportText(const std::string& text) {
        m_files.Bytes("in.csv") = quillon::Text(text);
        CCSVImportManager importer(m_database, m_account, "in.csv", m_files);
        ImportOptions options;
        options.everyNote = true;
        importer.SetOptions(options);
        importer.SetRequest(m_request);
        importer.SetProfiles(m_profiles);
        ImportResult result = importer.Import();
        m_finding = importer.Finding();
        return result;
    }

    // A new ledger for each file.
    void StartAnew(AccountType type) {
        m_database.Close();
        m_files.Restore(std::map<std::string, Bytes>());
        OpenAccount("Account", type);
        m_request = CsvRequest();
        m_profiles.clear();
    }

    CsvRequest m_request;
    std::vector<CsvProfile> m_profiles;
    CsvFinding m_finding;
};

struct Shape {
    const char* name;
    std::string text;
    const char* mapping;
    Lines lines;  // register order
    const char* proof = "0 of 0 none";
    AccountType type = AccountType::Checking;
};

void PrintTo(const Shape& shape, std::ostream* out) {
    *out << shape.name;
}

class CsvShapes : public CsvImport, public testing::WithParamInterface<Shape> {};

TEST_P(CsvShapes, EnterWhatAPersonWouldEnter) {
    const Shape& shape = GetParam();
    StartAnew(shape.type);
    const ImportResult result = ImportText(shape.text);
    EXPECT_FALSE(result.failed) << quillon::Shown(result.refusal);
    EXPECT_EQ(Shown(m_finding), shape.mapping);
    EXPECT_EQ(Register(), shape.lines);
    EXPECT_EQ(ShownProof(m_finding), shape.proof);
    EXPECT_EQ(ImportText(shape.text).imported, 0) << "again";
}

const Shape kHeadings[] = {
    {"account data in front, continuation lines",
     "Account details for:,Savings 12-34\nLedger Balance,\"6,666.66\"\n\n"
     "Transaction date,Value date,Description,Withdrawals (SGD),Deposits (SGD)\n"
     "18/04/2018,19/04/2018,CARD,6.66,\n,,Lunch at noon\n,,Table 4\n17/04/2018,,PAY,,1000.00\n",
     "date 1, payee 3, debit 4, credit 5; line 4",
     {"2018-04-17 1000 PAY", "2018-04-18 -6.66 CARD (Lunch at noon Table 4)"}},
    {"tabs, blank lines, another language",
     "Tilinumero\tFI99\n\nKirjausp\u00E4iv\u00E4\tArvop\u00E4iv\u00E4\tM\u00E4\u00E4r\u00E4\tSaaja/"
     "Maksaja\tViesti\n\n01.02.2014\t02.02.2014\t-33,44\tJohn\tRent\n\n"
     "03.02.2014\t03.02.2014\t1 700,00\tJane\t\n",
     "date 1, payee 4, amount 3, memo 5; line 3",
     {"2014-02-01 -33.44 John (Rent)", "2014-02-03 1700 Jane"}},
    {"two lines of heading",
     "Booking;Value;Name;Amount\ndate;date;of the payee;in EUR\n"
     "02.01.2024;01.01.2024;Shop;-1,50\n13.01.2024;12.01.2024;Pub;-2,50\n",
     "date 1, payee 3, amount 4; line 1",
     {"2024-01-02 -1.5 Shop", "2024-01-13 -2.5 Pub"}},
    {"purpose in several columns, a cent's grouping",
     "Konto;Buchungstag;Wertstellung;Empf\u00E4nger;VWZ1;VWZ2;VWZ3;Betrag;W\u00E4hrung\n"
     "1;10.10.2017;10.10.2017;Net AG;Bill 7;;May;-1.098,76;EUR\n",
     "date 2, payee 4, amount 8, memo 5; line 1",
     {"2017-10-10 -1098.76 Net AG (Bill 7 May)"}},
    {"a payee that is the same in every row is none",
     "Fecha;Beneficiario;Concepto;Importe\n13/01/2024;Me;Pan;-1,00\n14/01/2024;Me;Vino;-2,00\n",
     "date 1, payee 3, amount 4, memo 2; line 1",
     {"2024-01-13 -1 Pan (Me)", "2024-01-14 -2 Vino (Me)"}},
    {"an empty payee falls to the memo; identifiers, categories and checks",
     "Date,Name,Amount,Category,Check Number,Transaction ID,Notes\n"
     "2024-01-01,Shop,-5.00,Food,,A0001,\n2024-01-02,,-6.00,,1042,A0002,by hand\n",
     "date 1, payee 2, amount 3, memo 7, category 4, check 5, id 6; line 1",
     {"2024-01-01 -5 Shop [Food]", "2024-01-02 -6 by hand (by hand) #1042"}},
    {"ideographs in dates and headings",
     "\u65E5\u4ED8,\u5185\u5BB9,\u51FA\u91D1\u91D1\u984D(\u5186),\u5165\u91D1\u91D1\u984D(\u5186),"
     "\u6B8B\u9AD8(\u5186)\n2018\u5E741\u67085\u65E5,A,,\"111,000\",\"180,309\"\n"
     "2018\u5E741\u67084\u65E5,B,\"56,000\",,\"69,309\"\n",
     "date 1, payee 2, debit 3, credit 4, balance 5; line 1",
     {"2018-01-04 -56000 B", "2018-01-05 111000 A"},
     "1 of 1 up"},
    {"references that recur",
     "Date,Name,Amount,Ref\n2024-01-31,A,-1.00,RENT-1\n2024-01-31,A,-1.00,RENT-1\n"
     "2024-02-01,B,-1.00,RENT-2\n2024-02-02,B,-1.00,RENT-1\n2024-02-02,C,-1.00,RENT-3\n",
     "date 1, payee 2, amount 3, id 4; line 1",
     {"2024-01-31 -1 A", "2024-01-31 -1 A", "2024-02-01 -1 B", "2024-02-02 -1 B",
      "2024-02-02 -1 C"}},
    {"sep= and a quoted delimiter, quotes and line break",
     "sep=;\nDate;Payee;Amount;Memo\n2024-01-31;\"A; B\";-1.00;\"say \"\"hi\"\"\nnow\"\n",
     "date 1, payee 2, amount 3, memo 4; line 2",
     {"2024-01-31 -1 A; B (say \"hi\" now)"}},
    {"lines end with CR",
     "Date,Description,Amount\r1/31/24,A,-1.00\r2/1/24,B,2.00\r",
     "date 1, payee 2, amount 3; line 1",
     {"2024-01-31 -1 A", "2024-02-01 2 B"}},
    {"a row without a booking date takes the next",
     "Buchungsdatum;Valuta;Text;Betrag\n31.01.2024;30.01.2024;A;-1,00\n;29.01.2024;B;-2,00\n",
     "date 1, payee 3, amount 4; line 1",
     {"2024-01-29 -2 B", "2024-01-31 -1 A"}},
    {"of several amounts the one that the balance proves",
     "Date,Name,Gross,Fee,Net,Balance\n01/31/2024,A,100.00,-3.00,97.00,97.00\n"
     "02/01/2024,B,50.00,-1.00,49.00,146.00\n",
     "date 1, payee 2, amount 5, balance 6; line 1",
     {"2024-01-31 97 A", "2024-02-01 49 B"},
     "1 of 1 down"},
    {"fees that the balances prove",
     "Date,Name,Amount,Fee,Balance\n2024-01-31,A,-10.00,0.50,89.50\n"
     "2024-02-01,B,5.00,0.00,94.50\n2024-02-02,C,-4.00,1.00,89.50\n",
     "date 1, payee 2, amount 3, balance 5; line 1",
     {"2024-01-31 -10.5 A", "2024-02-01 5 B", "2024-02-02 -5 C"},
     "2 of 2 down"},
};
INSTANTIATE_TEST_SUITE_P(Headings, CsvShapes, testing::ValuesIn(kHeadings));

const Shape kBare[] = {
    {"no heading: two dates, text, signed amount",
     "AT12;Zins                 HABEN;04.01.2014;31.12.2013;+1,23;EUR\n"
     "AT12;Auszahlung;28.01.2014;29.01.2014;-400,00;EUR\n",
     "date 3, payee 2, amount 5; line 0",
     {"2014-01-04 1.23 Zins                 HABEN", "2014-01-28 -400 Auszahlung"}},
    {"no heading: money out, money in, balance",
     "07 Nov 2013,Credit,Wages due,,\u00A3500.00,\u00A3500.00\n"
     "09 Nov 2013,ATM,Cash out,\u00A320.00,,\u00A3480.00\n",
     "date 1, payee 3, debit 4, credit 5, balance 6; line 0",
     {"2013-11-07 500 Wages due", "2013-11-09 -20 Cash out"},
     "1 of 1 down"},
    {"no heading: balance in front of the amount",
     "01/31/2024,A shop,90.00,-10.00\n02/01/2024,A pub,85.00,-5.00\n02/02/2024,Job,185.00,100\n",
     "date 1, payee 2, amount 4, balance 3; line 0",
     {"2024-01-31 -10 A shop", "2024-02-01 -5 A pub", "2024-02-02 100 Job"},
     "2 of 2 down"},
    {"a written sign beats a word",
     "CREDIT,20091211120000[0:GMT],PAYPAL TRANSFER,-116.22\n"
     "DEBIT,20091224120000[0:GMT],THE HOST,-85.00\n",
     "date 2, payee 3, amount 4; line 0",
     {"2009-12-11 -116.22 PAYPAL TRANSFER", "2009-12-24 -85 THE HOST"}},
};
INSTANTIATE_TEST_SUITE_P(Bare, CsvShapes, testing::ValuesIn(kBare));

const Shape kSigns[] = {
    {"a column of D and K",
     "Date;Beneficiary;Amount;Debit/Credit\n14.01.2016;A;10,00;D\n12.01.2016;B;500,00;K\n",
     "date 1, payee 2, amount 3, sign 4; line 1",
     {"2016-01-12 500 B", "2016-01-14 -10 A"}},
    {"Af and Bij",
     "Datum;Naam;Af Bij;Bedrag (EUR)\n20240131;A;Af;1,50\n20240201;B;Bij;3,00\n",
     "date 1, payee 2, amount 4, sign 3; line 1",
     {"2024-01-31 -1.5 A", "2024-02-01 3 B"}},
    {"money out that is negative in its column already",
     "Date,Payee,Debit,Credit\n01/31/2024,A,-1.50,0.00\n02/01/2024,B,0.00,3.00\n",
     "date 1, payee 2, debit 3, credit 4; line 1",
     {"2024-01-31 -1.5 A", "2024-02-01 3 B"}},
    {"the balance stands before its row: no inverted sign",
     "Datum,Name,Amount,Balance\n2019-04-19,A,-350,2345.56\n2019-04-17,B,1290,1055.56\n",
     "date 1, payee 2, amount 3, balance 4; line 1",
     {"2019-04-17 1290 B", "2019-04-19 -350 A"},
     "1 of 1 before"},
    {"the balance proves that positive goes out",
     "Date,Payee,Amount,Balance\n2024-01-01,A,10.00,90.00\n2024-01-02,B,-5.00,95.00\n"
     "2024-01-03,C,15.00,80.00\n",
     "date 1, payee 2, amount 3, balance 4; line 1, inverted",
     {"2024-01-01 -10 A", "2024-01-02 5 B", "2024-01-03 -15 C"},
     "2 of 2 down"},
    {"no signs: each row's is told by the balances",
     "Date,Payee,Amount,Balance\n,Opening balance,,500.00\n01/30/2024,A,1000.00,1500.00\n"
     "01/31/2024,B,700.00,800.00\n02/01/2024,C,50.00,750.00\n02/02/2024,D,20.00,770.00\n",
     "date 1, payee 2, amount 3, balance 4; line 1",
     {"2024-01-30 1000 A", "2024-01-31 -700 B", "2024-02-01 -50 C", "2024-02-02 20 D"},
     "3 of 3 down"},
    {"the same, newest first",
     "Date,Payee,Amount,Balance\n02/02/2024,D,20.00,770.00\n02/01/2024,C,50.00,750.00\n"
     "01/31/2024,B,700.00,800.00\n01/30/2024,A,1000.00,1500.00\n",
     "date 1, payee 2, amount 3, balance 4; line 1",
     {"2024-01-30 1000 A", "2024-01-31 -700 B", "2024-02-01 -50 C", "2024-02-02 20 D"},
     "3 of 3 up"},
    {"a card: most are purchases",
     "Date,Payee,Amount\n01/31/2024,A,10.00\n02/01/2024,B,20.00\n02/02/2024,C,-30.00\n",
     "date 1, payee 2, amount 3; line 1, inverted",
     {"2024-01-31 -10 A", "2024-02-01 -20 B", "2024-02-02 30 C"},
     "0 of 0 none",
     AccountType::Credit},
    {"a card: payments are told by words",
     "Date,Payee,Amount\n01/31/2024,A,10.00\n02/01/2024,PAYMENT - THANK YOU,-60.00\n"
     "02/02/2024,REFUND A,-10.00\n",
     "date 1, payee 2, amount 3; line 1, inverted",
     {"2024-01-31 -10 A", "2024-02-01 60 PAYMENT - THANK YOU", "2024-02-02 10 REFUND A"},
     "0 of 0 none",
     AccountType::Credit},
    {"a card: all negative stays",
     "Date,Payee,Amount\n01/31/2024,A,-10.00\n02/01/2024,Payment of B,-20.00\n",
     "date 1, payee 2, amount 3; line 1",
     {"2024-01-31 -10 A", "2024-02-01 -20 Payment of B"},
     "0 of 0 none",
     AccountType::Credit},
    {"a card: the balance is what is owed",
     "Date,Payee,Amount,Balance\n01/30/2024,A,10.00,10.00\n01/31/2024,B,20.00,30.00\n"
     "02/02/2024,C,-5.00,25.00\n",
     "date 1, payee 2, amount 3, balance 4; line 1, inverted",
     {"2024-01-30 -10 A", "2024-01-31 -20 B", "2024-02-02 5 C"},
     "2 of 2 down",
     AccountType::Credit},
    {"a card: the balance is what is owed, and the signs are right already",
     "Date,Payee,Debit,Credit,Balance\n01/30/2024,A,10.00,,10.00\n01/31/2024,B,20.00,,30.00\n"
     "02/02/2024,C,,5.00,25.00\n",
     "date 1, payee 2, debit 3, credit 4, balance 5; line 1",
     {"2024-01-30 -10 A", "2024-01-31 -20 B", "2024-02-02 5 C"},
     "2 of 2 down",
     AccountType::Credit},
};
INSTANTIATE_TEST_SUITE_P(Signs, CsvShapes, testing::ValuesIn(kSigns));

struct Told {
    const char* name;
    std::string text;
    int64_t read;
    Lines lines;
    std::vector<Noted> notes;
    AccountType type = AccountType::Checking;
};

TEST_F(CsvImport, WhatIsLeftOutOrOddIsTold) {
    const std::string head = "Date,Payee,Amount,Balance,State\n";
    const Told rows[] = {
        {"pending, void, balances, zero",
         head + "01/30/2024,Opening balance,100.00,100.00,\n01/31/2024,A,-1.00,99.00,booked\n"
                "01/31/2024,B,-2.00,,Pending\n01/31/2024,C,-3.00,,DECLINED\n"
                "02/01/2024,D,0.00,99.00,booked\n,Total,-1.00,,\n",
         5,
         {"2024-01-31 -1 A"},
         {{2, Code::RowOfBalance, {"Opening balance"}},
          {4, Code::RowPending, {"Pending"}},
          {5, Code::RowVoid, {"DECLINED"}},
          {6, Code::RowOfZero},
          {7, Code::RowOfBalance, {"Total"}}}},
        {"too many and too few columns shift no others",
         head + "01/31/2024,A,-1.00,99.00,ok\n02/01/2024,B,C,-2.00,97.00,ok\n02/02/2024,D\n"
                "02/03/2024,E,-3.00,94.00,ok\n",
         3,
         {"2024-01-31 -1 A", "2024-02-03 -3 E"},
         {{3, Code::RowTooLong, {6, 5}}, {4, Code::RowTooShort, {2, 5}}}},
        {"a shop that is called like a total",
         head + "01/30/2024,A,-1.00,99.00,\n01/31/2024,TOTAL,-2.00,97.00,\n02/01/2024,C,-3.00,"
                "94.00,\n02/01/2024,TOTAL,-6.00,94.00,\n",
         4,
         {"2024-01-30 -1 A", "2024-01-31 -2 TOTAL", "2024-02-01 -3 C"},
         {{5, Code::RowOfBalance, {"TOTAL"}}}},
        {"a missing row shows in the balance",
         head + "01/30/2024,A,-1.00,99.00,\n01/31/2024,B,-2.00,97.00,\n02/01/2024,C,-3.00,90.00,\n",
         3,
         {"2024-01-30 -1 A", "2024-01-31 -2 B", "2024-02-01 -3 C"},
         {{4, Code::BalanceDoesNotFollow, {"90.00"}}, {0, Code::BalanceProves, {1, 2}}}},
        {"the account's currency enters",
         "Date,Payee,Amount,Currency\n2024-01-01,A,-1.00,EUR\n2024-01-02,B,-2.00,USD\n"
         "2024-01-03,C,-3.00,EUR\n",
         3,
         {"2024-01-01 -1 A", "2024-01-03 -3 C"},
         {{0, Code::CurrencyOfAccount, {"EUR", 4}},
          {3, Code::RowOfOtherCurrency, {"-2.00", "USD", "EUR"}}}},
        {"amounts and dates that cannot be read",
         "Date,Payee,Amount\n01/31/2024,A,-1.00\n02/31/2024,B,-2.00\n02/01/2024,C,1" +
             std::string(400, '0') + "\n02/02/2024,D,n/a\n02/03/2024,E,-5.00\n",
         5,
         {"2024-01-31 -1 A", "2024-02-03 -5 E", "2030-05-06 -2 B"},
         {{3, Code::DateUnreadable, {"02/31/2024"}},
          {4, Code::AmountTooLarge},
          {5, Code::RowWithoutAmount}}},
        {"a lone quotation mark, a zero byte",
         "Date,Payee,Amount\n01/31/2024,\"A,-1.00\n02/01/2024,B" + std::string(1, '\0') +
             "x,-2.00\n",
         2,
         {"2024-01-31 -1 \"A", "2024-02-01 -2 B"},
         {{2, Code::QuoteNotClosed}}},
        {"text above and below",
         "Kontoauszug;Januar\nDatum;Text;Betrag\n31.01.2024;A;-1,00\nalle Angaben ohne "
         "Gew\u00E4hr\n",
         1,
         {"2024-01-31 -1 A"},
         {{4, Code::RowOfText}}},
        {"neither sign nor word",
         "Date,Payee,Amount\n01/31/2024,A,1.00\n",
         1,
         {"2024-01-31 1 A"},
         {{0, Code::SignsUnknown}}},
        {"a tie of a card",
         "Date,Payee,Amount\n01/31/2024,A,1.00\n02/01/2024,B,-1.00\n",
         2,
         {"2024-01-31 1 A", "2024-02-01 -1 B"},
         {{0, Code::SignsUnknown}},
         AccountType::Credit},
        {"both sides in one row",
         "Date,Payee,Debit,Credit\n01/31/2024,A,5.00,2.00\n",
         1,
         {"2024-01-31 -3 A"},
         {{2, Code::RowOfBothSides}}},
        {"day first by a comma or another language",
         "Date;Libell\u00E9;Montant\n01/02/2024;A;-1,50\n",
         1,
         {"2024-02-01 -1.5 A"},
         {{0, Code::DatesUndecidedDayFirst, {"01/02/2024", 2}}}},
        {"month first by English",
         "Date,Description,Amount\n01/02/2024,A,-1.50\n",
         1,
         {"2024-01-02 -1.5 A"},
         {{0, Code::DatesUndecided, {"01/02/2024", 2}}}},
        {"whole thousands with points",
         "Datum;Text;Betrag\n31.01.2024;A;-1.500\n01.02.2024;B;2.000\n",
         2,
         {"2024-01-31 -1500 A", "2024-02-01 2000 B"},
         {{0, Code::MarksUndecided, {2, "-1.500", 2}}}},
        {"an identifier said twice",
         "Date,Payee,Amount,Transaction ID\n01/31/2024,A,-1.00,AB-100\n"
         "01/31/2024,A,-1.00,AB-101\n02/01/2024,B,-2.00,AB-102\n",
         3,
         {"2024-01-31 -1 A", "2024-01-31 -1 A", "2024-02-01 -2 B"},
         {}},
    };
    for (const Told& row : rows) {
        SCOPED_TRACE(row.name);
        StartAnew(row.type);
        const ImportResult result = ImportText(row.text);
        EXPECT_FALSE(result.failed) << quillon::Shown(result.refusal);
        EXPECT_EQ(result.read, row.read);
        EXPECT_EQ(Register(), row.lines);
        for (const Noted& note : row.notes) ExpectNoted(result.notes, note);
        ExpectBalancesInOrder();
    }
}

TEST_F(CsvImport, OverlappingFilesEnterEachRowOnce) {
    const std::string head = "Date,Payee,Amount,Balance\n";
    const std::string a = "2024-01-01,Bus,-2.50,97.50\n";
    const std::string b = "2024-01-01,Bus,-2.50,95.00\n";
    const std::string c = "2024-01-02,Bus,-2.50,92.50\n";
    const std::string d = "2024-01-02,Shop,-9.00,83.50\n";
    EXPECT_EQ(ImportText(head + a).imported, 1);
    EXPECT_EQ(ImportText(head + a + b + c).imported, 2) << "of the first day one was held";
    const ImportResult upwards = ImportText(head + d + c + b + a);
    EXPECT_EQ(upwards.imported, 1);
    EXPECT_EQ(upwards.duplicates, 3);
    EXPECT_EQ(Balance(), -16.5);
    // The same rows with identifiers, which a pending one does not have yet.
    const ImportResult named = ImportText(
        "Date,Payee,Amount,Transaction ID\n2024-01-02,Bus,-2.50,AB-03\n"
        "2024-01-02,Shop,-9.00,AB-04\n2024-01-03,Shop,-1.00,AB-05\n"
        "2024-01-03,PENDING - Pub,-7.00,\n");
    EXPECT_EQ(named.duplicates, 2);
    EXPECT_EQ(named.imported, 1);
    EXPECT_EQ(m_finding.map[CsvField::Id], 4);
    // Their own identifiers, where a file has some: the same with other contents counts too.
    const std::string ids = "Date,Payee,Amount,Id\n";
    m_request.columns[static_cast<size_t>(CsvField::Id)] = 4;
    EXPECT_EQ(ImportText(ids + "2024-02-01,A,-1.00,77001\n2024-02-01,A,-1.00,77001\n"
                               "2024-02-02,B,-2.00,77001\n")
                  .imported,
              2);
    EXPECT_EQ(ImportText(ids + "2024-02-02,B,-2.00,77001\n2024-02-01,A,-1.00,77001\n").imported, 0);
}

TEST_F(CsvImport, RefusalsSayWhatTheFileIsInstead) {
    using Refusal = ImportRefusalCode;
    const struct {
        const char* text;
        Refusal code;
        ImportValue value;
    } rows[] = {
        {"PK\x03\x04xl/workbook", Refusal::CsvIsOther, "a spreadsheet (or another ZIP archive)"},
        {"\n <!DOCTYPE html><table>", Refusal::CsvIsOther, "a web page (HTML)"},
        {"<?xml version=\"1.0\"?><Workbook xmlns=\"urn:office:spreadsheet\">", Refusal::CsvIsOther,
         "a spreadsheet (XML)"},
        {"!Type:Bank\nD1/2'21\n", Refusal::CsvIsOther, "a QIF file: import it as QIF"},
        {"Date,Payee,Amount\n", Refusal::CsvHeadingAlone, ""},
        {"Payee,Amount\nA,1.50\nB,2.50\n", Refusal::CsvNoDates, ""},
        {"Date;Payee;Amount\n1111/11/11;A;1,50\n", Refusal::CsvNoDates, "1111/11/11"},
        {"one\ntwo\nthree\n", Refusal::CsvNoRows, ""},
        {"Date,Payee,Amount\nsoon,Ann,five\n", Refusal::CsvNoRows, ""},
        {"\n \r\n", Refusal::Empty, ""},
        {"2024-01-01;nothing\n", Refusal::CsvNoRows, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        const ImportResult result = ImportText(row.text);
        EXPECT_EQ(result.refusal.code, row.code) << quillon::Shown(result.refusal);
        if (row.value != ImportValue("")) {
            ASSERT_FALSE(result.refusal.values.empty());
            EXPECT_EQ(result.refusal.values[0], row.value);
        }
        EXPECT_TRUE(Register().empty());
    }
    m_request.columns[0] = 9;
    EXPECT_EQ(ImportText("Date,Payee,Amount\n2024-01-01,A,1.50\n").refusal.code,
              Refusal::CsvNoRows);
    m_request.columns = {};
    m_request.columns[static_cast<size_t>(CsvField::Memo)] = 9;
    EXPECT_EQ(ImportText("Date,Payee,Amount\n2024-01-01,A,1.50\n").refusal.code,
              Refusal::CsvNoSuchColumn);
}

TEST_F(CsvImport, WhatIsAskedForGoesBefore) {
    const std::string text =
        "Title;of the file;x;y\nDate;Payee;Amount;Note\n01/02/2024;A;1,500;N\n";
    ASSERT_TRUE(ReadCsvMapping("payee=4,memo=2", m_request));
    m_request.dateOrder = DateOrder::DayMonthYear;
    m_request.decimal = DecimalMark::Comma;
    m_request.invert = true;
    m_request.skip = 1;
    EXPECT_FALSE(ImportText(text).failed);
    EXPECT_EQ(Shown(m_finding), "date 1, payee 4, amount 3, memo 2; line 2, inverted");
    EXPECT_EQ(Register(), Lines{"2024-02-01 -1.5 N (A)"});
    // And it makes a profile that the next file with the heading is read by.
    const CsvProfile profile = ProfileOf("mine", m_finding, m_request);
    StartAnew(AccountType::Checking);
    m_profiles = {{"other", "date|amount", {}}, profile};
    const ImportResult result = ImportText("Title\nDate;Payee;Amount;Note\n03/02/2024;B;2,25;M\n");
    EXPECT_EQ(Register(), Lines{"2024-02-03 -2.25 M (B)"});
    ExpectNoted(result.notes, {0, Code::ProfileUsed, {"mine"}});
    StartAnew(AccountType::Checking);
    m_profiles = {profile};
    ImportText("Title\nDate;Payee;Amount;Notes\n02/03/2024;B;-2.25;M\n");
    EXPECT_EQ(Register(), Lines{"2024-02-03 -2.25 B (M)"}) << "another heading";
}

TEST_F(CsvImport, AccountsOfAFileAreToldApart) {
    const std::string text =
        "Date,Payee,Amount,Account Name\n2024-01-01,A,-1.00,One\n"
        "2024-01-02,B,-2.00,Two\n2024-01-03,C,-3.00,One\n";
    const ImportResult all = ImportText(text);
    EXPECT_EQ(all.imported, 3);
    ASSERT_EQ(all.sources.size(), 2u);
    EXPECT_EQ(all.sources[0].lines, 2);
    ExpectNoted(all.notes, {0, Code::SourcesJoined});
    StartAnew(AccountType::Checking);
    CCSVImportManager importer(m_database, m_account, "in.csv", m_files);
    m_files.Bytes("in.csv") = quillon::Text(text);
    ImportOptions options;
    options.source = "Two";
    importer.SetOptions(options);
    EXPECT_EQ(importer.Import().imported, 1);
    EXPECT_EQ(Register(), Lines{"2024-01-02 -2 B"});
}

}  // namespace
}  // namespace quillon
