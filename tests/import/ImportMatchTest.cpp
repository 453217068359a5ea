// Which lines of a file an account has already: by identifier, by count, by hand.

#include <gtest/gtest.h>

#include <random>
#include <tuple>

#include "finance/history/ImportBatch.h"
#include "foundation/Unicode.h"
#include "import/ImportLedger.h"
#include "import/plan/ImportPlan.h"

namespace quillon {
namespace {

// An entry made by hand, or a line of a file: March 2021, day of month.
struct Row {
    int day = 0;
    double amount = 0.0;
    std::string payee;
    int32_t check = 0;
    std::string id = {};  // of a line
};

// The first line is a row of its own, which sets the dialect.
std::string AsQif(const std::vector<Row>& rows, const std::string& first = "0.77") {
    std::string text = "!Type:Bank\nD12/31/2020\nT" + first + "\nPFirst\n^\n";
    for (const Row& row : rows) {
        text += "D" + (row.day == 0 ? "soon" : "03/" + std::to_string(row.day) + "/2021") + "\nT" +
                ShownAmount(row.amount) + "\nP" + row.payee + "\n";
        if (row.check != 0) text += "N" + std::to_string(row.check) + "\n";
        text += "^\n";
    }
    return text;
}

std::string AsQfx(const std::vector<Row>& rows) {
    std::string text = "<OFX>\n<STMTTRN><DTPOSTED>20201231<TRNAMT>0.77<FITID>first</STMTTRN>\n";
    for (const Row& row : rows) {
        text += "<STMTTRN><DTPOSTED>" +
                (row.day == 0 ? "soon" : std::to_string(20210300 + row.day)) + "<TRNAMT>" +
                ShownAmount(row.amount) + "<FITID>" + row.id + "<NAME>" + row.payee;
        if (row.check != 0) text += "<CHECKNUM>" + std::to_string(row.check);
        text += "</STMTTRN>\n";
    }
    return text;
}

class ImportMatch : public CImportLedger {
protected:
    void NewAccount() { OpenAccount("A" + std::to_string(++m_accounts), AccountType::Checking); }

    int64_t EnterByHand(const Row& row) {
        CTransactionEntry entry;
        entry.accountId = m_account.id;
        entry.serviceDate = FileTimeFromDate(2021, 3, row.day);
        entry.transactionType = TypeForSignedAmount(row.amount, m_account.accountType);
        entry.amount = std::abs(row.amount);
        entry.check = row.check;
        if (!row.payee.empty()) entry.payeeId = m_database.FindOrAddPayee(row.payee);
        CLedger ledger(m_database);
        EXPECT_EQ(ledger.EnterTransaction(entry), LedgerStatus::Ok);
        return entry.id;
    }

    CImportPlan Plan(bool isQif, const std::string& text, MatchMode match = MatchMode::Auto,
                     DialectMode dialect = DialectMode::Auto) {
        m_files.Bytes("in") = Text(text);
        ImportOptions options;
        options.dialect = dialect;
        options.match = match;
        CQIFImportManager qif(m_database, m_account, "in", m_files);
        CQFXImportManager qfx(m_database, m_account, "in", m_files);
        CImportManager& import = isQif ? static_cast<CImportManager&>(qif) : qfx;
        import.SetOptions(options);
        return import.MakePlan();
    }
    CImportPlan Plan(bool isQif, const std::vector<Row>& rows, MatchMode match = MatchMode::Auto) {
        return Plan(isQif, isQif ? AsQif(rows) : AsQfx(rows), match);
    }

    // "held:2 new maybe:1", by the rows behind the first, with the number that an entry has in
    // `entries` from 1; 0 for another one.
    static std::string Outcomes(const CImportPlan& plan, const std::vector<int64_t>& entries) {
        constexpr const char* kNames[] = {"repeated", "held",  "refused", "unreadable",
                                          "matches",  "maybe", "new"};
        std::string all;
        for (size_t i = 1; i < plan.RowCount(); ++i) {
            const ImportPlanRow row = plan.Row(i);
            all += (all.empty() ? "" : " ") + std::string(kNames[static_cast<size_t>(row.outcome)]);
            if (row.match == kNoRow) continue;
            const auto at = std::find(entries.begin(), entries.end(), row.match);
            all += ":" + std::to_string(at == entries.end() ? 0 : at - entries.begin() + 1);
        }
        return all;
    }

    // Their rows.
    std::vector<int64_t> EnterByHand(const std::vector<Row>& entries) {
        std::vector<int64_t> ids(entries.size());
        std::transform(entries.begin(), entries.end(), ids.begin(),
                       [this](const Row& entry) { return EnterByHand(entry); });
        return ids;
    }

    int m_accounts = 0;
};

TEST_F(ImportMatch, EachOutcome) {
    const struct {
        const char* name;
        std::vector<Row> entries;
        std::vector<Row> lines;
        const char* qfx;  // outcomes, where the lines have identifiers
        const char* qif;
    } cases[] = {
        {"nothing like it", {{5, -3, "Shop"}}, {{5, -4, "Shop"}}, "new", "new"},
        {"the other sign", {{5, -3, "Shop"}}, {{5, 3, "Shop"}}, "new", "new"},
        {"the same", {{5, -3, "Shop"}}, {{5, -3, "Shop"}}, "matches:1", "held:1"},
        {"three days before", {{2, -3, "Shop"}}, {{5, -3, "Shop"}}, "matches:1", "matches:1"},
        {"three days after", {{8, -3, "Shop"}}, {{5, -3, "Shop"}}, "matches:1", "matches:1"},
        {"four days after", {{9, -3, "Shop"}}, {{5, -3, "Shop"}}, "maybe:1", "maybe:1"},
        {"five days before", {{1, -3, "Shop"}}, {{6, -3, "Shop"}}, "new", "new"},
        {"a cent less", {{5, -2.99, "Shop"}}, {{5, -3, "Shop"}}, "new", "new"},
        {"within, in another case",
         {{6, -3, "\xC3\x89picerie"}},
         {{5, -3, "PAR \xC3\xA9PICERIE 12"}},
         "matches:1",
         "matches:1"},
        {"within the other way",
         {{6, -3, "The Shop at 5"}},
         {{5, -3, "SHOP"}},
         "matches:1",
         "matches:1"},
        {"another name", {{6, -3, "Baker"}}, {{5, -3, "Shop"}}, "maybe:1", "maybe:1"},
        {"no name there", {{6, -3, ""}}, {{5, -3, "Shop"}}, "maybe:1", "maybe:1"},
        {"no name here", {{6, -3, "Shop"}}, {{5, -3, ""}}, "maybe:1", "maybe:1"},
        {"no name in both", {{6, -3, ""}}, {{5, -3, ""}}, "maybe:1", "maybe:1"},
        {"no name in both, same day", {{5, -3, ""}}, {{5, -3, ""}}, "maybe:1", "held:1"},
        {"the check", {{8, -3, "Baker", 7}}, {{5, -3, "Shop", 7}}, "matches:1", "matches:1"},
        {"the check, too far", {{9, -3, "Baker", 7}}, {{5, -3, "Shop", 7}}, "maybe:1", "maybe:1"},
        {"another check", {{6, -3, "Baker", 8}}, {{5, -3, "Shop", 7}}, "maybe:1", "maybe:1"},
        {"two coffees, one entered",
         {{5, -3, "Coffee"}},
         {{5, -3, "Coffee"}, {5, -3, "Coffee"}},
         "matches:1 new",
         "held:1 new"},
        {"two coffees, three entered",
         {{5, -3, "Coffee"}, {5, -3, "Coffee"}, {5, -3, "Coffee"}},
         {{5, -3, "Coffee"}, {5, -3, "Coffee"}},
         "matches:1 matches:2",
         "held:1 held:2"},
        {"what is held is taken",
         {{5, -3, "Coffee"}},
         {{6, -3, "Coffee"}, {5, -3, "Coffee"}},
         "new matches:1",
         "new held:1"},
        {"the check before the day",
         {{5, -3, "Shop"}, {7, -3, "Baker", 7}},
         {{6, -3, "Shop", 7}},
         "matches:2",
         "matches:2"},
        {"the nearest day",
         {{3, -3, "Shop"}, {6, -3, "Shop"}},
         {{5, -3, "Shop"}},
         "matches:2",
         "matches:2"},
        {"the nearest pair of all",
         {{6, -3, "Shop"}},
         {{4, -3, "Shop"}, {7, -3, "Shop"}},
         "new matches:1",
         "new matches:1"},
        {"the first line of equals",
         {{6, -3, "Shop"}},
         {{7, -3, "Shop"}, {5, -3, "Shop"}},
         "matches:1 new",
         "matches:1 new"},
        {"the lowest row of equals",
         {{7, -3, "Shop 2"}, {5, -3, "Shop 1"}},
         {{6, -3, "Shop"}},
         "matches:1",
         "matches:1"},
        {"matches before what may be",
         {{5, -3, "Shop"}},
         {{6, -3, "Baker"}, {8, -3, "Shop"}},
         "new matches:1",
         "new matches:1"},
        {"what may be is used once",
         {{5, -3, "Shop"}},
         {{7, -3, "Baker"}, {6, -3, "Miller"}},
         "new maybe:1",
         "new maybe:1"},
        {"same lines, two checks",
         {{5, -3, "Shop", 8}},
         {{5, -3, "Shop", 7}, {5, -3, "Shop", 8}},
         "new matches:1",
         "new held:1"},
    };
    for (const auto& row : cases) {
        for (const bool isQif : {false, true}) {
            SCOPED_TRACE(row.name + std::string(isQif ? ", QIF" : ", QFX"));
            NewAccount();
            const std::vector<int64_t> entries = EnterByHand(row.entries);
            std::vector<Row> lines = row.lines;
            for (Row& line : lines) line.id = "L" + std::to_string(&line - lines.data());
            EXPECT_EQ(Outcomes(Plan(isQif, lines), entries), isQif ? row.qif : row.qfx);
        }
    }
}

// The pairs as they are defined: all that there could be, in order, each taken that is free.
class CPlainPairing {
public:
    CPlainPairing(const std::vector<Row>& lines, const std::vector<Row>& entries)
        : m_lines(lines),
          m_entries(entries),
          m_ofLine(lines.size(), "new"),
          m_isUsed(entries.size()) {
        Take("matches:", 3, true);
        Take("maybe:", 4, false);
    }

    std::string Outcomes() const {
        std::string all;
        for (const std::string& outcome : m_ofLine) all += (all.empty() ? "" : " ") + outcome;
        return all;
    }

private:
    static bool AreAlike(const Row& a, const Row& b) {
        return !a.payee.empty() && !b.payee.empty() &&
               (ContainsIgnoringCase(a.payee, b.payee) || ContainsIgnoringCase(b.payee, a.payee));
    }

    void Take(const char* outcome, int mostDays, bool needsReason) {
        std::vector<std::tuple<bool, int, size_t, size_t>> pairs;
        for (size_t i = 0; i < m_lines.size(); ++i) {
            for (size_t j = 0; j < m_entries.size(); ++j) {
                const Row& line = m_lines[i];
                const Row& entry = m_entries[j];
                const int days = std::abs(line.day - entry.day);
                const bool isCheck = line.check != 0 && line.check == entry.check;
                const bool hasReason = !needsReason || isCheck || AreAlike(line, entry);
                if (line.amount != entry.amount || days > mostDays || !hasReason) continue;
                pairs.emplace_back(!isCheck, days, i, j);
            }
        }
        std::sort(pairs.begin(), pairs.end());
        for (const auto& [noCheck, days, line, entry] : pairs) {
            if (m_isUsed[entry] || m_ofLine[line] != "new") continue;
            m_isUsed[entry] = true;
            m_ofLine[line] = outcome + std::to_string(entry + 1);
        }
    }

    const std::vector<Row>& m_lines;
    const std::vector<Row>& m_entries;
    std::vector<std::string> m_ofLine;
    std::vector<bool> m_isUsed;
};

TEST_F(ImportMatch, PairsAreThoseOfThePlainDefinition) {
    std::mt19937 random(4711);
    const auto pick = [&random](uint32_t count) { return static_cast<int>(random() % count); };
    const char* const kPayees[] = {"Shop", "Shop North", "NORTH", "Baker", "", "The Shop"};
    const auto anyRows = [&](bool areMany) {
        std::vector<Row> rows(static_cast<size_t>(areMany ? 60 : pick(15)));
        for (Row& row : rows) {
            row = {1 + pick(12), -1.0 - pick(2), kPayees[pick(6)], pick(3) == 0 ? 1 + pick(3) : 0,
                   "L" + std::to_string(&row - rows.data())};
        }
        return rows;
    };
    for (int round = 0; round < 400; ++round) {
        SCOPED_TRACE(round);
        NewAccount();
        // Many of them on a few days and of many payees, too.
        const bool areMany = round % 20 == 0;
        std::vector<Row> entries = anyRows(areMany);
        std::vector<Row> lines = anyRows(areMany);
        for (size_t i = 0; areMany && i < entries.size(); ++i) {
            entries[i].day = 1 + pick(3);
            lines[i].day = 1 + pick(3);
            entries[i].payee += "x" + std::to_string(pick(30));
            lines[i].payee += "x" + std::to_string(pick(30));
        }
        const std::vector<int64_t> ids = EnterByHand(entries);
        EXPECT_EQ(Outcomes(Plan(false, lines), ids), CPlainPairing(lines, entries).Outcomes());
    }
}

TEST_F(ImportMatch, RulesAndOptionsDecideToo) {
    CRenamingRuleEntry rule;
    rule.searchText = "SHP";
    rule.replaceText = "Shop";
    ASSERT_TRUE(m_database.Add(rule));
    const std::vector<int64_t> entries{EnterByHand({5, -3, "Shop"}), EnterByHand({9, -4, "Shop"})};
    const std::vector<Row> lines{{5, -3, "SHP 12"}, {8, -4, "SHP 13"}};
    EXPECT_EQ(Outcomes(Plan(true, lines), entries), "held:1 matches:2");
    EXPECT_EQ(Outcomes(Plan(true, lines, MatchMode::None), entries), "held:1 new");
    EXPECT_EQ(Outcomes(Plan(true, AsQif(lines), MatchMode::Auto, DialectMode::Plain), entries),
              "new new");
    // Lines for which the file has no identifier are counted, also where one is made for them.
    EXPECT_EQ(Outcomes(Plan(false, lines), entries), "held:1 matches:2");
    // An entry that a statement brought is none that people made.
    const std::vector<Row> named{{20, -9, "Shop", 0, "a"}};
    EXPECT_EQ(Plan(false, named).Commit().imported, 2);
    EXPECT_EQ(Outcomes(Plan(false, {{20, -9, "Shop", 0, "b"}}), {}), "new");
    EXPECT_EQ(Outcomes(Plan(true, {{20, -9, "Shop"}, {21, -9, "Shop"}}), {}), "held:0 new");
}

TEST_F(ImportMatch, CommitCarriesMatchesOut) {
    const int64_t mine = EnterByHand({5, -30, "Miller"});
    const int64_t numbered = EnterByHand({9, -40, "Baker", 3});
    CImportPlan plan = Plan(false, {{7, -30, "MILLER LTD", 12, "77"}, {9, -40, "Baker", 4, "78"}});
    EXPECT_EQ(plan.Count().matched, 2);
    const ImportResult result = plan.Commit();
    EXPECT_EQ(result.matched, 2);
    EXPECT_EQ(result.imported, 1);
    EXPECT_EQ(result.payeesCreated, 0);
    ExpectNoted(result.notes, {3, ImportNoteCode::TakenForEntry, {"2021-03-05"}});
    CTransactionEntry entry;
    ASSERT_TRUE(m_database.Read(mine, entry));
    EXPECT_EQ(entry.fitId, 77);
    EXPECT_EQ(entry.check, 12);
    EXPECT_EQ(entry.serviceDate, FileTimeFromDate(2021, 3, 5));
    ASSERT_TRUE(m_database.Read(numbered, entry));
    EXPECT_EQ(entry.fitId, 78);
    EXPECT_EQ(entry.check, 3) << "its own number stays";
    CAccountEntry account;
    ASSERT_TRUE(m_database.Read(m_account.id, account));
    EXPECT_EQ(account.latestCheckNumber, 12);
    EXPECT_NEAR(account.currentBalance, -69.23, 0.005);
    ExpectBalancesInOrder();
}

// Between a plan and its commit people go on working.
TEST_F(ImportMatch, EntriesThatChangedSinceAreLeftAlone) {
    std::vector<int64_t> entries;
    std::vector<Row> lines;
    for (int i = 0; i < 5; ++i) {
        entries.push_back(EnterByHand({5, -10.0 - i, "Shop"}));
        lines.push_back({6, -10.0 - i, "Shop", 0, std::to_string(100 + i)});
    }
    CImportPlan plan = Plan(false, lines);
    ASSERT_EQ(plan.Count().matched, 5);
    CLedger ledger(m_database);
    ASSERT_EQ(ledger.RemoveTransaction(entries[0]), LedgerStatus::Ok);
    const auto change = [&](int64_t id, auto what) {
        CTransactionEntry entry;
        ASSERT_TRUE(m_database.Read(id, entry));
        what(entry);
        ASSERT_EQ(ledger.ChangeTransaction(entry), LedgerStatus::Ok);
    };
    change(entries[1], [](CTransactionEntry& entry) { entry.amount += 0.01; });
    change(entries[2], [](CTransactionEntry& entry) { entry.fitId = 102; });
    change(entries[3], [](CTransactionEntry& entry) { entry.fitId = 4; });
    change(entries[4], [](CTransactionEntry& entry) { entry.check = 9; });
    const ImportResult result = plan.Commit();
    EXPECT_EQ(result.imported, 1 + 3) << "the first line, and of the others 0, 1 and 3";
    EXPECT_EQ(result.matched, 1);
    EXPECT_EQ(result.duplicates, 1) << "another import of the line came first";
    for (const int64_t line : {3, 4, 6}) {
        ExpectNoted(result.notes, {line, ImportNoteCode::EntryChanged});
    }
    ExpectBalancesInOrder();
}

TEST_F(ImportMatch, PeopleMatchByHand) {
    const std::vector<int64_t> entries{EnterByHand({5, -3, "Baker"}), EnterByHand({20, -3, "Shop"}),
                                       EnterByHand({20, -4, "Shop"})};
    CImportPlan plan =
        Plan(false, {{6, -3, "Miller", 0, "1"}, {7, -3, "Shop", 0, "2"}, {20, -4, "Shop", 0, "3"}});
    ASSERT_EQ(Outcomes(plan, entries), "maybe:1 new matches:3");
    EXPECT_FALSE(plan.SetAction(2, PlanAction::Match)) << "with nothing";
    EXPECT_FALSE(plan.SetMatch(2, entries[2])) << "of another amount";
    EXPECT_FALSE(plan.SetMatch(2, 4711));
    EXPECT_FALSE(plan.SetMatch(9, entries[1]));
    EXPECT_TRUE(plan.SetMatch(2, entries[1]));
    EXPECT_FALSE(plan.SetMatch(1, entries[1])) << "another row is matched with it";
    EXPECT_TRUE(plan.SetAction(1, PlanAction::Match));
    EXPECT_TRUE(plan.SetMatch(3, kNoRow));
    EXPECT_EQ(Outcomes(plan, entries), "maybe:1 new:2 matches");
    EXPECT_EQ(plan.Row(3).action, PlanAction::Enter);
    EXPECT_EQ(plan.Count().matched, 2);
    const ImportResult result = plan.Commit();
    EXPECT_EQ(result.matched, 2);
    EXPECT_EQ(result.imported, 2);
    CImportPlan again = Plan(false, {{6, -3, "Miller", 0, "1"}});
    EXPECT_EQ(Outcomes(again, entries), "held:1");
    EXPECT_FALSE(again.SetAction(1, PlanAction::Match)) << "it is";
    EXPECT_FALSE(again.SetMatch(1, entries[2]));
}

TEST_F(ImportMatch, LinesWithoutADateAreEnteredOnce) {
    const std::vector<Row> first{{3, -5, "Shop"}, {0, -8, "Rent"}, {0, -8, "Rent"}};
    EXPECT_EQ(Outcomes(Plan(true, first), {}), "new unreadable unreadable");
    EXPECT_EQ(Plan(true, first).Commit().imported, 4);
    m_clock.Set(FileTimeFromDate(2030, 7, 1));
    EXPECT_EQ(Outcomes(Plan(true, first), {}), "held:0 held:0 held:0");
    EXPECT_EQ(Plan(true, first).Commit().duplicates, 4);
    // Another file of the account tells nothing of that day.
    EXPECT_EQ(
        Outcomes(Plan(true, "!Type:Bank\nD4/5/2021\nT-1\nPShop\n^\nDsoon\nT-8\nPRent\n^\n"), {}),
        "unreadable");
    // It is not what a dated line is matched with, though it lies nearer.
    NewAccount();
    m_clock.Set(FileTimeFromDate(2021, 3, 20));
    const std::vector<int64_t> mine{EnterByHand({17, -8, "Rent"})};
    const std::vector<Row> mixed{{19, -8, "Rent"}, {0, -8, "Rent"}};
    EXPECT_EQ(Outcomes(Plan(true, mixed), mine), "matches:1 unreadable");
    EXPECT_EQ(Plan(true, mixed).Commit().imported, 2);
    EXPECT_EQ(Outcomes(Plan(true, mixed), mine), "matches:1 held:0");
}

// Any ledger, any file: what was imported once adds nothing again, and balances follow from
// what was entered. Names are within each other, amounts and days few.
TEST_F(ImportMatch, ASecondImportAddsNothing) {
    std::mt19937 random(20260);
    const auto pick = [&random](size_t count) { return random() % count; };
    const char* const kPayees[] = {"Shop", "Shop North", "NORTH", "Baker", "", "The Shop"};
    for (int round = 0; round < 300; ++round) {
        SCOPED_TRACE(round);
        NewAccount();
        int32_t lastCheck = 100;
        const auto anyRow = [&] {
            return Row{1 + static_cast<int>(pick(9)), -1.0 - static_cast<double>(pick(3)),
                       kPayees[pick(std::size(kPayees))],
                       pick(4) == 0 ? static_cast<int32_t>(pick(4)) + 1 : 0};
        };
        for (size_t i = pick(12); i > 0; --i) EnterByHand(anyRow());
        for (int file = 0; file < 2; ++file) {
            const bool isQif = pick(2) == 0;
            std::vector<Row> lines;
            for (size_t i = pick(12); i > 0; --i) {
                lines.push_back(anyRow());
                // Of QIF each number is one check's; that is what tells them again.
                if (isQif && lines.back().check > 0 && pick(2) == 0) {
                    lines.back().check = ++lastCheck;
                } else if (isQif) {
                    lines.back().check = 0;
                }
                if (pick(3) > 0) lines.back().id = std::to_string(file) + std::to_string(i);
                if (pick(8) == 0) lines.back().day = 0;
            }
            const auto before = static_cast<int64_t>(Transactions().Size());
            // Each file brings something of its own: by that its day is told later on.
            const std::string text = isQif ? AsQif(lines, std::to_string(file + 1)) : AsQfx(lines);
            const ImportResult first = Plan(isQif, text).Commit();
            EXPECT_EQ(first.imported + first.duplicates + first.matched, first.read);
            EXPECT_EQ(Transactions().Size(), before + first.imported);
            m_clock.Set(AddDays(TodayFileTime(), 40));
            const ImportResult second = Plan(isQif, text).Commit();
            EXPECT_EQ(second.imported, 0) << text;
            EXPECT_EQ(second.matched + second.duplicates, second.read);
        }
    }
    ExpectBalancesInOrder();
}

// What people deleted does not come back with the next statement, until its import is taken back;
// of two that are the same, only the one comes back that was never deleted.
TEST_F(ImportMatch, DeletedLinesStayDeleted) {
    const std::vector<Row> lines{
        {3, -5, "Shop", 0, "a"}, {3, -5, "Shop", 0, "b"}, {9, -7, "Rent", 0, "c"}};
    for (const bool isQif : {true, false}) {
        SCOPED_TRACE(isQif);
        NewAccount();
        CLedger ledger(m_database);
        EXPECT_EQ(Plan(isQif, lines).Commit().imported, 4);
        COwnedList<CTransactionEntry> rows;
        ASSERT_TRUE(m_database.ListTransactionsByAccount(m_account.id, rows));
        const int64_t rent = std::next(rows.begin(), 3)->id;
        const int64_t shop = std::next(rows.begin(), 2)->id;
        ASSERT_EQ(ledger.RemoveTransaction(rent), LedgerStatus::Ok);
        ASSERT_EQ(ledger.RemoveTransaction(shop), LedgerStatus::Ok);
        EXPECT_EQ(Plan(isQif, lines).Commit().imported, 0);
        EXPECT_EQ(Plan(isQif, lines).Row(3).match, kNoRow);
        // By the plain rules what is gone is gone.
        const std::string text = isQif ? AsQif(lines) : AsQfx(lines);
        EXPECT_EQ(Plan(isQif, text, MatchMode::Auto, DialectMode::Plain).Count().entered,
                  isQif ? 4 : 2);

        std::vector<ImportBatch> batches;
        BatchTakenBack result;
        ASSERT_TRUE(ListImportBatches(m_database.History(), batches));
        ASSERT_EQ(TakeBackImport(ledger, batches.back().action.number, BatchRows::All, result),
                  HistoryStatus::Ok);
        EXPECT_EQ(result.removed, 2);
        EXPECT_EQ(Plan(isQif, lines).Commit().imported, 4);
    }
    ExpectBalancesInOrder();
}

// Taking an import back leaves what people entered as it was before it was matched.
TEST_F(ImportMatch, TakingAnImportBackPartsWhatItMatched) {
    NewAccount();
    const int64_t mine = EnterByHand({5, -9.5, "Shop"});
    CTransactionEntry before;
    ASSERT_TRUE(m_database.Read(mine, before));
    EXPECT_EQ(Plan(false, {{6, -9.5, "SHOP 12", 77, "x"}}).Commit().matched, 1);
    CLedger ledger(m_database);
    std::vector<ImportBatch> batches;
    BatchTakenBack result;
    ASSERT_TRUE(ListImportBatches(m_database.History(), batches));
    EXPECT_EQ(batches.back().matched, 1);
    ASSERT_EQ(TakeBackImport(ledger, batches.back().action.number, BatchRows::Unchanged, result),
              HistoryStatus::Ok);
    EXPECT_EQ(result.restored, 1);
    CTransactionEntry after;
    ASSERT_TRUE(m_database.Read(mine, after));
    EXPECT_EQ(after.fitId, 0);
    EXPECT_EQ(after.check, before.check);
    EXPECT_EQ(after.memo, before.memo);
}

// No line is compared with every entry: this would take hours.
TEST_F(ImportMatch, ManyOfOneAmountOnOneDay) {
    constexpr int kMany = 20'000;
    CLedger ledger(m_database);
    CLedgerImport import(ledger, m_account.id);
    ASSERT_EQ(import.Begin(), LedgerStatus::Ok);
    CTransactionEntry entry;
    entry.payeeId = m_database.FindOrAddPayee("Shop");
    entry.amount = 3;
    entry.serviceDate = FileTimeFromDate(2021, 3, 5);
    for (int i = 0; i < kMany; ++i) ASSERT_EQ(import.Enter(entry), LedgerStatus::Ok);
    ASSERT_TRUE(import.Finish());
    std::vector<Row> lines(kMany, {6, -3, "Shop"});
    for (Row& line : lines) line.id = std::to_string(&line - lines.data() + 1);
    lines.resize(kMany + 5, {6, -3, "Shop"});
    EXPECT_EQ(Plan(true, lines).Count().matched, kMany);
    EXPECT_EQ(Plan(false, lines).Count().matched, kMany);
}

}  // namespace
}  // namespace quillon
