// Not on Windows: there the runtime library is part of the program, and its own allocations
// would fail as well, those that an exception needs among them.
// Memory runs out at any allocation of a work, once or for ever. The work then says so, or
// did not need it; nothing is lost, leaked or half done.

#include <algorithm>
#include <exception>
#include <new>

#include "AllocationGauge.h"
#include "Faults.h"
#include "MemoryWork.h"

namespace quillon {
namespace {

using Times = CAllocationGauge::Times;

// What the disk of a killed program comes to when it is opened again.
struct Found {
    bool opened = false;
    std::string content;
    std::string disorder;
};

Found FoundOn(const DiskFiles& files, Level level, const char* folder = kMemoryFolder) {
    World world(files);
    Found found;
    found.opened = OpenWorld(world, level, folder);
    if (!found.opened) return found;
    found.content = ContentText(DatabaseOf(world, level));
    found.disorder = DisorderOf(world, level);
    return found;
}

// Where the one leaves the other, for people.
std::string Difference(const std::string& is, const std::string& shouldBe) {
    const auto [left, right] =
        std::mismatch(is.begin(), is.end(), shouldBe.begin(), shouldBe.end());
    const auto from = static_cast<size_t>(left - is.begin());
    constexpr size_t kShown = 60;
    const size_t start = from - std::min<size_t>(from, kShown / 2);
    std::string text =
        "holds '" + is.substr(start, kShown) + "' and not '" + shouldBe.substr(start, kShown) + "'";
    std::replace_if(
        text.begin(), text.end(), [](char letter) { return letter >= 0 && letter < ' '; }, '|');
    return text;
}

// A work as it goes when nothing fails.
struct Unfailed {
    std::string before;
    std::string after;
    std::string seen;
    int64_t allocations = 0;
    int64_t leftBlocks = 0;  // still taken when everything is gone
};

class CMemoryMachine {
public:
    CMemoryMachine(const FaultsOptions& options, CFaultsReport& report)
        : m_options(options), m_report(report) {}

    void Run(const MemoryWork& work) {
        const DiskFiles& files = FilesBefore(work);
        Unfailed unfailed;
        // Twice: the first run fills what is kept for good.
        const bool ran = Measure(work, files, unfailed) && Measure(work, files, unfailed);
        m_report.Expect(ran, std::string(work.name) + ": does not work with all memory there is");
        if (!ran) return;
        for (const Times times : {Times::Once, Times::ForEver}) {
            const int64_t step = Step(unfailed.allocations);
            // Both patterns together meet twice as many places.
            int64_t nth = times == Times::Once ? 1 : 1 + step / 2;
            while (nth <= unfailed.allocations) {
                RunFailing(work, files, unfailed, nth, times);
                nth += nth < kEveryOneTo && !m_options.isLong ? std::min<int64_t>(step, 2) : step;
            }
        }
        m_allocations += unfailed.allocations;
    }

    int64_t Allocations() const { return m_allocations; }
    int64_t Refusals() const { return m_refusals; }

private:
    static constexpr int64_t kEveryOneTo = 20;
    static constexpr int64_t kShortCases = 40;

    int64_t Step(int64_t allocations) const {
        if (m_options.isLong) return 1;
        return std::max<int64_t>(allocations / kShortCases, 1) | 1;
    }

    bool Measure(const MemoryWork& work, const DiskFiles& files, Unfailed& unfailed) {
        const CAllocationGauge gauge;
        bool done = false;
        {
            std::unique_ptr<World> world;
            {
                const CAllocationPause pause;
                world = std::make_unique<World>(files);
                done = PrepareWorld(*world, work);
                if (!work.opens) unfailed.before = ContentText(DatabaseOf(*world, work.level));
            }
            const int64_t allocated = gauge.Allocations();
            done = done && work.act(*world);
            unfailed.allocations = gauge.Allocations() - allocated;
            const CAllocationPause pause;
            unfailed.seen = world->seen;
            if (!DatabaseOf(*world, work.level).IsOpen()) {
                done = OpenWorld(*world, work.level) && done;
            }
            unfailed.after = ContentText(DatabaseOf(*world, work.level));
            if (work.opens) unfailed.before = unfailed.after;
            done = done && DisorderOf(*world, work.level).empty();
            world.reset();
        }
        unfailed.leftBlocks = gauge.LiveBlocks();
        return done;
    }

    void RunFailing(const MemoryWork& work, const DiskFiles& files, const Unfailed& unfailed,
                    int64_t nth, Times times) {
        m_report.Case();
        m_case = std::string(work.name) + ", allocation " + std::to_string(nth) +
                 (times == Times::Once ? ", once" : ", for ever");
        CAllocationGauge gauge;
        {
            std::unique_ptr<World> world;
            {
                const CAllocationPause pause;
                world = std::make_unique<World>(files);
                (void)PrepareWorld(*world, work);
            }
            gauge.FailNth(nth, times);
            bool said = false;
            const char* thrown = nullptr;
            try {
                said = work.act(*world);
            } catch (const std::bad_alloc&) {
                thrown = "std::bad_alloc came out";
            } catch (const std::exception&) {
                thrown = "an exception came out";
            }
            gauge.StopFailing();
            const CAllocationPause pause;
            if (thrown) Fault(thrown);
            if (!said && !gauge.HasFailed()) Fault("failed for no reason");
            Judge(*world, work, unfailed, said, times);
            world.reset();
        }
        if (gauge.LiveBlocks() > unfailed.leftBlocks) {
            Fault(std::to_string(gauge.LiveBlocks() - unfailed.leftBlocks) + " blocks leaked, " +
                  std::to_string(gauge.LiveBytes()) + " bytes");
        }
    }

    void Judge(World& world, const MemoryWork& work, const Unfailed& unfailed, bool said,
               Times times) {
        CDatabaseManager& database = DatabaseOf(world, work.level);
        const auto allowed = [&](const std::string& content) {
            return content == unfailed.after || (!said && content == unfailed.before);
        };
        if (said && world.seen != unfailed.seen) Fault("read something else");

        // A program that is killed now.
        const DiskFiles left = world.memory.Snapshot();
        const Found killed = FoundOn(left, work.level);
        if (!killed.opened) Fault("killed now: does not open");
        if (killed.opened && !allowed(killed.content)) {
            Fault("killed now: " + Difference(killed.content, unfailed.after));
        }
        if (!killed.disorder.empty()) Fault("killed now: " + killed.disorder);

        // One that lives on.
        const bool open = database.IsOpen();
        const bool refuses = open && !database.BeginBatch();
        if (open && !said && work.opens) {
            // Some tables could not be made, or not upgraded; the next start does the rest.
            if (!refuses) database.RollbackBatch();
            if (work.level == Level::Store) Fault("is open after a no");
            (void)database.Close();
            Reopen(world, work, unfailed.after);
        } else if (open && !refuses) {
            database.RollbackBatch();
            const std::string content = ContentText(database);
            const std::string& expected = said ? unfailed.after : unfailed.before;
            if (content != expected) Fault(Difference(content, expected));
            const std::string disorder = DisorderOf(world, work.level);
            if (!disorder.empty()) Fault(disorder);
            if (!database.Close()) Fault("does not close");
            Reopen(world, work, content);
        } else {
            if (open) (void)database.Close();
            // With memory there again, a no is only a no.
            if (refuses && !said && times == Times::Once) Fault("refuses changes");
            if (refuses) ++m_refusals;
            Reopen(world, work, killed.content);
        }
        JudgeCopies(work, left, said);
    }

    void Reopen(World& world, const MemoryWork& work, const std::string& expected) {
        if (!OpenWorld(world, work.level)) {
            Fault("does not open again");
            return;
        }
        const std::string content = ContentText(DatabaseOf(world, work.level));
        if (content != expected) Fault("opened again: " + Difference(content, expected));
        const std::string disorder = DisorderOf(world, work.level);
        if (!disorder.empty()) Fault("opened again: " + disorder);
    }

    // A restored folder is whole or not there.
    void JudgeCopies(const MemoryWork& work, const DiskFiles& left, bool said) {
        if (std::string_view(work.name) != "restore") return;
        World world(left);
        const bool there = CDatabaseManager::FolderHoldsDatabase(world.memory, kRestoredFolder);
        if (said && !there) Fault("nothing was restored");
        if (!there) return;
        const Found found = FoundOn(left, work.level, kRestoredFolder);
        if (!found.opened || !found.disorder.empty()) Fault("the restored ledger is not in order");
    }

    void Fault(const std::string& what) { m_report.Fault(m_case + ": " + what); }

    const FaultsOptions& m_options;
    CFaultsReport& m_report;
    std::string m_case;
    int64_t m_allocations = 0;
    int64_t m_refusals = 0;
};

// A program that is not linked with the gauge would find nothing.
bool GaugeWorks() {
    CAllocationGauge gauge;
    gauge.FailNth(1, Times::Once);
    bool textFailed = false;
    try {
        const CKeelString text("a text takes a block from malloc");
    } catch (const std::bad_alloc&) {
        textFailed = true;
    }
    gauge.FailNth(2, Times::ForEver);
    bool vectorFailed = false;
    try {
        const std::vector<int> first(10);
        const std::vector<int> second(10);
    } catch (const std::bad_alloc&) {
        vectorFailed = true;
    }
    gauge.StopFailing();
    return textFailed && vectorFailed && gauge.LiveBlocks() == 0 && gauge.Allocations() == 3;
}

void RunMemory(const FaultsOptions& options, CFaultsReport& report) {
    report.Expect(GaugeWorks(), "allocations are not counted");
    CMemoryMachine machine(options, report);
    for (const MemoryWork& work : MemoryWorks()) {
        if (std::string(work.name).find(options.only) == std::string::npos) continue;
        machine.Run(work);
    }
    std::printf("memory: works of %lld allocations; %lld times the store then refused changes\n",
                static_cast<long long>(machine.Allocations()),
                static_cast<long long>(machine.Refusals()));
}

const CFaultsKind kMemory("memory", "Memory runs out at any allocation", RunMemory);

}  // namespace
}  // namespace quillon
