// What the operating system's calls do to the store, below its file system: interrupted,
// done in part, failing. The calls of this program's own code pass through the wrappers
// below, which the linker puts in their place.

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <filesystem>

#include "Faults.h"
#include "StoreContent.h"
#include "StoreWorkloads.h"
#include "support/TemporaryFolder.h"

namespace quillon {
namespace {

enum class Trouble {
    Interrupted,  // EINTR, and nothing done
    InPart,       // a read or write of half of it, at least a byte
    Failure,      // EIO
    NoRoom,       // ENOSPC, for calls that change something
};

struct SyscallPlan {
    bool armed = false;
    Trouble trouble = Trouble::Interrupted;
    bool isEvery = false;  // every call from `at` on, but no call twice in a row
    int64_t at = 0;
    int64_t calls = 0;
    bool troubled = false;
    bool lastTroubled = false;
};

SyscallPlan plan;

bool IsTroubled(Trouble trouble) {
    if (!plan.armed || plan.trouble != trouble) return false;
    // A read that is a sync's neighbour is counted as well: all kinds of one trouble are one row.
    ++plan.calls;
    const bool hit =
        plan.isEvery ? plan.calls >= plan.at && !plan.lastTroubled : plan.calls == plan.at;
    plan.lastTroubled = hit;
    plan.troubled = plan.troubled || hit;
    return hit;
}

// -1 with the error number that the plan has for this call; 0 when it may go on.
int Stumble(bool changes) {
    int error = 0;
    if (IsTroubled(Trouble::Interrupted)) error = EINTR;
    if (IsTroubled(Trouble::Failure)) error = EIO;
    if (changes && IsTroubled(Trouble::NoRoom)) error = ENOSPC;
    if (error == 0) return 0;
    errno = error;
    return -1;
}

// An interrupted sync is a failed one to the store; see CFile::Sync.
bool StumblesInSync() {
    return plan.trouble != Trouble::Interrupted && Stumble(true) != 0;
}

size_t PartOf(size_t size) {
    return size > 1 && IsTroubled(Trouble::InPart) ? size / 2 : size;
}

}  // namespace
}  // namespace quillon

// NOLINTBEGIN: names that the linker demands
extern "C" {
ssize_t __real_pread64(int file, void* bytes, size_t size, off64_t offset);
ssize_t __real_pwrite64(int file, const void* bytes, size_t size, off64_t offset);
int __real_ftruncate64(int file, off64_t size);
int __real_fdatasync(int file);
int __real_fsync(int file);
int __real_rename(const char* from, const char* to);
int __real_unlink(const char* path);
int __real_open64(const char* path, int flags, ...);

ssize_t __wrap_pread64(int file, void* bytes, size_t size, off64_t offset) {
    if (quillon::Stumble(false) != 0) return -1;
    return __real_pread64(file, bytes, quillon::PartOf(size), offset);
}
ssize_t __wrap_pwrite64(int file, const void* bytes, size_t size, off64_t offset) {
    if (quillon::Stumble(true) != 0) return -1;
    return __real_pwrite64(file, bytes, quillon::PartOf(size), offset);
}
int __wrap_ftruncate64(int file, off64_t size) {
    return quillon::Stumble(true) != 0 ? -1 : __real_ftruncate64(file, size);
}
int __wrap_fdatasync(int file) {
    return quillon::StumblesInSync() ? -1 : __real_fdatasync(file);
}
int __wrap_fsync(int file) {
    return quillon::StumblesInSync() ? -1 : __real_fsync(file);
}
int __wrap_rename(const char* from, const char* to) {
    return quillon::Stumble(true) != 0 ? -1 : __real_rename(from, to);
}
int __wrap_unlink(const char* path) {
    return quillon::Stumble(true) != 0 ? -1 : __real_unlink(path);
}
int __wrap_open64(const char* path, int flags, ...) {
    mode_t mode = 0;
    if ((flags & O_CREAT) != 0) {
        va_list rest;
        va_start(rest, flags);
        mode = va_arg(rest, mode_t);
        va_end(rest);
    }
    if (quillon::Stumble((flags & O_CREAT) != 0) != 0) return -1;
    return __real_open64(path, flags, mode);
}
}
// NOLINTEND

namespace quillon {
namespace {

constexpr const char* kTroubles[] = {"interrupted", "done in part", "input/output error",
                                     "no room"};

class CSyscallsMachine {
public:
    CSyscallsMachine(const StoreWorkload& workload, CFaultsReport& report)
        : m_workload(workload), m_report(report) {}

    void Run(int64_t every) {
        Run({.trouble = Trouble::Interrupted, .isEvery = true, .at = 1}, true);
        Run({.trouble = Trouble::InPart, .isEvery = true, .at = 1}, true);
        for (const Trouble trouble : {Trouble::Failure, Trouble::NoRoom}) {
            for (int64_t at = 1; Run({.trouble = trouble, .at = at}, false); at += every) {
            }
        }
    }

private:
    // False: the work came to its end before the trouble. `harmless`: it must go unnoticed.
    bool Run(const SyscallPlan& trouble, bool harmless) {
        const CTemporaryFolder folder("syscalls");
        std::filesystem::current_path(folder.Path());
        CFileSystem& files = PlatformFileSystem();
        uint64_t live = 0;
        bool done = true;
        if (!Prepare(files, m_workload, m_report)) return false;
        CWorkSession session(files, m_workload);
        plan = trouble;
        plan.armed = true;
        const char* step = "";
        for (size_t i = 0; done && i < m_workload.steps.size(); ++i) {
            step = m_workload.steps[i].name;
            done = m_workload.steps[i].act(session);
        }
        plan.armed = false;
        const std::string name = std::string(m_workload.name) + ", " + step + ", " +
                                 kTroubles[static_cast<int>(trouble.trouble)] + " at call " +
                                 std::to_string(trouble.at) + ": ";
        m_report.Expect(done || (plan.troubled && !harmless), name + "the step failed");
        if (harmless) m_report.Expect(plan.troubled, name + "no call met it");
        if (!done && trouble.trouble == Trouble::NoRoom && session.Store().IsOpen()) {
            const DatabaseProblem problem = session.Store().Problem();
            m_report.Expect(
                problem == DatabaseProblem::DiskFull || problem == DatabaseProblem::None,
                name + "says problem " + std::to_string(static_cast<int>(problem)) +
                    " of a full disk");
        }
        const bool troubled = plan.troubled;
        const bool isOpen = session.Store().IsOpen();
        if (isOpen) live = ContentHash(session.Store());
        const bool isWhole = isOpen && session.Store().Close();
        const StoreLook look = LookAtFolder(files, m_workload.isFinance);
        m_report.Expect(look.IsSound(), name + look.problem);
        if (done && isWhole) m_report.Expect(look.content == live, name + "other contents");
        return troubled;
    }

    const StoreWorkload& m_workload;
    CFaultsReport& m_report;
};

void RunSyscalls(const FaultsOptions& options, CFaultsReport& report) {
    const std::filesystem::path here = std::filesystem::current_path();
    constexpr int64_t kShortEvery = 149;
    ForEachWorkload("syscalls", options, report, [&](const StoreWorkload& workload) {
        CSyscallsMachine(workload, report).Run(options.isLong ? 1 : kShortEvery);
        return std::string();
    });
    std::filesystem::current_path(here);
}

const CFaultsKind kSyscalls("syscalls", "The system's calls are interrupted, done in part, or fail",
                            RunSyscalls);

}  // namespace
}  // namespace quillon
