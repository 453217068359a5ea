// Every call of the file system fails in turn, once or for good, in a workload. The work
// that was to be done then reports failure; what is in memory is what was acknowledged, or
// the store takes no changes any more and says so; and what was acknowledged is on the disk,
// also when the power goes afterwards.

#include <algorithm>
#include <optional>
#include <random>

#include "Faults.h"
#include "StoreContent.h"
#include "StoreWorkloads.h"
#include "support/PowerCutDisk.h"

namespace quillon {
namespace {

using Call = CPowerCutDisk::Call;
using Times = CPowerCutDisk::Times;

struct FailureKind {
    const char* name;
    FileError error;
    Times times;
    size_t written;  // by a failing write
};

constexpr FailureKind kFailures[] = {
    {"fails once", FileError::Other, Times::Once, 0},
    {"fails from then on", FileError::Other, Times::ForEver, 0},
    {"full disk once, half written", FileError::NoSpace, Times::Once, CPowerCutDisk::kHalf},
    {"full disk from then on, half written", FileError::NoSpace, Times::ForEver,
     CPowerCutDisk::kHalf},
};

class CCallsMachine {
public:
    CCallsMachine(const StoreWorkload& workload, CFaultsReport& report)
        : m_workload(workload), m_report(report) {}

    // `every`: of so many calls one fails, from `first` on.
    void Run(int64_t first, int64_t every) {
        const std::optional<Rehearsal> rehearsal = Rehearse(m_workload, m_report);
        if (!rehearsal) return;
        m_rehearsal = *rehearsal;
        // Of long work no more than of the others.
        if (every > 1) every = std::max(every, m_rehearsal.calls / kMostCalls);
        for (const FailureKind& kind : kFailures) {
            m_kind = &kind;
            for (int64_t at = first; at <= m_rehearsal.calls; at += every) FailAt(at);
        }
    }

    std::string Found() const {
        return std::to_string(m_rehearsal.calls) + " calls, " + std::to_string(m_survived) +
               " failures made up for, ";
    }

private:
    static constexpr int64_t kMostCalls = 12;  // in the short form, about

    void FailAt(int64_t at) {
        m_at = at;
        CPowerCutDisk disk(m_rehearsal.before);
        disk.FailNth(Call::Any, at, m_kind->error, m_kind->times, m_kind->written);
        {
            CWorkSession session(disk, m_workload);
            Work(disk, session);
        }
        disk.StopFailing();
        // The session is gone, orderly: its last commits are no more than closing makes.
        Check(LookAtImage(disk.Everything(), m_workload.isFinance), "closed and opened again");
        if (m_call.starts_with("sync")) OpenAndCut(disk);
    }

    // The next start reads what a failed sync has lost for the medium; the power fails while
    // it opens.
    void OpenAndCut(CPowerCutDisk& disk) {
        disk.OnChange([&](const std::string& call) {
            CheckCuts(disk, {.mostSteps = 1, .subsets = 1, .everySubset = false},
                      "opened again, power off before " + call + ", ");
        });
        (void)LookAtFolder(disk, m_workload.isFinance);
    }

    // All steps up to the one that fails.
    void Work(CPowerCutDisk& disk, CWorkSession& session) {
        size_t done = 0;
        bool acknowledged = true;
        while (acknowledged && done < m_workload.steps.size()) {
            m_step = &m_workload.steps[done];
            acknowledged = m_step->act(session);
            if (acknowledged) ++done;
        }
        const bool failed = disk.HasFailed();
        m_call = disk.FailedCall();
        m_report.Expect(acknowledged || failed, Name() + "no call failed, but the step did");
        if (acknowledged && failed) ++m_survived;  // it could do without that call
        Allow(done, acknowledged);
        disk.StopFailing();

        // The program that is killed now, and the computer whose power goes.
        Check(LookAtImage(disk.Everything(), m_workload.isFinance), "killed");
        const auto seed = static_cast<uint64_t>(m_at);
        CheckCuts(disk, {.mostSteps = 1, .subsets = 1, .everySubset = false, .seed = seed},
                  "power off, ");
        LiveOn(disk, session, acknowledged);
    }

    // Contents that are right from here on.
    void Allow(size_t done, bool acknowledged) {
        m_allowed = {m_rehearsal.states[done].back()};
        if (acknowledged) return;
        const std::vector<uint64_t>& inFlight = m_rehearsal.states[done + 1];
        m_allowed.insert(m_allowed.end(), inFlight.begin(), inFlight.end());
    }

    // The program that lives on sees what it was told, or may change nothing any more.
    void LiveOn(CPowerCutDisk& disk, CWorkSession& session, bool acknowledged) {
        CDatabaseManager& store = session.Store();
        // A ledger that opened only in part is closed by whoever opened it.
        if (!acknowledged && m_step->opens && session.Finance()) (void)session.Finance()->Close();
        const bool wasOpen = store.IsOpen();
        if (!wasOpen) {
            // It may try again as soon as it likes.
            m_report.Expect(session.Open(), Name() + "does not open again: problem " +
                                                std::to_string(static_cast<int>(store.Problem())));
            if (!store.IsOpen()) return;
        }
        const bool takesChanges = store.BeginBatch();
        if (takesChanges) {
            store.RollbackBatch();
        } else {
            m_report.Expect(store.Problem() != DatabaseProblem::None,
                            Name() + "takes no changes and does not say why");
            return;
        }
        const StoreLook live = LookAtOpen(store, session.Finance());
        m_report.Expect(live.IsSound(), Name() + "lives on, but " + live.problem);
        if (!live.IsSound()) return;
        // Not taken back by a failure: a step of several commits may have made some of them,
        // and a restore that could not go back on a dead disk goes forwards when it is opened.
        const bool isRight =
            live.content == m_allowed.front() ||
            ((m_step->commits != 1 || !wasOpen) && WrongWith(live, m_allowed).empty());
        m_report.Expect(isRight, Name() + "lives on with other contents than acknowledged");
        if (isRight) CommitMore(disk, session);
    }

    // What is acknowledged after the failure stands like all that was before it.
    void CommitMore(CPowerCutDisk& disk, CWorkSession& session) {
        const std::vector<uint8_t> blob = {'m', 'o', 'r', 'e'};
        const bool acknowledged = session.Store().AddBlob(blob) >= 0;
        const uint64_t content = ContentHash(session.Store());
        m_allowed.push_back(content);
        if (!acknowledged) return;
        m_allowed = {content};
        CheckCuts(disk, {.mostSteps = 0, .subsets = 0, .everySubset = false},
                  "one more commit, then power off, ");
    }

    void CheckCuts(const CPowerCutDisk& disk, const CutPlan& plan, const std::string& when) {
        disk.ForEachCut(plan, [&](const DiskImage& image, const std::string& what) {
            Check(LookAtImage(image, m_workload.isFinance), when + what);
        });
    }

    void Check(const StoreLook& look, const std::string& what) {
        m_report.Expect(look.IsSound(), Name() + what + ": " + look.problem);
        if (!look.IsSound()) return;
        const std::string wrong = WrongWith(look, m_allowed);
        m_report.Expect(wrong.empty(), Name() + what + ": " + wrong);
    }

    std::string Name() const {
        return std::string(m_workload.name) + ", " + m_step->name + ", call " +
               std::to_string(m_at) + " (" + m_call + ") " + m_kind->name + ": ";
    }

    const StoreWorkload& m_workload;
    CFaultsReport& m_report;
    Rehearsal m_rehearsal;
    std::vector<uint64_t> m_allowed;  // the first: acknowledged
    const FailureKind* m_kind = nullptr;
    const WorkStep* m_step = nullptr;
    int64_t m_at = 0;
    std::string m_call;
    int64_t m_survived = 0;
};

void RunCalls(const FaultsOptions& options, CFaultsReport& report) {
    constexpr int64_t kShortEvery = 13;
    const auto seed = static_cast<int64_t>(options.seed);
    ForEachWorkload("calls", options, report, [&](const StoreWorkload& workload) {
        CCallsMachine machine(workload, report);
        machine.Run(options.isLong ? 1 : 1 + seed % kShortEvery, options.isLong ? 1 : kShortEvery);
        return machine.Found();
    });
}

const CFaultsKind kCalls("calls", "Every call of the file system fails in turn, once or for good",
                         RunCalls);

}  // namespace
}  // namespace quillon
