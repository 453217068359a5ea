// Several programs want one folder at the same moment, by its name and by others: one gets
// it, the others hear at once who has it, and when that one is killed the folder is free.

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <optional>

#include "ChildPosix.h"
#include "Faults.h"
#include "finance/database/QuillonDatabaseInterface.h"
#include "foundation/platform/LockHolder.h"
#include "support/TemporaryFolder.h"

namespace quillon {
namespace {

constexpr int kContestants = 3;

struct Verdict {
    int contestant = 0;
    pid_t process = 0;
    DatabaseProblem problem = DatabaseProblem::None;
};

// A program that waits for the start, tries to open and keeps what it got until the
// stop; the ends of both pipes are their closing.
[[noreturn]] void Contend(int contestant, const std::string& folder, CPipe& start, CPipe& verdicts,
                          CPipe& stop) {
    start.CloseWriting();
    stop.CloseWriting();
    char nothing = 0;
    (void)!::read(start.Reading(), &nothing, 1);
    CQuillonDatabaseInterface database;
    const FinanceOpenResult opened = database.Open(folder);
    const Verdict verdict{contestant, ::getpid(), opened.problem};
    (void)!::write(verdicts.Writing(), &verdict, sizeof verdict);
    if (opened.opened) (void)!::read(stop.Reading(), &nothing, 1);
    database.Close();
    ::_exit(0);
}

// One race. The winner lives until it is stopped or killed.
class CRace {
public:
    explicit CRace(const std::vector<std::string>& names) {
        for (int i = 0; i < kContestants; ++i) {
            const pid_t process = ::fork();
            if (process == 0) {
                Contend(i, names[static_cast<size_t>(i) % names.size()], m_start, m_verdicts,
                        m_stop);
            }
            if (process > 0) m_processes.push_back(process);
        }
        m_start.CloseWriting();
        for (size_t i = 0; i < m_processes.size(); ++i) {
            Verdict verdict;
            if (::read(m_verdicts.Reading(), &verdict, sizeof verdict) == sizeof verdict) {
                m_said.push_back(verdict);
            }
        }
    }
    ~CRace() { End(true); }
    CRace(const CRace&) = delete;
    CRace& operator=(const CRace&) = delete;

    const std::vector<Verdict>& Said() const { return m_said; }

    void End(bool killWinner) {
        for (const Verdict& verdict : m_said) {
            if (killWinner && verdict.problem == DatabaseProblem::None) {
                ::kill(verdict.process, SIGKILL);
            }
        }
        m_stop.CloseWriting();
        for (const pid_t process : std::exchange(m_processes, {})) {
            int status = 0;
            ::waitpid(process, &status, 0);
        }
    }

private:
    CPipe m_start;
    CPipe m_verdicts;
    CPipe m_stop;
    std::vector<pid_t> m_processes;
    std::vector<Verdict> m_said;
};

pid_t WinnerOf(const std::vector<Verdict>& said) {
    pid_t winner = 0;
    for (const Verdict& verdict : said) {
        if (verdict.problem != DatabaseProblem::None) continue;
        if (winner != 0) return -1;
        winner = verdict.process;
    }
    return winner;
}

bool LosersWereTold(const std::vector<Verdict>& said) {
    return std::all_of(said.begin(), said.end(), [](const Verdict& verdict) {
        return verdict.problem == DatabaseProblem::None ||
               verdict.problem == DatabaseProblem::InUse;
    });
}

class CRaces {
public:
    CRaces(const FaultsOptions& options, CFaultsReport& report)
        : m_options(options), m_report(report) {
        std::filesystem::create_directory_symlink(m_folder.File("ledger"), m_folder.File("link"));
        m_names = {m_folder.File("ledger"), m_folder.File("link"),
                   m_folder.File("ledger") + "/../link"};
        CQuillonDatabaseInterface database;
        m_report.Expect(database.Open(m_names[0]).opened && database.Close(), "no ledger made");
    }

    void Run(int64_t round) {
        const std::string name = "race " + std::to_string(round);
        std::rotate(m_names.begin(), m_names.begin() + 1, m_names.end());
        CRace race(m_names);
        const pid_t winner = WinnerOf(race.Said());
        m_report.Expect(winner > 0, name + ": not one winner");
        m_report.Expect(LosersWereTold(race.Said()), name + ": a loser was told something else");
        if (winner > 0) AskAnother(name, winner);
        const bool kill = round % 2 == 0;
        race.End(kill);
        CQuillonDatabaseInterface database;
        const FinanceOpenResult opened = database.Open(m_names[0]);
        std::vector<TableIntegrity> tables;
        m_report.Expect(opened.opened, name + (kill ? ": locked after a kill" : ": still locked"));
        m_report.Expect(database.Store().Verify(tables) == IntegrityCode::Ok,
                        name + ": not in order");
    }

    int64_t SlowestMilliseconds() const { return m_slowest; }

private:
    // The program itself, while the winner has the folder.
    void AskAnother(const std::string& name, pid_t winner) {
        const auto before = std::chrono::steady_clock::now();
        CChild child(m_options.program, {"--database", m_names[1], "account", "list"},
                     m_folder.Path());
        const CChild::End end = child.Wait();
        const auto took = std::chrono::steady_clock::now() - before;
        m_slowest = std::max<int64_t>(
            m_slowest, std::chrono::duration_cast<std::chrono::milliseconds>(took).count());
        const std::string said = child.Errors();
        m_report.Expect(end == CChild::End::Exited && child.Status() == 1 &&
                            said.find("is open in another program") != std::string::npos &&
                            std::count(said.begin(), said.end(), '\n') == 1,
                        name + ": the program said: " + said);
        // Where the machine lists its locks at all.
        if (LockHolder(m_names[0] + "/Database.lock").empty()) return;
        m_report.Expect(said.find(std::to_string(winner)) != std::string::npos,
                        name + ": who has the folder is not said: " + said);
    }

    const FaultsOptions& m_options;
    CFaultsReport& m_report;
    CTemporaryFolder m_folder{"races"};
    std::vector<std::string> m_names;
    int64_t m_slowest = 0;
};

void RunRaces(const FaultsOptions& options, CFaultsReport& report) {
    const int64_t rounds = options.RoundsOr(200, 20);
    CRaces races(options, report);
    for (int64_t round = 0; round < rounds; ++round) races.Run(round);
    Say("races: the slowest refusal took " + std::to_string(races.SlowestMilliseconds()) + " ms");
}

const CFaultsKind kRaces("races", "Programs race for one folder, also through a link", RunRaces);

}  // namespace
}  // namespace quillon
