#include "StoreContent.h"
#include "StoreWorkloads.h"

namespace quillon {

CWorkSession::CWorkSession(CFileSystem& files, const StoreWorkload& workload) : m_files(files) {
    if (workload.isFinance) {
        m_finance = std::make_unique<CQuillonDatabaseInterface>(files);
        m_ledger = std::make_unique<CLedger>(*m_finance);
    } else {
        m_store = std::make_unique<CDatabaseManager>(files);
    }
    Store().Journal().SetRooms(workload.rooms);
}

bool CWorkSession::Open() {
    if (!m_finance) return m_store->Open(kLedgerFolder);
    const FinanceOpenResult opened = m_finance->Open(kLedgerFolder);
    return opened.opened && opened.schema.Complete();
}

void ForEachWorkload(const char* kind, const FaultsOptions& options, CFaultsReport& report,
                     const std::function<std::string(const StoreWorkload&)>& run) {
    for (const StoreWorkload& workload : StoreWorkloads()) {
        if (!options.Wants(workload.name)) continue;
        const int64_t casesBefore = report.Cases();
        const std::string found = run(workload);
        Say(std::string(kind) + ": " + workload.name + ": " + found +
            std::to_string(report.Cases() - casesBefore) + " cases");
    }
}

namespace {

bool Prepare(CWorkSession& session, const StoreWorkload& workload, CFaultsReport& report) {
    if (workload.prepare(session)) return true;
    report.Fault(std::string(workload.name) + ": cannot be prepared");
    return false;
}

}  // namespace

bool Prepare(CFileSystem& files, const StoreWorkload& workload, CFaultsReport& report) {
    CWorkSession session(files, workload);
    return Prepare(session, workload, report);
}

std::optional<DiskImage> PreparedDisk(const StoreWorkload& workload, CFaultsReport& report) {
    CMemoryFileSystem disk;
    CWorkSession session(disk, workload);
    if (!Prepare(session, workload, report)) return std::nullopt;
    return disk.Everything();
}

std::optional<Rehearsal> Rehearse(const StoreWorkload& workload, CFaultsReport& report) {
    std::optional<DiskImage> before = PreparedDisk(workload, report);
    if (!before) return std::nullopt;
    CMemoryFileSystem disk;
    disk.Restore(*before);
    Rehearsal rehearsal{std::move(*before), {}};
    const auto content = [&] { return LookAtImage(disk.Everything(), workload.isFinance).content; };
    rehearsal.states = {{content()}};
    CWorkSession session(disk, workload);
    for (const WorkStep& step : workload.steps) {
        std::vector<uint64_t> states = {rehearsal.states.back().back()};
        const auto note = [&] {
            if (const uint64_t now = content(); now != states.back()) states.push_back(now);
        };
        disk.OnChange([&](const std::string&) { note(); });
        const bool done = step.act(session);
        disk.OnChange({});
        note();
        report.Expect(done, std::string(workload.name) + ", " + step.name + ": fails");
        rehearsal.states.push_back(states);
    }
    rehearsal.calls = disk.Count(CMemoryFileSystem::Call::Any);
    return rehearsal;
}

}  // namespace quillon
