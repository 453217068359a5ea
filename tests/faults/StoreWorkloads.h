#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Faults.h"
#include "finance/database/QuillonDatabaseInterface.h"
#include "finance/ledger/Ledger.h"
#include "support/PowerCutDisk.h"

namespace quillon {

struct StoreWorkload;

// A program at work on the folder "ledger" of a disk.
class CWorkSession {
public:
    CWorkSession(CFileSystem& files, const StoreWorkload& workload);

    CFileSystem& Files() { return m_files; }
    CDatabaseManager& Store() { return m_finance ? m_finance->Store() : *m_store; }
    // Null where the workload is below the finance layer.
    CQuillonDatabaseInterface* Finance() { return m_finance.get(); }
    CLedger& Ledger() { return *m_ledger; }
    bool Open();

    // What a reading step has read.
    std::string seen;

private:
    CFileSystem& m_files;
    std::unique_ptr<CDatabaseManager> m_store;
    std::unique_ptr<CQuillonDatabaseInterface> m_finance;
    std::unique_ptr<CLedger> m_ledger;
};

// One thing that a program does. True: it was acknowledged. What a step makes for itself it
// makes in a CAllocationPause: only the program runs out of memory.
struct WorkStep {
    const char* name;
    std::function<bool(CWorkSession&)> act;
    int commits = 1;  // contents change so many times at the most, each time as a whole
    bool opens = false;
};

// Work on a store or a ledger, for machines that stop it anywhere or let anything fail.
struct StoreWorkload {
    const char* name;
    bool isFinance;
    // Makes the disk on which the work begins, through a session that is then gone without
    // closing, as after a kill.
    std::function<bool(CWorkSession&)> prepare;
    std::vector<WorkStep> steps;
    JournalRooms rooms = {};
};

const std::vector<StoreWorkload>& StoreWorkloads();

// Calls `run` with each workload that is wanted, and says what it found.
void ForEachWorkload(const char* kind, const FaultsOptions& options, CFaultsReport& report,
                     const std::function<std::string(const StoreWorkload&)>& run);

// Prepares the workload. False: a fault, which is reported.
bool Prepare(CFileSystem& files, const StoreWorkload& workload, CFaultsReport& report);
// The disk on which the work begins.
std::optional<DiskImage> PreparedDisk(const StoreWorkload& workload, CFaultsReport& report);

// The work as it goes when nothing fails.
struct Rehearsal {
    DiskImage before;
    // Contents: first those before the work alone, then of each step those before it, between
    // its commits and after it.
    std::vector<std::vector<uint64_t>> states;
    int64_t calls = 0;  // of the file system
};
std::optional<Rehearsal> Rehearse(const StoreWorkload& workload, CFaultsReport& report);

// Where one of them restores a backup beside the ledger.
inline constexpr const char* kRestoredFolder = "restored";

}  // namespace quillon
