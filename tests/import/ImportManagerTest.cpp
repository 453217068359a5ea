#include "import/plan/ImportManager.h"

#include "import/ImportLedger.h"

namespace quillon {
namespace {

using Note = ImportNoteCode;
using Why = ImportRefusalCode;

class ImportManager : public CImportLedger {
protected:
    ImportResult ImportQif(const std::string& text, const ImportOptions& options = {}) {
        m_files.Bytes("in.qif") = Text(text);
        return Import<CQIFImportManager>("in.qif", options);
    }
    ImportResult ImportQfx(const std::string& text, const ImportOptions& options = {}) {
        m_files.Bytes("in.qfx") = Text(text);
        return Import<CQFXImportManager>("in.qfx", options);
    }

    static ImportOptions Inferred() {
        ImportOptions options;
        options.dialect = DialectMode::Auto;
        return options;
    }
};

std::string StatementLine(const std::string& id, const std::string& date, const std::string& amount,
                          const std::string& name) {
    return "<STMTTRN>\r\n<DTPOSTED>" + date + "\r\n<TRNAMT>" + amount + "\r\n<FITID>" + id +
           "\r\n<NAME>" + name + "\r\n</STMTTRN>\r\n";
}

TEST_F(ImportManager, QifEntersARecord) {
    const ImportResult result = ImportQif("!Type:Bank\nD1/2'21\nT-12.50\nPShop\nLFoodstuff\n^\n");
    ASSERT_FALSE(result.failed) << Shown(result.refusal);
    EXPECT_EQ(result.read, 1);
    EXPECT_EQ(result.imported, 1);
    EXPECT_EQ(result.categoriesCreated, 1);
    EXPECT_EQ(result.payeesCreated, 1);
    EXPECT_EQ(Register(), Lines{"2021-01-02 -12.5 Shop [Foodstuff]"});
    EXPECT_DOUBLE_EQ(Balance(), -12.5);
    // The format has no identifiers.
    const ImportResult again = ImportQif("!Type:Bank\nD1/2'21\nT-12.50\nPShop\nLFoodstuff\n^\n");
    EXPECT_EQ(again.imported, 1);
    EXPECT_EQ(again.categoriesCreated + again.payeesCreated, 0);
    EXPECT_DOUBLE_EQ(Balance(), -25);
}

TEST_F(ImportManager, TypeFollowsAccountAndSign) {
    const struct {
        AccountType account;
        int types[3];  // of -5, 0 and 7
    } rows[] = {
        {AccountType::Checking, {0, 1, 1}},   {AccountType::Savings, {0, 1, 1}},
        {AccountType::Investment, {0, 1, 1}}, {AccountType::Credit, {2, 0, 0}},
        {AccountType::Loan, {3, 0, 0}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(static_cast<int>(row.account));
        OpenAccount("A" + std::to_string(static_cast<int>(row.account)), row.account);
        ImportQif("!Type:Bank\nD1/2'21\nT-5\n^\nD1/2'21\nT0\n^\nD1/2'21\nT7\n^\n");
        size_t at = 0;
        for (const CTransactionEntry& entry : Transactions()) {
            ASSERT_LT(at, 3U);
            EXPECT_EQ(static_cast<int>(entry.transactionType), row.types[at++]);
        }
        EXPECT_EQ(Register(), (Lines{"2021-01-02 -5", "2021-01-02 0", "2021-01-02 7"}));
        EXPECT_DOUBLE_EQ(Balance(), 2);
    }
    ExpectBalancesInOrder();
}

TEST_F(ImportManager, PlainRulesEnterAPayeeWithAnEmptyName) {
    ImportQif("!Type:Bank\nD1/2'21\nT-1\n^\n");
    CPayeeEntry payee;
    EXPECT_TRUE(m_database.FindPayeeByName("", payee));
}

TEST_F(ImportManager, LastMatchingRuleRenames) {
    for (const auto& [search, replacement] :
         {std::pair("AMZN", "Amazon"), std::pair("MKT", "Market"), std::pair("Foo", "Food")}) {
        CRenamingRuleEntry rule;
        rule.searchText = search;
        rule.replaceText = replacement;
        ASSERT_TRUE(m_database.Add(rule));
    }
    CRenamingRuleEntry empty;
    empty.replaceText = "Everything";
    ASSERT_TRUE(m_database.Add(empty));
    ImportQif(
        "!Type:Bank\nD1/2'21\nT-1\nPAMZN MKTPLACE\nLFoo\n^\nD1/3'21\nT-1\nPa void b\n^\n"
        "D1/4'21\nT-1\nPamzn\n^\n");
    // The second rule looks at what the first one made of the text.
    EXPECT_EQ(Register(),
              (Lines{"2021-01-02 -1 Amazon [Food]", "2021-01-03 -1 VOID", "2021-01-04 -1 amzn"}));
}

// A preview and its import count the same.
TEST_F(ImportManager, AmountsAboveTheLimitAreLeftOut) {
    const std::string file =
        "!Type:Bank\nD1/2'21\nT10000000000000.00\nPShop\n^\nD1/2'21\nT-10000000000000.00\n"
        "PShop\n^\nD1/2'21\nT10000000000000.01\nPToo much\n^\nD1/2'21\n"
        "T-99999999999999\nPToo much\n^\n";
    for (const bool dryRun : {true, false}) {
        SCOPED_TRACE(dryRun);
        ImportOptions options = Inferred();
        options.dryRun = dryRun;
        const ImportResult result = ImportQif(file, options);
        EXPECT_EQ(result.read, 4);
        EXPECT_EQ(result.imported, 2);
        EXPECT_EQ(result.payeesCreated, 1);
        ExpectNoted(result.notes, {10, Note::AmountTooLarge});
    }
    EXPECT_EQ(Register(), (Lines{"2021-01-02 1e+13 Shop", "2021-01-02 -1e+13 Shop"}));
    ExpectBalancesInOrder();
}

TEST_F(ImportManager, AClosedAccountTakesNoImport) {
    ASSERT_TRUE(m_database.SetAccountActive(m_account.id, false));
    const ImportResult result = ImportQif("!Type:Bank\nD1/2'21\nT1\n^\n");
    EXPECT_TRUE(result.failed);
    EXPECT_EQ(result.refusal.code, Why::AccountClosed);
    EXPECT_EQ(Register(), Lines{});
}

TEST_F(ImportManager, AFileThatIsNoneIsRefusedWithTheReason) {
    CQIFImportManager missing(m_database, m_account, "no.qif", m_files);
    EXPECT_EQ(missing.Import().refusal.code, Why::NoSuchFile);
    EXPECT_EQ(ImportQif("").refusal.code, Why::NotReadable);
    EXPECT_EQ(ImportQif("!Type:Bank\nPCaf\xE9\n^\n").refusal.code, Why::NotReadable);
    EXPECT_EQ(ImportQfx("").refusal.code, Why::NotReadable);
    EXPECT_EQ(ImportQfx("\x89PNG").refusal.code, Why::NotReadable);

    const ImportRefusal notOfx{Why::NotOfx};
    const struct {
        const char* text;
        ImportRefusal qif;
        ImportRefusal qfx;
    } rows[] = {
        {"", {Why::Empty}, {Why::Empty}},
        {"\x89PNG\x01\x02\x03\x04", {Why::NotText}, {Why::NotText}},
        {"Date,Amount\n1/2/21,5\n", {Why::NotQif}, notOfx},
        {"<OFX></OFX>", {Why::QifIsOfx}, {Why::OfxNoLines}},
        {"!Type:Cat\nNFood\n^\n!Type:Class\nNA\n^\n",
         {Why::QifOnlyLists, {"Cat", "Class"}},
         notOfx},
        {"!Type:Bank\n^\n", {Why::QifNoRecords}, notOfx},
        {"!Type:Invst\nD1/2/21\nNShrsIn\nT5\n^\n", {Why::QifInvestments, {1}}, notOfx},
        {"!Type:Peculiar\nPNote\n^\n", {Why::QifIncomplete, {1}}, notOfx},
        {"!Type:Bank\nDsoon\nT5\n^\n", {Why::NoDates}, notOfx},
        {"<OFX><STMTTRN>", {Why::QifIsOfx}, {Why::OfxNoCompleteLine}},
        {"<OFX><STATUS><CODE>15500<SEVERITY>ERROR<MESSAGE>No</STATUS></OFX>",
         {Why::QifIsOfx},
         {Why::OfxBankReports, {"15500", "No"}}},
        {"<OFX><INVTRAN></INVTRAN></OFX>", {Why::QifIsOfx}, {Why::OfxInvestments, {1}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(ImportQif(row.text, Inferred()).refusal, row.qif);
        EXPECT_EQ(ImportQfx(row.text, Inferred()).refusal, row.qfx);
        // What is refused is not rewritten.
        EXPECT_EQ(ToString(m_files.Bytes("in.qfx")), row.text);
    }
    EXPECT_TRUE(Register().empty());
}

TEST_F(ImportManager, ARegisterThatGoesOnBehindAnAccountBlockIsOne) {
    const ImportResult result = ImportQif(
        "!Type:Bank\nD1/31/21\nT1\nPA\n^\n!Account\nNGiro\nTBank\n^\nD1/30/21\nT2\nPB\n^\n"
        "D1/29/21\nT3\nPC\n^\n",
        Inferred());
    EXPECT_EQ(result.imported, 3) << Shown(result.refusal);
    EXPECT_EQ(result.sources.size(), 1U);
}

TEST_F(ImportManager, ReturnsEndLinesOfAQifFile) {
    const ImportResult result =
        ImportQif("!Type:Bank\rD13/1/21\rT-5\rPA\r^\rD14/1/21\rT-6\rPCaf\xE9\r^\r", Inferred());
    EXPECT_EQ(Register(), (Lines{"2021-01-13 -5 A", "2021-01-14 -6 Caf\xC3\xA9"}));
    EXPECT_EQ(result.dialect.charset, Charset::Windows1252);
    ASSERT_FALSE(result.notes.empty());
    EXPECT_EQ(result.notes.back().line, 8);  // where the accent is
}

TEST_F(ImportManager, QfxIsRewrittenAndEnteredOnce) {
    const std::string text =
        "<OFX><STMTTRN><TRNTYPE>DEBIT<DTPOSTED>20210315120000[-5:EST]<TRNAMT>-1,250.00<FITID>7"
        "<NAME>Shop<MEMO>m</STMTTRN></OFX>";
    const ImportResult result = ImportQfx(text);
    ASSERT_FALSE(result.failed) << Shown(result.refusal);
    EXPECT_EQ(result.imported, 1);
    EXPECT_EQ(ToString(m_files.Bytes("in.qfx")),
              "\r\n<OFX>\r\n<STMTTRN>\r\n<TRNTYPE>DEBIT\r\n<DTPOSTED>20210315120000[-5:EST]\r\n"
              "<TRNAMT>-1,250.00\r\n<FITID>7\r\n<NAME>Shop\r\n<MEMO>m\r\n</STMTTRN>\r\n</OFX>");
    EXPECT_EQ(Register(), Lines{"2021-03-15 -1250 Shop (m) EFT"});
    const ImportResult again = ImportQfx(text);
    EXPECT_EQ(again.read, 1);
    EXPECT_EQ(again.imported, 0);
    EXPECT_EQ(again.duplicates, 1);
    EXPECT_EQ(Register().size(), 1U);
}

TEST_F(ImportManager, ASecondImportAddsNothing) {
    const std::string text =
        StatementLine("", "20210315", "1", "A") + StatementLine("", "20210315", "1", "A") +
        StatementLine("0", "bad", "2", "B") + StatementLine("9", "20210315", "3", "C") +
        StatementLine("9", "20210315", "3", "C") + StatementLine("9", "20210316", "3", "C") +
        StatementLine("9", "20210316", "3", "D") +
        StatementLine("2018030607232002046000000061553574", "20210315", "4", "E");
    const ImportResult first = ImportQfx(text, Inferred());
    EXPECT_EQ(first.read, 8);
    EXPECT_EQ(first.imported, 7);
    EXPECT_EQ(first.duplicates, 1);
    // Another day: what stood in for the unreadable date is another one.
    m_clock.Set(FileTimeFromDate(2030, 5, 7));
    const ImportResult second = ImportQfx(text, Inferred());
    EXPECT_EQ(second.imported, 0);
    EXPECT_EQ(second.duplicates, 8);
    for (const ImportNote& note : second.notes) {
        EXPECT_NE(note.code, Note::HeldDiffers) << note.line;
    }
    // A later download lists the lines of the shared identifier in another order.
    const ImportResult third = ImportQfx(StatementLine("9", "20210316", "3", "D") +
                                             StatementLine("9", "20210315", "3", "C") +
                                             StatementLine("9", "20210317", "3", "New"),
                                         Inferred());
    EXPECT_EQ(third.imported, 1);
    EXPECT_EQ(third.duplicates, 2);
    ExpectBalancesInOrder();
}

TEST_F(ImportManager, PlainSecondImportAddsNothingForMadeIdentifiers) {
    const std::string text =
        StatementLine("", "20210315", "1", "A") + StatementLine("", "20210315", "1", "A");
    EXPECT_EQ(ImportQfx(text).imported, 2);
    EXPECT_EQ(ImportQfx(text).imported, 0);
}

TEST_F(ImportManager, ADuplicateThatDiffersIsListed) {
    ImportQfx(StatementLine("7", "20210315", "1", "A"), Inferred());
    const ImportResult changed = ImportQfx(StatementLine("7", "20210315", "2", "A"), Inferred());
    EXPECT_EQ(changed.duplicates, 1);
    ASSERT_EQ(changed.notes.size(), 1U);
    ExpectNoted(changed.notes, {1, Note::HeldDiffers});
    EXPECT_DOUBLE_EQ(Balance(), 1);
}

// Two accounts whose bank numbers lines from 1 in each.
TEST_F(ImportManager, AFileOfSeveralAccountsEntersTheOneThatIsMeant) {
    const auto statement = [](const char* element, const char* number, const std::string& lines) {
        return std::string("<") + element + "><CURDEF>USD<BANKACCTFROM><ACCTID>" + number +
               "</BANKACCTFROM>" + lines + "</" + element + ">";
    };
    const std::string same = StatementLine("1", "20210315", "-5", "A");
    const std::string text =
        "<OFX>" + statement("STMTRS", "1114711", same + StatementLine("2", "20210316", "-7", "B")) +
        statement("CCSTMTRS", "2224712", same);
    ImportOptions options = Inferred();
    const ImportResult unclear = ImportQfx(text, options);
    EXPECT_TRUE(unclear.failed && unclear.needsSource);
    EXPECT_EQ(unclear.refusal.code, Why::SourceUnclear);
    EXPECT_EQ(unclear.sources.size(), 2U);
    EXPECT_EQ(ToString(m_files.Bytes("in.qfx")), text) << "nothing was rewritten";

    options.source = "2224712";
    const ImportResult card = ImportQfx(text, options);
    EXPECT_EQ(card.imported, 1);
    EXPECT_EQ(card.read, 1);
    ASSERT_EQ(card.notes.size(), 2U);
    ExpectNoted(card.notes, {0, Note::CardForOtherAccount, {"2224712"}});
    ExpectNoted(card.notes, {0, Note::SourcesLeftOut});

    OpenAccount("Savings", AccountType::Savings);
    options = Inferred();
    options.allSources = true;
    EXPECT_EQ(ImportQfx(text, options).imported, 3) << "the same line in two accounts is two";
    EXPECT_EQ(ImportQfx(text, options).imported, 0);
    EXPECT_DOUBLE_EQ(Balance(), -17);

    OpenAccount("Credit", AccountType::Credit);
    m_account.description = "ends in 4711";
    const ImportResult carried = ImportQfx(text, Inferred());
    EXPECT_EQ(carried.imported, 2);
    ASSERT_EQ(carried.sources.size(), 2U);
    EXPECT_TRUE(carried.sources[0].chosen && !carried.sources[1].chosen);
    ExpectNoted(carried.notes, {0, Note::BankForCreditAccount, {"1114711"}});
}

TEST_F(ImportManager, DryRunTouchesNothing) {
    const std::string text = "<OFX>" + StatementLine("7", "20210315", "1", "A") +
                             StatementLine("8", "20210315", "1", "A") +
                             StatementLine("8", "20210315", "1", "A");
    const auto before = m_files.Snapshot();
    for (const DialectMode mode : {DialectMode::Auto, DialectMode::Plain}) {
        ImportOptions options;
        options.dialect = mode;
        options.dryRun = true;
        const ImportResult result = ImportQfx(text, options);
        EXPECT_EQ(result.imported, mode == DialectMode::Auto ? 2 : 3);
        EXPECT_EQ(result.duplicates, mode == DialectMode::Auto ? 1 : 0);
        EXPECT_EQ(result.payeesCreated, 1);
        auto after = m_files.Snapshot();
        EXPECT_EQ(ToString(after.at("in.qfx")), text);
        after.erase("in.qfx");
        EXPECT_EQ(after, before);
    }
}

TEST_F(ImportManager, AFileThatCannotBeRewrittenIsImportedAllTheSame) {
    m_files.FailNth(CMemoryFileSystem::Call::Rename, 1);
    const std::string text = "<OFX>" + StatementLine("7", "20210315", "1", "A");
    const ImportResult result = ImportQfx(text, Inferred());
    EXPECT_EQ(result.imported, 1);
    EXPECT_EQ(ToString(m_files.Bytes("in.qfx")), text);
    ASSERT_EQ(result.notes.size(), 1U);
    EXPECT_EQ(result.notes[0].code, Note::NotRewritten);
}

TEST_F(ImportManager, OversizedAmountsAndTextsAreListed) {
    const ImportResult result =
        ImportQfx(StatementLine("1", "20210315", "99999999999999999", "A") +
                      StatementLine("2", "20210315", "5", std::string(100'000, 'x')),
                  Inferred());
    EXPECT_EQ(result.read, 2);
    EXPECT_EQ(result.imported, 1);
    EXPECT_EQ(result.notes.size(), 2U);
    ExpectNoted(result.notes, {1, Note::AmountTooLarge});
    ExpectNoted(result.notes, {7, Note::TextCut, {4096}});
    EXPECT_DOUBLE_EQ(Balance(), 5);
}

std::string ManyLines(int count) {
    std::string text = "<OFX>";
    for (int i = 0; i < count; ++i) {
        text += StatementLine(std::to_string(i + 1), "20210315", "-1.10",
                              "Shop " + std::to_string(i % 50));
    }
    return text;
}

TEST_F(ImportManager, CancellingKeepsWholeBatches) {
    ImportOptions options = Inferred();
    options.progress = [](int64_t done, int64_t) { return done < 4000; };
    const ImportResult result = ImportQfx(ManyLines(7000), options);
    EXPECT_TRUE(result.cancelled);
    EXPECT_EQ(result.imported, 4000);
    EXPECT_NEAR(Balance(), -4400, 0.001);
    ExpectBalancesInOrder();
    const ImportResult rest = ImportQfx(ManyLines(7000), Inferred());
    EXPECT_EQ(rest.imported, 3000);
    EXPECT_NEAR(Balance(), -7700, 0.001);
}

TEST_F(ImportManager, AFullDiskKeepsWholeBatchesAndCanBeResumed) {
    int64_t kept = -1;
    ImportOptions options = Inferred();
    options.progress = [this](int64_t done, int64_t) {
        if (done == 2000) {
            m_files.FailNth(CMemoryFileSystem::Call::Write, 1, FileError::NoSpace,
                            CMemoryFileSystem::Times::ForEver);
        }
        return true;
    };
    const ImportResult failed = ImportQfx(ManyLines(5000), options);
    EXPECT_TRUE(failed.failed);
    kept = failed.imported;
    EXPECT_EQ(kept, 2000);
    EXPECT_EQ(failed.refusal.code, Why::DiskFull);
    m_files.StopFailing();
    m_database.Close();
    ASSERT_TRUE(m_database.Open("ledger").opened);
    ExpectBalancesInOrder();
    EXPECT_EQ(static_cast<int64_t>(Register().size()), kept);
    const ImportResult rest = ImportQfx(ManyLines(5000), Inferred());
    EXPECT_EQ(rest.imported, 5000 - kept);
    EXPECT_NEAR(Balance(), -5500, 0.001);
}

TEST_F(ImportManager, AnAccountThatIsGoneIsRefused) {
    m_account.id = 999;
    const ImportResult result = ImportQfx(StatementLine("1", "20210315", "1", "A"), Inferred());
    EXPECT_TRUE(result.failed);
    EXPECT_EQ(result.refusal.code, Why::NoSuchAccount);
}

}  // namespace
}  // namespace quillon
