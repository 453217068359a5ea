// The power fails before any change that a workload makes, and again while the next start
// recovers. Whatever the disk may hold then opens, is in order, and has every commit that
// was acknowledged, whole, and nothing of the others but at most the one in flight.

#include <algorithm>
#include <memory>
#include <optional>
#include <unordered_map>

#include "Faults.h"
#include "StoreContent.h"
#include "StoreWorkloads.h"
#include "support/PowerCutDisk.h"

namespace quillon {
namespace {

struct PowerPlan {
    CutPlan cuts;
    CutPlan cutsInRecovery;
    // One in so many: stops of the work; disks that recover with the power failing again;
    // stops of that recovery.
    int64_t stopEvery = 1;
    size_t recoveryEvery = 1;
    int64_t recoveryStopEvery = 1;
    int64_t killEvery = 1;      // stops that are a kill, with the power failing in the recovery
    int64_t recoveryStops = 0;  // after so many, half as many disks recover that way
};

class CPowerMachine {
public:
    CPowerMachine(const StoreWorkload& workload, const PowerPlan& plan, CFaultsReport& report)
        : m_workload(workload),
          m_plan(plan),
          m_report(report),
          m_recoveryEvery(plan.recoveryEvery),
          m_recoveryStops(plan.recoveryStops) {}

    void Run() {
        const std::optional<DiskImage> before = PreparedDisk(m_workload, m_report);
        if (!before) return;
        CPowerCutDisk disk(*before);
        m_disk = &disk;
        const StoreLook first = LookAt(*before);
        m_report.Expect(first.IsSound(), Name("before the work") + first.problem);
        m_states = {first.content};
        disk.OnChange([this](const std::string& call) { Stop(call); });
        CWorkSession session(disk, m_workload);
        for (const WorkStep& step : m_workload.steps) {
            m_step = &step;
            const size_t statesBefore = m_states.size();
            const bool acknowledged = step.act(session);
            Stop("its end");
            if (!acknowledged) {
                m_report.Fault(Name("not done") + "without any cut");
                break;
            }
            m_acknowledged = m_states.size() - 1;
            m_report.Expect(m_states.size() - statesBefore <= static_cast<size_t>(step.commits),
                            Name("its end") + "more commits than it is said to make");
            // From here on what was acknowledged must be on the medium.
            Stop("after it");
        }
        // Closing on destruction is no part of the work.
        disk.OnChange({});
    }

    std::string Found() const {
        return std::to_string(m_stops) + " stops, " + std::to_string(m_secondStops) +
               " in recovery, " + std::to_string(m_looks.size()) + " different disks, ";
    }

private:
    // One stop of the work: every disk that it may leave.
    void Stop(const std::string& call) {
        ++m_stops;
        m_call = call;
        const DiskImage killed = m_disk->Everything();
        const StoreLook now = LookAt(killed);
        m_report.Expect(now.IsSound(), Name("killed") + now.problem);
        if (now.IsSound() && now.content != m_states.back()) m_states.push_back(now.content);
        if (m_stops % m_plan.killEvery == 0) {
            // The next start reads what no sync has brought to the medium. It stops at other
            // calls each time.
            StopRecovery(*m_disk->AfterKill(), m_stops, nullptr, "killed");
        }
        if (m_stops % m_plan.stopEvery != 0) return;
        CutPlan plan = m_plan.cuts;
        plan.seed += static_cast<uint64_t>(m_stops);
        m_disk->ForEachCut(plan, [this](const DiskImage& image, const std::string& what) {
            const StoreLook look = LookAt(image);
            m_report.Expect(IsRight(look), Name(what) + Wrong(look));
            if (!look.IsSound() || m_disks++ % m_recoveryEvery != 0) return;
            if (m_recovered.insert(image.Hash()).second) {
                CPowerCutDisk disk(image);
                StopRecovery(disk, 0, &look, what);
            }
            if (m_secondStops > m_recoveryStops) {
                m_recoveryStops *= 2;
                m_recoveryEvery *= 4;
            }
        });
    }

    // An acknowledged commit stands; before the one in flight all others have returned.
    bool IsRight(const StoreLook& look) const {
        if (!look.IsSound()) return false;
        const size_t last = m_states.size() - 1;
        const size_t first = std::max(m_acknowledged, last == 0 ? 0 : last - 1);
        return std::find(m_states.begin() + static_cast<std::ptrdiff_t>(first), m_states.end(),
                         look.content) != m_states.end();
    }

    std::string Wrong(const StoreLook& look) const {
        if (!look.IsSound()) return look.problem;
        const auto found = std::find(m_states.begin(), m_states.end(), look.content);
        if (found == m_states.end()) return "holds half of a commit";
        return "holds commit " + std::to_string(found - m_states.begin()) + " of " +
               std::to_string(m_states.size() - 1) + ", acknowledged are " +
               std::to_string(m_acknowledged);
    }

    // The power fails again while the next start recovers what the disk holds: `expected`, or
    // whatever is right now.
    void StopRecovery(CPowerCutDisk& disk, int64_t calls, const StoreLook* expected,
                      const std::string& what) {
        disk.OnChange([&](const std::string& call) {
            if (++calls % m_plan.recoveryStopEvery != 0) return;
            ++m_secondStops;
            CutPlan plan = m_plan.cutsInRecovery;
            plan.seed += static_cast<uint64_t>(m_secondStops);
            disk.ForEachCut(plan, [&](const DiskImage& image, const std::string& whatAgain) {
                const StoreLook look = LookAt(image);
                const bool isRight =
                    IsRight(look) && (!expected || look.content == expected->content);
                m_report.Expect(isRight, Name(what) + "then before " + call + ", " + whatAgain +
                                             ": " + Wrong(look));
            });
        });
        (void)LookAtFolder(disk, m_workload.isFinance);
    }

    const StoreLook& LookAt(const DiskImage& image) {
        const auto [place, isNew] = m_looks.try_emplace(image.Hash());
        if (isNew) place->second = LookAtImage(image, m_workload.isFinance);
        return place->second;
    }

    std::string Name(const std::string& what) const {
        return std::string(m_workload.name) + ", " + (m_step ? m_step->name : "start") +
               ", before " + m_call + " (stop " + std::to_string(m_stops) + "), " + what + ": ";
    }

    const StoreWorkload& m_workload;
    const PowerPlan& m_plan;
    CFaultsReport& m_report;
    CPowerCutDisk* m_disk = nullptr;
    const WorkStep* m_step = nullptr;
    std::string m_call = "the first call";
    // Contents in the order of the commits, as a kill would leave them.
    std::vector<uint64_t> m_states;
    size_t m_acknowledged = 0;                        // index of the last one that was
    std::unordered_map<uint64_t, StoreLook> m_looks;  // of images seen, by hash
    std::set<uint64_t> m_recovered;
    int64_t m_stops = 0;
    int64_t m_secondStops = 0;
    size_t m_disks = 0;
    size_t m_recoveryEvery;
    int64_t m_recoveryStops;
};

void RunPower(const FaultsOptions& options, CFaultsReport& report) {
    PowerPlan plan;
    plan.cuts.seed = plan.cutsInRecovery.seed = options.seed * 1'000'003;
    plan.cutsInRecovery.everySubset = false;
    if (options.isLong) {
        plan.cutsInRecovery.mostSteps = 3;
        plan.cutsInRecovery.subsets = 4;
        plan.recoveryEvery = 20;
        plan.recoveryStopEvery = 3;
        plan.recoveryStops = 4000;
        plan.killEvery = 3;
    } else {
        plan.cuts.mostSteps = 2;
        plan.cuts.subsets = 2;
        plan.cuts.everySubset = false;
        plan.cutsInRecovery.mostSteps = 1;
        plan.cutsInRecovery.subsets = 1;
        plan.stopEvery = 2;
        plan.recoveryEvery = 90;
        plan.recoveryStopEvery = 7;
        plan.recoveryStops = 100;
        plan.killEvery = 11;
    }
    ForEachWorkload("power", options, report, [&](const StoreWorkload& workload) {
        CPowerMachine machine(workload, plan, report);
        machine.Run();
        return machine.Found();
    });
}

const CFaultsKind kPower("power", "The power fails before any change, and again in recovery",
                         RunPower);

}  // namespace
}  // namespace quillon
