// The command line imports and edits, and is killed at any moment. What it had acknowledged
// is there afterwards; what it was at is there as a whole or not at all.

#include <algorithm>
#include <chrono>
#include <fstream>
#include <memory>
#include <random>

#include "ChildPosix.h"
#include "Faults.h"
#include "GrowingStorePosix.h"
#include "finance/ledger/Ledger.h"
#include "foundation/CurrencyFormat.h"
#include "support/TemporaryFolder.h"

namespace quillon {
namespace {

struct Row {
    int64_t account = 0;
    double amount = 0.0;
    std::string memo;
    bool operator==(const Row&) const = default;
};

using Rows = std::map<int64_t, Row>;  // by row identifier

// What came, went and changed between two looks, each in the order of the identifiers.
struct Difference {
    std::vector<Row> added;
    std::vector<int64_t> removed;
    std::vector<int64_t> changed;
    bool IsNone() const { return added.empty() && removed.empty() && changed.empty(); }
};

Difference Between(const Rows& before, const Rows& after) {
    Difference difference;
    for (const auto& [id, row] : after) {
        const auto old = before.find(id);
        if (old == before.end()) {
            difference.added.push_back(row);
        } else if (old->second != row) {
            difference.changed.push_back(id);
        }
    }
    for (const auto& [id, row] : before) {
        if (!after.contains(id)) difference.removed.push_back(id);
    }
    return difference;
}

// A command, and whether a difference is the whole of what it does.
struct Deed {
    size_t kind = 0;
    std::vector<std::string> arguments;
    std::vector<Row> adds;   // in this order
    bool inBatches = false;  // and the first so many of them are in order, too
    int64_t changes = 0;     // row, to `adds.front()`
    int64_t removes = 0;     // row
};

bool IsWhole(const Deed& deed, const Difference& difference, const Rows& after) {
    if (deed.changes > 0) {
        return difference.added.empty() && difference.removed.empty() &&
               difference.changed == std::vector<int64_t>{deed.changes} &&
               after.at(deed.changes) == deed.adds.front();
    }
    if (deed.removes > 0) {
        return difference.added.empty() && difference.changed.empty() &&
               difference.removed == std::vector<int64_t>{deed.removes};
    }
    return difference.removed.empty() && difference.changed.empty() &&
           difference.added == deed.adds;
}

bool IsOrderlyPart(const Deed& deed, const Difference& difference) {
    if (!deed.inBatches || !difference.removed.empty() || !difference.changed.empty() ||
        difference.added.size() > deed.adds.size()) {
        return false;
    }
    return std::equal(difference.added.begin(), difference.added.end(), deed.adds.begin());
}

// The ledger in its folder, from one kill to the next.
class CVictim {
public:
    CVictim(const FaultsOptions& options, CFaultsReport& report, uint64_t seed)
        : m_options(options), m_report(report), m_random(seed), m_seed(seed) {}

    void Start() {
        m_folder = std::make_unique<CTemporaryFolder>("kill");
        m_ledger = m_folder->File("ledger");
        CQuillonDatabaseInterface database;
        bool made = database.Open(m_ledger).opened;
        CLedger ledger(database);
        for (const char* name : {"Checking", "Savings"}) {
            CAccountEntry account;
            account.name = name;
            account.accountType = AccountType::Checking;
            made = made && ledger.OpenAccount(account, 1000.0, kDate) == LedgerStatus::Ok;
            m_accounts.push_back(account.id);
        }
        made = made && database.Close() && Look();
        m_report.Expect(made, "no ledger made");
        m_before = m_now;
    }

    void Round(int64_t round) {
        const Deed deed = Choose(round);
        const std::string name = "round " + std::to_string(round) + " (seed " +
                                 std::to_string(m_seed) + "), " + deed.arguments[2] + " " +
                                 deed.arguments[3];
        const bool kills = m_typical[deed.kind] > 0 && round % 8 != 0;
        const auto before = std::chrono::steady_clock::now();
        CChild child(m_options.program, deed.arguments, m_folder->Path());
        if (kills) {
            SleepMicroseconds(static_cast<int64_t>(m_random() % (m_typical[deed.kind] * 5 / 4)));
            child.Kill();
        }
        const CChild::End end = child.Wait();
        const auto took = std::chrono::steady_clock::now() - before;
        m_kills += end == CChild::End::Killed ? 1 : 0;
        if (end == CChild::End::Exited) {
            m_report.Expect(child.Status() == 0, name + ": failed: " + child.Errors());
            if (!kills) {
                m_typical[deed.kind] = static_cast<uint64_t>(
                    std::chrono::duration_cast<std::chrono::microseconds>(took).count());
            }
        }
        m_before = m_now;
        if (!Look()) {
            m_report.Fault(name + ": the ledger is not in order afterwards");
            return;
        }
        const Difference difference = Between(m_before, m_now);
        const bool whole = IsWhole(deed, difference, m_now);
        const bool acknowledged = end == CChild::End::Exited && child.Status() == 0;
        m_parts +=
            !acknowledged && IsOrderlyPart(deed, difference) && !whole && !difference.IsNone() ? 1
                                                                                               : 0;
        m_report.Expect(
            whole || (!acknowledged && (difference.IsNone() || IsOrderlyPart(deed, difference))),
            name + (acknowledged ? ": acknowledged, but not all there" : ": half of it is there"));
    }

    int64_t Kills() const { return m_kills; }
    int64_t Parts() const { return m_parts; }

private:
    static constexpr int64_t kDate = 133'500'096'000'000'000;  // 2024-01-17
    static constexpr size_t kKinds = 5;

    // Opens the folder as the next start does, checks all and reads the rows.
    bool Look() {
        CQuillonDatabaseInterface database;
        const FinanceOpenResult opened = database.Open(m_ledger);
        if (!opened.opened || !opened.setAsideJournal.empty()) return false;
        std::vector<TableIntegrity> tables;
        std::vector<BalanceMismatch> mismatches;
        CLedger ledger(database);
        if (database.Database().Verify(tables) != IntegrityCode::Ok ||
            !ledger.VerifyBalances(mismatches) || !mismatches.empty()) {
            return false;
        }
        m_now.clear();
        for (const int64_t account : m_accounts) {
            COwnedList<CTransactionEntry> rows;
            if (!database.ListTransactionsByAccount(account, rows)) return false;
            for (const CTransactionEntry& row : rows) {
                m_now[row.id] = {account, row.amount, row.memo.ToUtf8()};
            }
        }
        return true;
    }

    double RandomAmount() { return static_cast<double>(m_random() % 100'000 + 1) / 100.0; }

    Deed Choose(int64_t round) {
        // Each kind once before any kill, so that it is known how long it takes.
        size_t kind =
            static_cast<size_t>(round) < kKinds ? static_cast<size_t>(round) : m_random() % kKinds;
        const std::string memo = "round " + std::to_string(round);
        const double amount = RandomAmount();
        const std::string text = FormatPlainAmount(amount);
        Deed deed{.kind = kind, .arguments = {"--database", m_ledger}, .adds = {}};
        const auto pass = [&deed](std::vector<std::string> words) {
            deed.arguments.insert(deed.arguments.end(), words.begin(), words.end());
        };
        const auto any = std::next(m_now.begin(), static_cast<int64_t>(m_random() % m_now.size()));
        switch (kind) {
            case 0:
                pass({"import", "qfx", WriteDownload(round, deed), "--account", "Checking"});
                deed.inBatches = true;
                break;
            case 1:
                pass({"transaction", "add", "Checking", "--type", "payment", "--date", "2024-02-03",
                      "--amount", text, "--memo", memo, "--payee", memo});
                deed.adds = {{m_accounts[0], amount, memo}};
                break;
            case 2:
                pass({"transfer", "Checking", "Savings", "--amount", text, "--date", "2024-02-04",
                      "--memo", memo});
                deed.adds = {{m_accounts[0], amount, memo}, {m_accounts[1], amount, memo}};
                break;
            case 3:
                pass({"transaction", "edit", std::to_string(any->first), "--account", "Savings",
                      "--amount", text, "--memo", memo});
                deed.changes = any->first;
                deed.adds = {{m_accounts[1], amount, memo}};
                break;
            default:
                pass({"transaction", "delete", std::to_string(any->first)});
                deed.removes = any->first;
                break;
        }
        return deed;
    }

    // A bank's download of so many lines that its import takes several batches at times.
    std::string WriteDownload(int64_t round, Deed& deed) {
        const std::string path = m_folder->File("download.qfx");
        const int64_t count = round % 4 == 0 ? 5000 : static_cast<int64_t>(m_random() % 400 + 1);
        std::ofstream file(path, std::ios::binary);
        file << "OFXHEADER:100\nDATA:OFXSGML\nVERSION:102\nENCODING:USASCII\nCHARSET:1252\n\n"
                "<OFX><BANKMSGSRSV1><STMTTRNRS><STMTRS><CURDEF>USD<BANKTRANLIST>\n";
        for (int64_t i = 0; i < count; ++i) {
            const double amount = RandomAmount();
            const std::string name = std::to_string(round) + "-" + std::to_string(i);
            file << "<STMTTRN><TRNTYPE>DEBIT<DTPOSTED>20240205<TRNAMT>-"
                 << FormatPlainAmount(amount) << "<FITID>F" << name << "<NAME>Shop " << (i % 50)
                 << "<MEMO>line " << name << "</STMTTRN>\n";
            deed.adds.push_back({m_accounts[0], amount, "line " + name});
        }
        file << "</BANKTRANLIST></STMTRS></STMTTRNRS></BANKMSGSRSV1></OFX>\n";
        return path;
    }

    const FaultsOptions& m_options;
    CFaultsReport& m_report;
    std::mt19937_64 m_random;
    uint64_t m_seed;
    std::unique_ptr<CTemporaryFolder> m_folder;
    std::string m_ledger;
    std::vector<int64_t> m_accounts;
    Rows m_before;
    Rows m_now;
    uint64_t m_typical[kKinds] = {};  // microseconds
    int64_t m_kills = 0;
    int64_t m_parts = 0;
};

void RunKill(const FaultsOptions& options, CFaultsReport& report) {
    if (std::string("growing store").find(options.only) != std::string::npos) {
        KillGrowingStore(options, report);
    }
    if (std::string("command line").find(options.only) == std::string::npos) return;
    // So many that each ledger stays small enough to be looked through after each kill.
    constexpr int64_t kRoundsEach = 25;
    const int64_t rounds = options.rounds > 0 ? options.rounds : options.isLong ? 2000 : 200;
    int64_t kills = 0;
    int64_t parts = 0;
    for (int64_t done = 0; done < rounds; done += kRoundsEach) {
        CVictim victim(options, report, options.seed + static_cast<uint64_t>(done));
        victim.Start();
        for (int64_t i = 0; i < std::min(kRoundsEach, rounds - done); ++i) victim.Round(i);
        kills += victim.Kills();
        parts += victim.Parts();
    }
    std::printf("kill: %lld rounds, %lld killed in time, %lld imports left after whole batches\n",
                static_cast<long long>(rounds), static_cast<long long>(kills),
                static_cast<long long>(parts));
    report.Expect(kills * 4 > rounds, "too few of the rounds were killed in time");
}

const CFaultsKind kKill(
    "kill",
    "The command line is killed while it imports and edits, and a program while its journal grows",
    RunKill);

}  // namespace
}  // namespace quillon
