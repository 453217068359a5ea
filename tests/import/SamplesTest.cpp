// Real downloads and exports, kept by other projects as test data for their readers. They
// lie where QUILLON_SAMPLES says and are left out when they are not there. Every figure below was
// read off the files, not off the importer.

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>

#include "import/ImportLedger.h"

namespace quillon {
namespace {

std::string SamplesFolder() {
    const char* const given = std::getenv("QUILLON_SAMPLES");
    return WithTrailingSeparator(given ? given : QUILLON_SAMPLES);
}

struct Sample {
    const char* file;
    int64_t read;
    int64_t imported;
    int64_t duplicates;
    double balance;  // of the account afterwards
    const char* dateOrder;
    const char* decimal;
    const char* charset;
};

// clang-format off
constexpr Sample kSamples[] = {
    {"qif/ccp2qif-liste_mouvements.qif", 7, 7, 0, -1491.91, "dmy", "point", "utf-8"},
    {"qif/csv2ofx-creditunion.qif", 8, 8, 0, 465000, "mdy", "point", "utf-8"},
    {"qif/csv2ofx-mint.qif", 4, 4, 0, -3000, "mdy", "point", "utf-8"},
    {"qif/gnucash-docs-gnc_sample_qif.qif", 27, 27, 0, -4109.73, "dmy", "point", "utf-8"},
    {"qif/gnucash-qif-import-expenses.qif", 2, 2, 0, -1242.36, "ymd", "point", "utf-8"},
    {"qif/nerdbank.qif-sample.qif", 29, 29, 0, 21349, "mdy", "point", "utf-8"},
    {"qif/qif-3_records_ddmmyyyy.qif", 3, 3, 0, 0, "dmy", "point", "utf-8"},
    {"qif/qif-3_records_invalid_header.qif", 3, 3, 0, 0, "dmy", "point", "utf-8"},
    {"qif/qif-3_records_mmddyy.qif", 3, 3, 0, 0, "mdy", "point", "utf-8"},
    {"qif/qif-3_records_separator.qif", 3, 3, 0, -31000, "dmy", "point", "utf-8"},
    {"qif/qif-3_records_spaced.qif", 3, 3, 0, 0, "mdy", "point", "utf-8"},
    {"qif/qif-quicken_non_investement_account.qif", 3, 3, 0, -935, "mdy", "point", "utf-8"},
    {"qif/qif-split-allmybrain-input.qif", 2, 2, 0, 62.5, "mdy", "point", "utf-8"},
    {"qif/qif-to-qfx-basic_bank.qif", 3, 3, 0, 1447.51, "mdy", "point", "utf-8"},
    {"qif/qif-to-qfx-blank_line_sep.qif", 3, 3, 0, -24.45, "mdy", "point", "utf-8"},
    {"qif/qif-to-qfx-credit_card.qif", 3, 3, 0, 0, "mdy", "point", "utf-8"},
    {"qif/qif-to-qfx-date_formats.qif", 3, 3, 0, -60, "mdy", "point", "utf-8"},
    {"qif/qif-to-qfx-dedup_file_a.qif", 2, 2, 0, -62, "mdy", "point", "utf-8"},
    {"qif/qif-to-qfx-dedup_file_b.qif", 2, 2, 0, -87, "mdy", "point", "utf-8"},
    {"qif/qif-to-qfx-fidelity_investment.qif", 13, 4, 0, -1199.23, "mdy", "point", "utf-8"},
    {"qif/qif-to-qfx-with_splits.qif", 2, 2, 0, -80, "mdy", "point", "utf-8"},
    {"qif/qif2csv-sample.qif", 10, 10, 0, 1769.69, "mdy", "point", "utf-8"},
    {"qif/qif2json-windows-1252.qif", 1, 1, 0, -379, "mdy", "point", "windows-1252"},
    {"qif/qifqif-example.qif", 5, 5, 0, -307, "dmy", "point", "utf-8"},
    {"qif/qifutil-sample.qif", 58, 58, 0, 20482.8, "mdy", "point", "utf-8"},
    {"qif/quiffen-test.qif", 7, 7, 0, -135.5, "mdy", "point", "utf-8"},
    {"qif/quiffen-test_transaction_before_account_definition_1.qif", 2, 2, 0, -197.96, "ymd", "point", "utf-8"},
    {"qif/quiffen-test_unknown_account_type.qif", 1, 1, 0, 0, "mdy", "point", "utf-8"},
    {"qif/rust-qif-parser-amex.qif", 7, 7, 0, -58.4, "dmy", "point", "utf-8"},
    {"qif/rust-qif-parser-cic.qif", 12, 12, 0, 441.58, "dmy", "point", "utf-8"},
    {"qif/rust-qif-parser-wikipedia.qif", 6, 6, 0, -35.5, "mdy", "point", "utf-8"},
    {"qif/rust-qif-parser-wikipedia_simple.qif", 3, 3, 0, -820.63, "mdy", "point", "utf-8"},
    {"qif/statement-normalizer-sample.qif", 4, 4, 0, 1213.51, "mdy", "point", "utf-8"},
    {"qif/tbank2qif-import.qif", 5, 5, 0, 446081.92, "mdy", "point", "utf-8"},
    {"ofx/bank-statement-import-test_ofx.ofx", 4, 4, 0, -360, "ymd", "point", "utf-8"},
    {"ofx/bankstatementparser-sample.ofx", 2, 2, 0, 1170.25, "ymd", "point", "utf-8"},
    {"ofx/beancount-import-checking-emptyledgerbal.ofx", 3, 3, 0, -59.5, "ymd", "point", "utf-8"},
    {"ofx/beancount_reds_importers-360checking.qfx", 4, 4, 0, 1233.55, "ymd", "point", "utf-8"},
    {"ofx/csv2ofx-default.ofx", 8, 8, 0, 465000, "ymd", "point", "utf-8"},
    {"ofx/fixofx-checking.ofx", 106, 106, 0, 4644.42, "ymd", "point", "utf-8"},
    {"ofx/fixofx-creditcard.ofx", 135, 135, 0, -2767.51, "ymd", "point", "utf-8"},
    {"ofx/jgnash-bank1-commas.ofx", 4, 4, 0, 210.51, "ymd", "comma", "utf-8"},
    {"ofx/jgnash-sample.ofx", 5, 5, 0, 237000, "ymd", "point", "utf-8"},
    {"ofx/jgnash-uglyformat.ofx", 5, 5, 0, 2592.57, "ymd", "point", "utf-8"},
    {"ofx/ledger-autosync-accented_characters_latin1.ofx", 1, 1, 0, -58.73, "ymd", "point", "windows-1252"},
    {"ofx/ledger-autosync-apostrophe.ofx", 1, 1, 0, -58.73, "ymd", "point", "utf-8"},
    {"ofx/ledger-autosync-fidelity.ofx", 3, 3, 0, -0.57, "ymd", "point", "utf-8"},
    {"ofx/libofx-ofx-2.1.1-sect-16.5.3.2.ofx", 3, 3, 0, 247, "ymd", "point", "utf-8"},
    {"ofx/libofx-ofx_spec160_stmtrs_example.sgml", 2, 2, 0, -500, "ymd", "point", "utf-8"},
    {"ofx/ofx-bradesco.ofx", 6, 6, 0, -2166.81, "ymd", "comma", "utf-8"},
    {"ofx/ofx-cef_malformed_decimal.ofx", 1, 1, 0, 0, "ymd", "point", "utf-8"},
    {"ofx/ofx-creditcard.ofx", 3, 3, 0, -20.16, "ymd", "point", "utf-8"},
    {"ofx/ofx-data-extractor-example.ofx", 20, 20, 0, 962.5, "ymd", "comma", "utf-8"},
    {"ofx/ofx-data-extractor-inline.ofx", 1, 1, 0, -11.79, "ymd", "point", "utf-8"},
    {"ofx/ofx-js-credit-card.qfx", 5, 5, 0, 80.48, "ymd", "point", "utf-8"},
    {"ofx/ofx-statement_all_trantypes.ofx", 17, 17, 0, 1801.75, "ymd", "point", "utf-8"},
    {"ofx/ofx-tool-exporttoxmltest1.ofx", 1, 1, 0, 450, "ymd", "point", "utf-8"},
    {"ofx/ofx-utf8_body_with_latin_header.ofx", 2, 2, 0, 3250, "ymd", "point", "utf-8"},
    {"ofx/ofx4j-example-response.ofx", 1, 1, 0, 150, "ymd", "point", "utf-8"},
    {"ofx/ofxgo-bmo_v102__no_header_newline.qfx", 1, 1, 0, 2042.24, "ymd", "point", "utf-8"},
    {"ofx/ofxgo-ira_v202.ofx", 1, 1, 0, 3730.76, "ymd", "point", "utf-8"},
    {"ofx/ofxgo-moneymrkt1_v103.ofx", 3, 3, 0, 2863.25, "ymd", "point", "utf-8"},
    {"ofx/ofxparse-anzcc.ofx", 1, 1, 0, -5.5, "ymd", "point", "utf-8"},
    {"ofx/ofxparse-bank_medium.ofx", 3, 3, 0, -345.27, "ymd", "point", "utf-8"},
    {"ofx/ofxparse-ofx-v102-empty-tags.ofx", 1, 1, 0, 12.34, "ymd", "point", "utf-8"},
    {"ofx/ofxparse-suncorp.ofx", 1, 1, 0, -16.85, "ymd", "point", "utf-8"},
    {"ofx/ofxparser-extrato_santander.ofx", 24, 24, 0, -46.73, "ymd", "comma", "utf-8"},
    {"ofx/ofxparser-ofxdata-bb-two-stmtrs.ofx", 36, 36, 0, -3648.66, "ymd", "point", "windows-1252"},
    {"ofx/ofxparser-ofxdata-cmfr.ofx", 42, 42, 0, -13491.59, "ymd", "point", "utf-8"},
    {"ofx/ofxparser-ofxdata-emptydatetime.ofx", 2, 2, 0, 487.5, "ymd", "point", "utf-8"},
    {"ofx/ofxparser-ofxdata-oneline.ofx", 8, 8, 0, -1977.1, "ymd", "point", "utf-8"},
    {"ofx/ofxstatement-sparkasse-freiburg-simple2.ofx", 18, 18, 0, 107.17, "ymd", "point", "utf-8"},
    {"ofx/ofxtools-stmtrs_euro.ofx", 2, 2, 0, -500, "ymd", "comma", "utf-8"},
    {"ofx/qfxparser-testspecialchars.qfx", 2, 2, 0, -1231.36, "ymd", "point", "windows-1252"},
    {"ofx/vscode-ofx-unformatted.ofx", 1, 1, 0, 1000, "ymd", "point", "utf-8"},
};

struct Refused {
    const char* file;
    ImportRefusal why;
};
using Why = ImportRefusalCode;
const Refused kRefused[] = {
    {"qif/qif-quicken_investment_account.qif", {Why::QifInvestments, {2}}},
    {"qif/qif2json-memorizedlist.qif", {Why::QifOnlyLists, {"Memorized"}}},
    {"qif/quiffen-empty.qif", {Why::Empty}},
    {"ofx/beancount_reds_importers-etrade_09092023.qfx", {Why::OfxInvestments, {4}}},
    {"ofx/libofx-heap-buffer-overflow-2.ofx", {Why::NotOfx}},
    {"ofx/libofx-null-ptr-deref-1.ofx", {Why::OfxNoCompleteLine}},
    {"ofx/ofxparse-date_missing.ofx", {Why::NoDates}},
    {"ofx/ofxparse-decimal_error.ofx", {Why::NoDates}},
    {"ofx/ofxparse-bank_small.ofx", {Why::OfxNoLines}},
    {"ofx/ofxparse-multiple_accounts.ofx", {Why::OfxNoLines}},
    {"ofx/ofxparse-signon_fail.ofx",
     {Why::OfxBankReports, {"15500", "Your request could not be processed because you supplied an invalid identification code or your password was incorrect"}}},
    {"ofx/ofxparse-vanguard.ofx", {Why::OfxInvestments, {1}}},
    {"ofx/ofxparser-ofxdata-investments-oneline-xml.ofx", {Why::OfxInvestments, {1}}},
};

struct Spot {
    const char* file;
    const char* transaction;  // one of the register's
};
// "date signed-amount payee [category] (memo) #check kind"
constexpr Spot kSpots[] = {
    {"qif/ccp2qif-liste_mouvements.qif", "2018-01-23 -300 label 7 | communication 7 (label 7 | communication 7)"},
    {"qif/csv2ofx-creditunion.qif", "2015-02-08 50000 Ằdøłƥh Noƴa (INV-1)"},
    {"qif/csv2ofx-mint.qif", "2015-06-13 2000 Transfer to Savings [Savings] (Account Transfer)"},
    {"qif/gnucash-docs-gnc_sample_qif.qif", "2006-01-12 -50 Grocery Store [Expenses:Groceries] #101"},
    {"qif/gnucash-docs-gnc_sample_qif.qif", "2006-03-12 -120 Clothes R Us [Expenses:Clothes]"},
    {"qif/gnucash-qif-import-expenses.qif", "2014-01-02 -7.8 Lunch at Marcy's [Expenses:Dining] (Lunch at Marcy's)"},
    {"qif/nerdbank.qif-sample.qif", "2008-10-25 4000 Bonus Paycheck [Income.Bonus]"},
    {"qif/qif-3_records_invalid_header.qif", "2010-06-01 -20 Description [Debit] (Reference)"},
    {"qif/qif-3_records_separator.qif", "2010-06-01 -30020 Description [Debit] (Reference)"},
    {"qif/qif-3_records_spaced.qif", "2010-06-01 -20 Description [Debit] (Reference)"},
    {"qif/qif-quicken_non_investement_account.qif", "1994-06-01 -1000 Bank Of Mortgage [Transfer] (Memo) #1005"},
    {"qif/qif-to-qfx-blank_line_sep.qif", "2026-03-06 -4.45 KING FALAFEL"},
    {"qif/qif-to-qfx-date_formats.qif", "2025-02-15 -20 Two-digit year"},
    {"qif/qif2csv-sample.qif", "2019-03-01 -1376.8 Mortgage Lender #16056"},
    {"qif/qif2json-windows-1252.qif", "2010-03-03 -379 SOME £$™€ CHARACTERS"},
    {"qif/qifqif-example.qif", "2016-12-02 -4 CARTE SULLY BAR"},
    {"qif/qifqif-example.qif", "2016-12-01 -152"},
    {"qif/qifutil-sample.qif", "2023-03-18 -400 Four Seasons Hotel [Travel:Hotels]"},
    {"qif/quiffen-test.qif", "2020-02-10 -100 Amazon.com [Food:Groceries] (test order 1)"},
    {"qif/quiffen-test_transaction_before_account_definition_1.qif", "2022-09-08 -13.16 SECOND TRANSACTION"},
    {"qif/quiffen-test_unknown_account_type.qif", "2001-01-01 0 [Adjustment]"},
    {"qif/rust-qif-parser-amex.qif", "2023-11-25 150.94 PAYMENT RECEIVED - THANK YOU #20231125"},
    {"qif/rust-qif-parser-cic.qif", "2020-06-02 -9.59 KIMSUFI CARTE 1234 PAIEMENT CB 0106 ROUBAIX"},
    {"qif/rust-qif-parser-wikipedia.qif", "2020-02-10 0 Opening Balance [Adjustment]"},
    {"qif/statement-normalizer-sample.qif", "2024-03-15 -432.1 RENT TRANSFER"},
    {"qif/tbank2qif-import.qif", "2025-10-13 450000 Ivanov I.I. (Ivanov I.I.)"},
    {"ofx/beancount-import-checking-emptyledgerbal.ofx", "2011-04-07 -25 RETURNED CHECK FEE, CHECK # 319 (RETURNED CHECK FEE, CHECK # 319 FOR $45.33 ON 04/07/11) #319"},
    {"ofx/fixofx-creditcard.ofx", "2010-07-21 -15.45 K&L Wines EFT"},
    {"ofx/jgnash-bank1-commas.ofx", "2007-12-07 300.01 Pay Check (Deposit ACH)"},
    {"ofx/jgnash-sample.ofx", "2003-09-25 300000 給与"},
    {"ofx/jgnash-uglyformat.ofx", "2017-03-15 1234.56 PAYROLL~ Future & & \" ' Am'ount: 1234.56 ~ Tran: ACHDD"},
    {"ofx/ledger-autosync-accented_characters_latin1.ofx", "2014-09-20 -58.73 Virement Interac à: Jean EFT"},
    {"ofx/ledger-autosync-fidelity.ofx", "2012-08-20 -0.97 LATE SETTLEMENT FEE (LATE SETTLEMENT FEE)"},
    {"ofx/libofx-ofx_spec160_stmtrs_example.sgml", "1996-10-04 -200 #1000"},
    {"ofx/ofx-cef_malformed_decimal.ofx", "2022-04-11 0 SALDO DIA (SALDO DIA)"},
    {"ofx/ofx-data-extractor-example.ofx", "2018-03-20 -3.34 Tarifa repasse: 22612776 de YYYYYYYYYYY (Tarifa repasse: 22612776 de YYYYYYYYYYY) #62976603"},
    {"ofx/ofx-data-extractor-example.ofx", "2018-04-29 -3.34 \\Tarifa repasse: 30830691 de \\\\Du\\que (\\Tarifa repasse: 30830691 de \\\\Du\\que) #66643670"},
    {"ofx/ofx-js-credit-card.qfx", "2026-04-02 -26.38 T&T SUPERMARKET (VANCOUVER BC) EFT"},
    {"ofx/ofx-statement_all_trantypes.ofx", "2023-12-10 -200 Transfer Out Transfer"},
    {"ofx/ofx-tool-exporttoxmltest1.ofx", "2022-06-02 450 VIR SURNAME NAME (VIR SURNAME NAME)"},
    {"ofx/ofx-utf8_body_with_latin_header.ofx", "2026-02-15 3500 Salário recebido - Março (Salário recebido - Março)"},
    {"ofx/ofx4j-example-response.ofx", "2007-03-29 150 TRANSFER (Transfer from checking &<> etc.)"},
    {"ofx/ofxparse-ofx-v102-empty-tags.ofx", "2018-05-07 12.34 CBA:Transfer (CBA:Transfer)"},
    {"ofx/ofxparse-suncorp.ofx", "2013-12-15 -16.85 EFTPOS WDL HANDYWAY ALDI STORE (EFTPOS WDL HANDYWAY ALDI STORE   GEELONG WEST VICAU) EFT"},
    {"ofx/ofxparser-extrato_santander.ofx", "2016-08-01 -560 CHEQUE EMITIDO/DEBITADO (CHEQUE EMITIDO/DEBITADO) #38"},
    {"ofx/ofxparser-ofxdata-bb-two-stmtrs.ofx", "2017-03-02 1657.34 TED-CRÉDITO EM CONTA (TED-CRÉDITO EM CONTA) #7472895"},
    {"ofx/ofxstatement-sparkasse-freiburg-simple2.ofx", "2018-04-03 -60 Bücher; Wigald Boning (DAUERAUFTRAG; IBAN: DE12341234123412341234; BIC: ABCDABCD) EFT"},
    {"ofx/qfxparser-testspecialchars.qfx", "2020-03-01 -100 Retrait - Internet - Compte d'ép (SPOINT To 5111222333) EFT"},
};
// clang-format on

class ImportSamples : public CImportLedger {
protected:
    void SetUp() override {
        if (!PlatformFileSystem().FolderExists(SamplesFolder() + "qif")) {
            GTEST_SKIP() << "no samples in " << SamplesFolder();
        }
        CImportLedger::SetUp();
    }

    // A copy in memory: importing rewrites the file.
    void NewAccount(const std::string& file) {
        std::vector<uint8_t> bytes;
        ASSERT_TRUE(ReadWholeFile(PlatformFileSystem(), SamplesFolder() + file, bytes)) << file;
        m_files.Bytes("copy") = bytes;
        OpenAccount(file, AccountType::Checking);
    }

    ImportResult ImportCopy(bool qif, DialectMode mode = DialectMode::Auto) {
        ImportOptions options;
        options.dialect = mode;
        options.allSources = true;
        return qif ? Import<CQIFImportManager>("copy", options)
                   : Import<CQFXImportManager>("copy", options);
    }
};

bool IsQif(std::string_view file) {
    return file.substr(0, 4) == "qif/";
}

TEST_F(ImportSamples, EveryFileGivesWhatAPersonReadsInIt) {
    std::multimap<std::string, std::string> spots;
    for (const Spot& spot : kSpots) spots.emplace(spot.file, spot.transaction);
    for (const Sample& sample : kSamples) {
        SCOPED_TRACE(sample.file);
        NewAccount(sample.file);
        const ImportResult result = ImportCopy(IsQif(sample.file));
        EXPECT_FALSE(result.failed) << Shown(result.refusal);
        EXPECT_EQ(result.read, sample.read);
        EXPECT_EQ(result.imported, sample.imported);
        EXPECT_EQ(result.duplicates, sample.duplicates);
        EXPECT_NEAR(Balance(), sample.balance, 0.005);
        EXPECT_STREQ(NameOf(result.dialect.dateOrder), sample.dateOrder);
        EXPECT_STREQ(NameOf(result.dialect.decimal), sample.decimal);
        EXPECT_STREQ(NameOf(result.dialect.charset), sample.charset);
        const std::vector<std::string> lines = Register();
        EXPECT_EQ(static_cast<int64_t>(lines.size()), sample.imported);
        const auto [from, to] = spots.equal_range(sample.file);
        for (auto spot = from; spot != to; ++spot) {
            EXPECT_NE(std::find(lines.begin(), lines.end(), spot->second), lines.end())
                << spot->second << "\n among\n"
                << testing::PrintToString(lines);
        }
        // The same download again, also after it was rewritten.
        const ImportResult again = ImportCopy(IsQif(sample.file));
        EXPECT_EQ(again.imported, 0);
        EXPECT_EQ(again.matched, 0);
        EXPECT_EQ(again.duplicates, sample.imported + sample.duplicates);
        EXPECT_NEAR(Balance(), sample.balance, 0.005);
    }
}

TEST_F(ImportSamples, FilesWithoutTransactionsAreRefusedWithTheReason) {
    for (const Refused& refused : kRefused) {
        SCOPED_TRACE(refused.file);
        NewAccount(refused.file);
        const ImportResult result = ImportCopy(IsQif(refused.file));
        EXPECT_TRUE(result.failed);
        EXPECT_EQ(result.refusal, refused.why) << Shown(result.refusal);
        EXPECT_TRUE(Register().empty());
    }
}

TEST_F(ImportSamples, TheTablesNameEveryFile) {
    size_t files = 0;
    for (const char* folder : {"qif", "ofx"}) {
        std::vector<std::string> names;
        ASSERT_TRUE(PlatformFileSystem().List(SamplesFolder() + folder, names));
        for (const std::string& name : names) {
            const std::string file = std::string(folder) + "/" + name;
            const auto is = [&file](const auto& row) { return file == row.file; };
            EXPECT_TRUE(std::any_of(std::begin(kSamples), std::end(kSamples), is) ||
                        std::any_of(std::begin(kRefused), std::end(kRefused), is))
                << file;
            ++files;
        }
    }
    EXPECT_EQ(files, std::size(kSamples) + std::size(kRefused));
}

TEST_F(ImportSamples, TablesOfCommaSeparatedValuesAreNoBankFiles) {
    std::vector<std::string> names;
    ASSERT_TRUE(PlatformFileSystem().List(SamplesFolder() + "csv", names));
    EXPECT_GE(names.size(), 21U);
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        NewAccount("csv/" + name);
        const std::vector<uint8_t> before = m_files.Bytes("copy");
        const ImportResult qif = ImportCopy(true);
        EXPECT_TRUE(qif.failed);
        EXPECT_EQ(qif.refusal.code, Why::NotQif);
        const ImportResult qfx = ImportCopy(false);
        EXPECT_TRUE(qfx.failed);
        EXPECT_EQ(qfx.refusal.code, Why::NotOfx);
        EXPECT_EQ(m_files.Bytes("copy"), before);
    }
}

// Files cut off anywhere, under both rules: no crash, and a ledger in order.
TEST_F(ImportSamples, CutOffFilesLeaveTheLedgerInOrder) {
    NewAccount("ofx/jgnash-uglyformat.ofx");
    for (const char* file : {"ofx/ofx-data-extractor-example.ofx", "qif/quiffen-test.qif",
                             "ofx/ofxparse-suncorp.ofx", "ofx/jgnash-sample.ofx"}) {
        std::vector<uint8_t> bytes;
        ASSERT_TRUE(ReadWholeFile(PlatformFileSystem(), SamplesFolder() + file, bytes));
        for (size_t size = 0; size < bytes.size(); size += 1 + bytes.size() / 40) {
            for (const DialectMode mode : {DialectMode::Auto, DialectMode::Plain}) {
                m_files.Bytes("copy") = {bytes.begin(),
                                         bytes.begin() + static_cast<std::ptrdiff_t>(size)};
                const ImportResult result = ImportCopy(IsQif(file), mode);
                EXPECT_LE(result.imported + result.duplicates, result.read);
            }
        }
    }
    ExpectBalancesInOrder();
}

}  // namespace
}  // namespace quillon
