// Not on Windows: there the runtime library is part of the program, and its own allocations
// would fail as well, those that an exception needs among them.
// Memory runs out at any allocation of a step of work, once or for ever. The work then says so, or
// did not need it; nothing is lost, leaked or half done.

#include <algorithm>
#include <exception>
#include <new>

#include "AllocationGauge.h"
#include "Faults.h"
#include "FaultsDatabase.h"
#include "StoreContent.h"
#include "StoreWorkloads.h"

namespace quillon {
namespace {

using Times = CAllocationGauge::Times;

// Where a step begins.
struct Point {
    DiskImage disk;
    bool isOpen = false;
};

// One program with its disk, which is the machine's and not the program's.
struct World {
    World(const Point& point, const StoreWorkload& workload) : session(disk, workload) {
        memory.Restore(point.disk);
    }
    StoreLook LookKilled() { return LookAtImage(memory.Everything(), IsFinance()); }
    StoreLook LookOpen() { return LookAtOpen(session.Store(), session.Finance()); }
    bool IsFinance() { return session.Finance() != nullptr; }

    CMemoryFileSystem memory;
    CBoundedFiles disk{memory};
    CWorkSession session;
};

// A step as it goes when nothing fails.
struct Unfailed {
    std::vector<uint64_t> states;  // contents before, between its commits and after
    std::string seen;
    int64_t allocations = 0;
    int64_t leftBlocks = 0;  // still taken when everything is gone
};

class CMemoryMachine {
public:
    CMemoryMachine(const FaultsOptions& options, CFaultsReport& report)
        : m_options(options), m_report(report) {}

    void Run(const StoreWorkload& workload) {
        m_workload = &workload;
        const std::vector<Point> points = Rehearse();
        for (size_t i = 0; i < points.size(); ++i) {
            m_step = &workload.steps[i];
            RunStep(points[i]);
        }
    }

    int64_t Allocations() const { return m_allocations; }
    int64_t Refusals() const { return m_refusals; }

private:
    static constexpr int64_t kEveryOneTo = 20;
    static constexpr int64_t kShortCases = 40;

    std::vector<Point> Rehearse() {
        std::vector<Point> points;
        const std::optional<DiskImage> prepared = PreparedDisk(*m_workload, m_report);
        bool done = prepared.has_value();
        World world({prepared.value_or(DiskImage())}, *m_workload);
        for (const WorkStep& step : m_workload->steps) {
            points.push_back({world.memory.Everything(), world.session.Store().IsOpen()});
            done = done && step.act(world.session);
        }
        m_report.Expect(done, std::string(m_workload->name) + ": does not work with all memory");
        if (!done) points.clear();
        return points;
    }

    void RunStep(const Point& point) {
        Unfailed unfailed;
        // Twice: the first run fills what is kept for good.
        const bool ran = Measure(point, unfailed) && Measure(point, unfailed);
        m_report.Expect(ran, Name() + ": does not work again");
        if (!ran) return;
        for (const Times times : {Times::Once, Times::ForEver}) {
            const int64_t step = Step(unfailed.allocations);
            // Both patterns together meet twice as many places.
            int64_t nth = times == Times::Once ? 1 : 1 + step / 2;
            while (nth <= unfailed.allocations) {
                RunFailing(point, unfailed, nth, times);
                nth += nth < kEveryOneTo && !m_options.isLong ? std::min<int64_t>(step, 2) : step;
            }
        }
        m_allocations += unfailed.allocations;
    }

    int64_t Step(int64_t allocations) const {
        if (m_options.isLong) return 1;
        return std::max<int64_t>(allocations / kShortCases, 1) | 1;
    }

    // Opens and makes a change, so that the journal holds something.
    static std::unique_ptr<World> Prepare(const Point& point, const StoreWorkload& workload) {
        auto world = std::make_unique<World>(point, workload);
        if (point.isOpen) (void)(world->session.Open() && world->session.Store().AddBlob({}) >= 0);
        return world;
    }

    bool Measure(const Point& point, Unfailed& unfailed) {
        const CAllocationGauge gauge;
        bool done = false;
        {
            std::unique_ptr<World> world;
            {
                const CAllocationPause pause;
                world = Prepare(point, *m_workload);
                unfailed.states = {world->LookKilled().content};
                if (m_step->commits > 1) NoteStates(*world, unfailed.states);
            }
            const int64_t allocated = gauge.Counts().allocations;
            done = m_step->act(world->session);
            unfailed.allocations = gauge.Counts().allocations - allocated;
            const CAllocationPause pause;
            world->memory.OnChange({});
            unfailed.seen = world->session.seen;
            const StoreLook after = world->LookKilled();
            unfailed.states.push_back(after.content);
            done = done && after.IsSound();
            world.reset();
        }
        unfailed.leftBlocks = gauge.Counts().liveBlocks;
        return done;
    }

    static void NoteStates(World& world, std::vector<uint64_t>& states) {
        world.memory.OnChange([&](const std::string&) {
            const CAllocationPause pause;
            const uint64_t now = world.LookKilled().content;
            if (now != states.back()) states.push_back(now);
        });
    }

    void RunFailing(const Point& point, const Unfailed& unfailed, int64_t nth, Times times) {
        m_report.Case();
        m_case = Name() + ", allocation " + std::to_string(nth) +
                 (times == Times::Once ? ", once" : ", for ever");
        CAllocationGauge gauge;
        {
            std::unique_ptr<World> world;
            {
                const CAllocationPause pause;
                world = Prepare(point, *m_workload);
            }
            gauge.FailNth(nth, times);
            bool said = false;
            const char* thrown = nullptr;
            try {
                said = m_step->act(world->session);
            } catch (const std::bad_alloc&) {
                thrown = "std::bad_alloc came out";
            } catch (const std::exception&) {
                thrown = "an exception came out";
            }
            gauge.StopFailing();
            const CAllocationPause pause;
            if (thrown) Fault(thrown);
            if (!said && !gauge.HasFailed()) Fault("failed for no reason");
            if (said && world->session.seen != unfailed.seen) Fault("read something else");
            Judge(*world, unfailed, said, times);
            world.reset();
        }
        if (gauge.Counts().liveBlocks > unfailed.leftBlocks) {
            Fault(std::to_string(gauge.Counts().liveBlocks - unfailed.leftBlocks) +
                  " blocks leaked, " + std::to_string(gauge.Counts().liveBytes) + " bytes");
        }
    }

    void Judge(World& world, const Unfailed& unfailed, bool said, Times times) {
        m_allowed = unfailed.states;
        if (said) m_allowed = {unfailed.states.back()};
        // A program that is killed now.
        const StoreLook killed = world.LookKilled();
        Check(killed, "killed now");
        JudgeCopy(world, said);

        // One that lives on.
        CDatabaseManager& store = world.session.Store();
        if (store.IsOpen()) {
            if (store.BeginBatch()) {
                store.RollbackBatch();
                if (said || !m_step->opens) {
                    const StoreLook live = world.LookOpen();
                    Check(live, "lives on");
                    m_allowed = {live.content};
                } else if (!world.IsFinance()) {
                    // Of a ledger some tables could not be made; the next start does the rest.
                    Fault("is open after a no");
                }
            } else {
                ++m_refusals;
                m_allowed = {killed.content};
                // With memory there again, a no is only a no.
                if (!said && times == Times::Once) Fault("refuses changes");
            }
            (void)store.Close();
        }
        Check(world.LookKilled(), "opened again");
    }

    // A restored folder is whole or not there.
    void JudgeCopy(World& world, bool said) {
        const bool there = CDatabaseManager::FolderHoldsDatabase(world.memory, kRestoredFolder);
        if (!there && said && std::string_view(m_step->name) == "restore beside it") {
            Fault("nothing was restored");
        }
        if (!there) return;
        CMemoryFileSystem left;
        left.Restore(world.memory.Everything());
        const StoreLook look = LookAtFolder(left, world.IsFinance(), kRestoredFolder);
        if (!look.IsSound()) Fault("the restored ledger: " + look.problem);
    }

    void Check(const StoreLook& look, const std::string& when) {
        const std::string wrong = WrongWith(look, m_allowed);
        if (!wrong.empty()) Fault(when + ": " + wrong);
    }

    std::string Name() const { return std::string(m_workload->name) + ", " + m_step->name; }
    void Fault(const std::string& what) { m_report.Fault(m_case + ": " + what); }

    const FaultsOptions& m_options;
    CFaultsReport& m_report;
    const StoreWorkload* m_workload = nullptr;
    const WorkStep* m_step = nullptr;
    std::string m_case;
    std::vector<uint64_t> m_allowed;
    int64_t m_allocations = 0;
    int64_t m_refusals = 0;
};

// A program that is not linked with the gauge would find nothing.
bool GaugeWorks() {
    CAllocationGauge gauge;
    gauge.FailNth(1, Times::Once);
    const auto fails = [](auto allocate) {
        try {
            allocate();
        } catch (const std::bad_alloc&) {
            return true;
        }
        return false;
    };
    const bool textFailed =
        fails([] { const CKeelString text("a text takes a block from malloc"); });
    gauge.FailNth(2, Times::ForEver);
    const bool vectorFailed = fails([] {
        const std::vector<int> first(10);
        const std::vector<int> second(10);
    });
    gauge.StopFailing();
    return textFailed && vectorFailed && gauge.Counts().liveBlocks == 0 &&
           gauge.Counts().allocations == 3;
}

void RunMemory(const FaultsOptions& options, CFaultsReport& report) {
    report.Expect(GaugeWorks(), "allocations are not counted");
    CMemoryMachine machine(options, report);
    ForEachWorkload("memory", options, report, [&](const StoreWorkload& workload) {
        machine.Run(workload);
        return std::string();
    });
    Say("memory: works of " + std::to_string(machine.Allocations()) + " allocations; " +
        std::to_string(machine.Refusals()) + " times the store then refused changes");
}

const CFaultsKind kMemory("memory", "Memory runs out at any allocation", RunMemory);

}  // namespace
}  // namespace quillon
