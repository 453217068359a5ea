#include "import/plan/ImportPlan.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>

#include "import/ImportLedger.h"
#include "import/plan/PackedRows.h"
#include "import/text/TextPool.h"

namespace quillon {
namespace {

std::string NameOf(PlanOutcome outcome) {
    constexpr const char* kNames[] = {"repeated", "held",  "refused", "unreadable",
                                      "matches",  "maybe", "new"};
    return kNames[static_cast<size_t>(outcome)];
}

// "3 2021-03-15 -12.5 Shop<SHOP [Food<F] (memo) #7 EFT id 42=42 held skip 5", with what
// would be made marked by "+", and "?" for what could not be read.
std::string Shown(const ImportPlanRow& row) {
    std::string line = std::to_string(row.line) + " " + FormatIsoDate(row.date) +
                       (row.dateRead ? " " : "? ") + ShownAmount(row.amount) +
                       (row.amountRead ? "" : "?") + " t" +
                       std::to_string(static_cast<int>(row.type));
    const auto name = [&line](std::string_view inFile, std::string_view name, bool isMade) {
        line.append(isMade ? "+" : "").append(name);
        if (inFile != name) line.append("<").append(inFile);
    };
    if (!row.payeeInFile.empty()) name(row.payeeInFile, row.payee, (line += " ", row.makesPayee));
    if (!row.categoryInFile.empty()) {
        name(row.categoryInFile, row.category, (line += " [", row.makesCategory));
        line += "]";
    }
    if (!row.memo.empty()) line.append(" (").append(row.memo).append(")");
    if (row.check != 0) line += " #" + std::to_string(row.check);
    if (!row.electronic.empty()) line.append(" ").append(row.electronic);
    if (!row.idText.empty()) line.append(" id ").append(row.idText);
    constexpr const char* kActions[] = {" enter", " skip", " match"};
    line += " " + NameOf(row.outcome) + kActions[static_cast<size_t>(row.action)];
    if (row.match != kNoRow) line += " " + std::to_string(row.match);
    return line;
}

class ImportPlan : public CImportLedger {
protected:
    template <typename Importer = CQFXImportManager>
    CImportPlan Plan(const std::string& text, DialectMode mode = DialectMode::Auto) {
        m_files.Bytes("in.txt") = Text(text);
        Importer import(m_database, m_account, "in.txt", m_files);
        ImportOptions options;
        options.dialect = mode;
        import.SetOptions(options);
        return import.MakePlan();
    }

    static Lines Rows(const CImportPlan& plan) {
        Lines lines;
        plan.ForEachRow([&](const ImportPlanRow& row) {
            lines.push_back(Shown(row));
            EXPECT_EQ(Shown(plan.Row(lines.size() - 1)), lines.back());
        });
        return lines;
    }

    void AddRule(const char* search, const char* replacement) {
        CRenamingRuleEntry rule;
        rule.searchText = search;
        rule.replaceText = replacement;
        ASSERT_TRUE(m_database.Add(rule));
    }
};

std::string Line(const std::string& id, const std::string& date, const std::string& amount,
                 const std::string& name) {
    return "<STMTTRN><DTPOSTED>" + date + "<TRNAMT>" + amount + "<FITID>" + id + "<NAME>" + name +
           "</STMTTRN>\n";
}

TEST_F(ImportPlan, RowsShowWhatAPreviewNeeds) {
    AddRule("SHOP", "Shop");
    EXPECT_TRUE(m_database.FindOrAddPayee("Shop") != kNoRow);
    CImportPlan plan = Plan(
        "<STMTTRN><TRNTYPE>DEBIT<DTPOSTED>20210315<TRNAMT>-12.50<FITID>A&amp;1<CHECKNUM>7"
        "<NAME>SHOP 12<MEMO>T&amp;T</STMTTRN>\n" +
        Line("2", "soon", "3", "New") + Line("2", "soon", "3", "New") +
        Line("3", "20210315", "much", "New") + Line("4", "20210315", "99999999999999", "Big") +
        Line("", "20210315", "0.001", ""));
    EXPECT_EQ(Rows(plan), (Lines{"1 2021-03-15 -12.5 t0 Shop<SHOP 12 (T&T) #7 id A&1 new enter",
                                 "2 2030-05-06? 3 t1 +New id 2 unreadable enter",
                                 "3 2030-05-06? 3 t1 +New id 2 repeated skip",
                                 "4 2021-03-15 0? t1 +New id 3 unreadable enter",
                                 "5 2021-03-15 1e+14 t1 +Big id 4 refused skip",
                                 "6 2021-03-15 0 t1 new enter"}));
    const CImportPlan::Counts counts = plan.Count();
    EXPECT_EQ(counts.read, 6);
    EXPECT_EQ(counts.entered, 4);
    EXPECT_EQ(counts.duplicates, 1);
    EXPECT_EQ(counts.payees, 1);
    EXPECT_FALSE(plan.SetAction(4, PlanAction::Enter)) << "the ledger would refuse it";
    EXPECT_FALSE(plan.SetAction(6, PlanAction::Enter));

    EXPECT_EQ(Rows(Plan<CQIFImportManager>(
                  "!Type:Bank\nD1/31/21\nT-5\nPSHOP\nLFoo\nNATM\n^\nD1/31/21\nT1\n^\n")),
              (Lines{"2 2021-01-31 -5 t0 Shop<SHOP [+Foo] ATM new enter",
                     "8 2021-01-31 1 t1 new enter"}));
    // Texts that do not stand in the file as they are read.
    EXPECT_EQ(Rows(Plan<CQIFImportManager>(
                  "!Type:Bank\n" + std::string(99, '\n') + "D1/31'21\nT-5\nPCaf\xE9\nLCaf\xE9\n^\n",
                  DialectMode::Plain)),
              Lines{"1 2021-01-31 -5 t0 +Caf\xC3\xA9 [+Caf\xC3\xA9] new enter"});
}

TEST_F(ImportPlan, CommitDoesWhatTheRowsSay) {
    const std::string text = Line("1", "20210315", "1", "A") + Line("2", "20210316", "2", "B") +
                             Line("3", "20210317", "3", "C");
    CImportPlan first = Plan(text);
    ASSERT_TRUE(first.SetAction(1, PlanAction::Skip));
    EXPECT_EQ(first.Count().entered, 2);
    EXPECT_EQ(first.Count().payees, 2);
    EXPECT_EQ(ToString(m_files.Bytes("in.txt")), text) << "planning leaves the file alone";
    const ImportResult result = first.Commit();
    EXPECT_FALSE(result.failed) << Shown(result.refusal);
    EXPECT_EQ(result.imported, 2);
    EXPECT_EQ(result.payeesCreated, 2);
    EXPECT_EQ(result.read, 3);
    EXPECT_NE(ToString(m_files.Bytes("in.txt")), text) << "committing rewrites it";
    EXPECT_EQ(first.Commit().refusal.code, ImportRefusalCode::SpentPlan);
    ASSERT_EQ(Transactions().Size(), 2);

    // What the account holds is met, and entered all the same where the user says so.
    CImportPlan second = Plan(text);
    std::vector<int64_t> matches;
    second.ForEachRow([&](const ImportPlanRow& row) { matches.push_back(row.match); });
    const COwnedList<CTransactionEntry> held = Transactions();
    EXPECT_EQ(matches, (std::vector<int64_t>{held.begin()->id, kNoRow, (++held.begin())->id}));
    ASSERT_TRUE(second.SetAction(2, PlanAction::Enter));
    EXPECT_EQ(second.Count().duplicates, 1);
    const ImportResult again = second.Commit();
    EXPECT_EQ(again.imported, 2);
    EXPECT_EQ(again.duplicates, 1);
    EXPECT_DOUBLE_EQ(Balance(), 9);
}

// Between a plan and its commit people go on working.
TEST_F(ImportPlan, WhatChangedSinceIsRespected) {
    for (const DialectMode mode : {DialectMode::Auto, DialectMode::Plain}) {
        CImportPlan plan = Plan(Line("1", "20210315", "1", "A"), mode);
        m_files.Bytes("in.txt") = Text("another <file>");
        const ImportResult result = plan.Commit();
        EXPECT_EQ(result.imported, mode == DialectMode::Auto ? 1 : 0) << "plain: one line, no tags";
        EXPECT_EQ(ToString(m_files.Bytes("in.txt")), "another <file>");
        ASSERT_FALSE(result.notes.empty());
        EXPECT_EQ(result.notes[0].code, ImportNoteCode::ChangedMeanwhile);
    }
    // A payee that somebody made meanwhile is no new one, and one that is gone is made.
    CImportPlan plan = Plan(Line("2", "20210315", "1", "Made") + Line("3", "20210315", "1", "A"));
    EXPECT_EQ(plan.Count().payees, 1);
    const int64_t made = m_database.FindOrAddPayee("Made");
    const ImportResult result = plan.Commit();
    EXPECT_EQ(result.payeesCreated, 0);
    EXPECT_EQ(Transactions().Size(), 3);
    EXPECT_NE(made, kNoRow);

    CImportPlan closed = Plan(Line("9", "20210315", "1", "A"));
    ASSERT_TRUE(m_database.SetAccountActive(m_account.id, false));
    EXPECT_EQ(closed.Commit().refusal.code, ImportRefusalCode::AccountClosed);
}

// One manager, two plans: the second knows nothing of the first one's file.
TEST_F(ImportPlan, APlanIsMadeFromTheFileAsItIsThen) {
    CQFXImportManager import(m_database, m_account, "in.txt", m_files);
    m_files.Bytes("in.txt") = Text(Line("1", "20210315", "1", "A"));
    EXPECT_EQ(import.MakePlan().RowCount(), 1U);
    const std::string normal = "\r\n<TRNAMT>2\r\n<FITID>2\r\n</STMTTRN>";
    m_files.Bytes("in.txt") = Text(normal);
    CImportPlan plan = import.MakePlan();
    EXPECT_EQ(plan.RowCount(), 1U);
    const ImportResult result = plan.Commit();
    EXPECT_EQ(result.imported, 1);
    EXPECT_TRUE(result.notes.empty());
    EXPECT_EQ(ToString(m_files.Bytes("in.txt")), normal);
}

TEST_F(ImportPlan, OneThatFailedSaysWhyAndHasNoRows) {
    CImportPlan plan = Plan("nothing");
    EXPECT_TRUE(plan.Failed());
    EXPECT_EQ(plan.RowCount(), 0U);
    EXPECT_EQ(plan.Commit().refusal, plan.Refusal());
    EXPECT_EQ(plan.Preview().refusal, plan.Refusal());
    EXPECT_EQ(plan.Refusal().code, ImportRefusalCode::NotOfx);
}

TEST(PackedRows, GiveBackWhatTheyTook) {
    constexpr int64_t kDay = 864'000'000'000;
    const std::string home = "memo and an identifier";
    CTextPool texts(home);
    CPackedRows packed(home);
    std::vector<PackedRow> rows;
    const double amounts[] = {0.0,
                              -0.0,
                              12.5,
                              -0.01,
                              1e13,
                              99999999999999.01,
                              0.1 + 0.2,
                              1e300,
                              -1e300,
                              1.005,
                              std::numeric_limits<double>::denorm_min()};
    constexpr int64_t kMost = std::numeric_limits<int64_t>::max();
    constexpr int64_t kLeast = std::numeric_limits<int64_t>::min();
    const int64_t ids[] = {0, 1, 2, kMost, kLeast, -1, 42};
    const std::string_view kinds[] = {"", "ATM", "EFT", "Transfer"};
    for (size_t i = 0; i < 100; ++i) {
        PackedRow row;
        row.line = i == 50 ? kMost : static_cast<int64_t>(i * 7);
        row.date = static_cast<int64_t>(100'000 + i % 13) * kDay;
        row.amount = amounts[i % std::size(amounts)];
        row.fitId = ids[i % std::size(ids)];
        row.check = i % 5 == 0 ? std::numeric_limits<int32_t>::min() : 0;
        row.payee = i % 3 == 0 ? 0 : static_cast<uint32_t>(i * 1'000'000);
        row.category = i % 4 == 0 ? 0xFFFFFFFF : 0;
        row.electronic = kinds[i % 4];
        row.dateRead = i % 6 != 0;
        row.amountRead = i % 8 != 0;
        if (i % 2 == 0) row.memo = std::string_view(home).substr(i % 9, i % 5);
        if (i % 3 == 1) row.idText = "elsewhere";
        if (i % 3 == 2) row.idText = std::string_view(home).substr(9);
        packed.Add(row, texts);
        rows.push_back(row);
    }
    EXPECT_EQ(texts.Size(), 1U);
    ASSERT_EQ(packed.Size(), rows.size());
    CPackedRows::CReader reader(packed, texts);
    for (size_t i = 0; i < rows.size(); ++i) {
        SCOPED_TRACE(i);
        PackedRow next;
        ASSERT_TRUE(reader.Next(next));
        for (const PackedRow& row : {next, packed.Row(i, texts)}) {
            EXPECT_EQ(row.line, rows[i].line);
            EXPECT_EQ(row.date, rows[i].date);
            EXPECT_EQ(std::memcmp(&row.amount, &rows[i].amount, sizeof row.amount), 0);
            EXPECT_EQ(row.fitId, rows[i].fitId);
            EXPECT_EQ(row.check, rows[i].check);
            EXPECT_EQ(row.payee, rows[i].payee);
            EXPECT_EQ(row.category, rows[i].category);
            EXPECT_EQ(row.electronic, rows[i].electronic);
            EXPECT_EQ(row.dateRead, rows[i].dateRead);
            EXPECT_EQ(row.amountRead, rows[i].amountRead);
            EXPECT_EQ(row.memo, rows[i].memo);
            EXPECT_EQ(row.idText, rows[i].idText);
        }
    }
    PackedRow none;
    EXPECT_FALSE(reader.Next(none));
}

TEST(TextPool, KeepsEachTextOnce) {
    const std::string home = "at home";
    CTextPool pool(home);
    EXPECT_EQ(pool.Add(std::string_view(home).substr(3)), 0U);
    EXPECT_EQ(pool[0].data(), home.data() + 3);
    for (int round = 0; round < 2; ++round) {
        for (uint32_t i = 0; i < 5000; ++i) {
            EXPECT_EQ(pool.Add("text " + std::to_string(i)), i + 1);
        }
    }
    EXPECT_EQ(pool.Size(), 5001U);
    EXPECT_EQ(pool[4321], "text 4320");
    EXPECT_EQ(pool.Add("home"), 0U);
}

}  // namespace
}  // namespace quillon
