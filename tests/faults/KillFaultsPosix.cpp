// The command line imports and edits, and a program of ours does the work of each workload;
// both are killed at any moment. What they had acknowledged is there afterwards; what they
// were at is there as a whole or not at all.

#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>

#include "ChildPosix.h"
#include "Faults.h"
#include "StoreContent.h"
#include "StoreWorkloads.h"
#include "finance/ledger/Ledger.h"
#include "foundation/CurrencyFormat.h"
#include "support/TemporaryFolder.h"

namespace quillon {
namespace {

uint64_t MicrosecondsSince(std::chrono::steady_clock::time_point start) {
    const auto took = std::chrono::steady_clock::now() - start;
    return static_cast<uint64_t>(
        std::chrono::duration_cast<std::chrono::microseconds>(took).count());
}

// Kept below what an import commits at once, so that each command is one commit.
constexpr int64_t kMostLines = 400;

// The ledger in its folder, from one kill of the command line to the next.
class CVictim {
public:
    CVictim(const FaultsOptions& options, CFaultsReport& report, uint64_t seed)
        : m_options(options), m_report(report), m_random(seed), m_seed(seed) {
        CQuillonDatabaseInterface database;
        bool made = database.Open(m_ledger).opened;
        CLedger ledger(database);
        for (const char* name : {"Checking", "Savings"}) {
            CAccountEntry account;
            account.name = name;
            made = made && ledger.OpenAccount(account, 1000.0, 0) == LedgerStatus::Ok;
        }
        m_report.Expect(made && database.Close(), "no ledger made");
        m_content = LookAt(m_ledger).content;
    }

    void Round(int64_t round) {
        const std::vector<std::string> words = Choose(round);
        const std::string name = "round " + std::to_string(round) + " (seed " +
                                 std::to_string(m_seed) + "), " + words[0] + " " + words[1] + ": ";
        // To its end on a copy, which shows what it does and how long that takes.
        const std::string copy = m_folder.File("copy");
        std::filesystem::remove_all(copy);
        std::filesystem::copy(m_ledger, copy, std::filesystem::copy_options::recursive);
        const auto start = std::chrono::steady_clock::now();
        m_report.Expect(RunProgram(copy, words, {}) == CChild::End::Exited, name + m_said);
        const uint64_t typical = MicrosecondsSince(start);
        const uint64_t whole = LookAt(copy).content;

        const bool kills = round % 8 != 0;
        const CChild::End end = RunProgram(
            m_ledger, words, kills ? std::optional(m_random() % (typical * 5 / 4)) : std::nullopt);
        m_report.Expect(end != CChild::End::NotStarted, name + m_said);
        const StoreLook look = LookAt(m_ledger);
        std::vector<uint64_t> allowed = {whole};
        if (end == CChild::End::Killed) allowed.push_back(m_content);
        const std::string wrong = WrongWith(look, allowed);
        m_report.Expect(wrong.empty(), name + wrong);
        m_kills += end == CChild::End::Killed ? 1 : 0;
        m_content = look.content;
    }

    int64_t Kills() const { return m_kills; }

private:
    // Exited: with success.
    CChild::End RunProgram(const std::string& ledger, const std::vector<std::string>& words,
                           std::optional<uint64_t> killedAfter) {
        std::vector<std::string> arguments = {"--database", ledger};
        arguments.insert(arguments.end(), words.begin(), words.end());
        CChild child(m_options.program, arguments, m_folder.Path());
        if (killedAfter) {
            SleepMicroseconds(static_cast<int64_t>(*killedAfter));
            child.Kill();
        }
        const CChild::End end = child.Wait();
        m_said = "failed: " + child.Errors();
        return end == CChild::End::Exited && child.Status() != 0 ? CChild::End::NotStarted : end;
    }

    static StoreLook LookAt(const std::string& ledger) {
        return LookAtFolder(PlatformFileSystem(), true, ledger.c_str());
    }

    // A row that is there, as a word.
    std::string AnyRow() {
        CQuillonDatabaseInterface database;
        COwnedList<CTransactionEntry> rows;
        (void)database.Open(m_ledger);
        (void)database.ListAllTransactions(INT64_MIN, INT64_MAX, rows);
        auto row = rows.begin();
        for (uint64_t i = m_random() % std::max<uint64_t>(1, rows.Size()); i > 0; --i) ++row;
        return std::to_string(row->id);
    }

    std::string RandomAmount() {
        return FormatPlainAmount(static_cast<double>(m_random() % 100'000 + 1) / 100.0);
    }

    std::vector<std::string> Choose(int64_t round) {
        const std::string memo = "round " + std::to_string(round);
        const std::string amount = RandomAmount();
        switch (m_random() % 5) {
            case 0:
                return {"import", "qfx", WriteDownload(round), "--account", "Checking"};
            case 1:
                return {"transaction", "add",        "Checking", "--type", "payment",
                        "--date",      "2024-02-03", "--amount", amount,   "--memo",
                        memo,          "--payee",    memo};
            case 2:
                return {"transfer", "Checking",   "Savings", "--amount", amount,
                        "--date",   "2024-02-04", "--memo",  memo};
            case 3:
                return {"transaction", "edit", AnyRow(), "--account", "Savings",
                        "--amount",    amount, "--memo", memo};
            default:
                return {"transaction", "delete", AnyRow()};
        }
    }

    std::string WriteDownload(int64_t round) {
        const std::string path = m_folder.File("download.qfx");
        std::ofstream file(path, std::ios::binary);
        file << "OFXHEADER:100\nDATA:OFXSGML\nVERSION:102\nENCODING:USASCII\nCHARSET:1252\n\n"
                "<OFX><BANKMSGSRSV1><STMTTRNRS><STMTRS><CURDEF>USD<BANKTRANLIST>\n";
        for (int64_t i = static_cast<int64_t>(m_random() % kMostLines); i >= 0; --i) {
            const std::string name = std::to_string(round) + "-" + std::to_string(i);
            file << "<STMTTRN><TRNTYPE>DEBIT<DTPOSTED>20240205<TRNAMT>-" << RandomAmount()
                 << "<FITID>F" << name << "<NAME>Shop " << (i % 50) << "<MEMO>line " << name
                 << "</STMTTRN>\n";
        }
        file << "</BANKTRANLIST></STMTRS></STMTTRNRS></BANKMSGSRSV1></OFX>\n";
        return path;
    }

    const FaultsOptions& m_options;
    CFaultsReport& m_report;
    std::mt19937_64 m_random;
    uint64_t m_seed;
    CTemporaryFolder m_folder{"kill"};
    const std::string m_ledger = m_folder.File("ledger");
    uint64_t m_content = 0;  // of the ledger
    std::string m_said;      // by the last program
    int64_t m_kills = 0;
};

void KillCommandLine(const FaultsOptions& options, CFaultsReport& report) {
    // So many that each ledger stays small enough to be looked through after each kill.
    constexpr int64_t kRoundsEach = 25;
    const int64_t rounds = options.RoundsOr(2000, 200);
    int64_t kills = 0;
    for (int64_t done = 0; done < rounds; done += kRoundsEach) {
        CVictim victim(options, report, options.seed + static_cast<uint64_t>(done));
        for (int64_t i = 0; i < std::min(kRoundsEach, rounds - done); ++i) victim.Round(i);
        kills += victim.Kills();
    }
    Say("kill: " + std::to_string(rounds) + " rounds, " + std::to_string(kills) +
        " killed in time");
    report.Expect(kills * 4 > rounds, "too few of the rounds were killed in time");
}

// --- the workloads

void Put(const DiskImage& image) {
    for (const std::string& folder : image.folders) std::filesystem::create_directories(folder);
    for (const auto& [path, bytes] : image.files) {
        (void)WriteWholeFile(PlatformFileSystem(), path, bytes);
    }
}

// The program that is killed: a byte for each step that was acknowledged.
[[noreturn]] void Work(const StoreWorkload& workload, const CPipe& acknowledged) {
    CWorkSession session(PlatformFileSystem(), workload);
    for (const WorkStep& step : workload.steps) {
        if (!step.act(session) || ::write(acknowledged.Writing(), "+", 1) != 1) ::_exit(1);
    }
    ::_exit(0);
}

// Killed after so long, or never; the steps that were acknowledged.
size_t WorkUntilKilled(const StoreWorkload& workload, std::optional<uint64_t> microseconds) {
    CPipe acknowledged;
    const pid_t process = ::fork();
    if (process == 0) Work(workload, acknowledged);
    if (microseconds) {
        SleepMicroseconds(static_cast<int64_t>(*microseconds));
        ::kill(process, SIGKILL);
    }
    ::waitpid(process, nullptr, 0);
    acknowledged.CloseWriting();
    char steps[64];
    return static_cast<size_t>(
        std::max<ssize_t>(0, ::read(acknowledged.Reading(), steps, sizeof steps)));
}

std::string KillAtWork(const StoreWorkload& workload, int64_t rounds, std::mt19937_64& random,
                       CFaultsReport& report) {
    const std::optional<Rehearsal> rehearsal = Rehearse(workload, report);
    if (!rehearsal) return {};
    uint64_t typical = 0;
    int64_t kills = 0;
    for (int64_t round = 0; round < rounds; ++round) {
        const CTemporaryFolder folder("kill");
        std::filesystem::current_path(folder.Path());
        Put(rehearsal->before);
        const auto before = std::chrono::steady_clock::now();
        const size_t done = WorkUntilKilled(
            workload, round == 0 ? std::nullopt : std::optional(random() % (typical * 5 / 4 + 1)));
        if (round == 0) typical = MicrosecondsSince(before);
        const bool isWhole = done == workload.steps.size();
        kills += isWhole ? 0 : 1;
        // What was acknowledged, or what was made of it since.
        std::vector<uint64_t> allowed = {rehearsal->states[done].back()};
        if (!isWhole) allowed = rehearsal->states[done + 1];
        std::string wrong =
            WrongWith(LookAtFolder(PlatformFileSystem(), workload.isFinance), allowed);
        if (round == 0 && !isWhole) wrong = "does not come to its end";
        report.Expect(wrong.empty(), std::string(workload.name) + ", killed after " +
                                         std::to_string(done) + " steps: " + wrong);
    }
    return std::to_string(rounds) + " rounds, " + std::to_string(kills) + " killed in time, ";
}

void RunKill(const FaultsOptions& options, CFaultsReport& report) {
    if (options.Wants("command line")) KillCommandLine(options, report);
    const std::filesystem::path here = std::filesystem::current_path();
    std::mt19937_64 random(options.seed);
    ForEachWorkload("kill", options, report, [&](const StoreWorkload& workload) {
        return KillAtWork(workload, options.RoundsOr(200, 6), random, report);
    });
    std::filesystem::current_path(here);
}

const CFaultsKind kKill("kill",
                        "The command line is killed while it imports and edits, and the work of "
                        "the workloads while it commits",
                        RunKill);

}  // namespace
}  // namespace quillon
