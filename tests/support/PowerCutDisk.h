#pragma once

#include <functional>
#include <memory>
#include <string>

#include "support/MemoryFileSystem.h"

namespace quillon {

// Which of the disks that a cut may leave are to be looked at.
struct CutPlan {
    size_t mostSteps = SIZE_MAX;  // of each kind that goes step by step: tears, lost writes, names
    size_t subsets = 64;          // seeded ones of the unsynced writes
    bool everySubset = true;      // where ten writes or fewer are unsynced
    uint64_t seed = 1;
};

// A disk in memory that keeps apart what was written and what is on the medium, contents
// and names alike: writes reach it when their file is synced, names when their folder is.
//
//   Names    Changes of one folder reach the medium in their order, those of two folders in
//            any. A rename in a folder is one change: no cut leaves both names or none.
class CPowerCutDisk final : public CMemoryFileSystem {
public:
    CPowerCutDisk();
    explicit CPowerCutDisk(const DiskImage& image);  // all of it on the medium

    // What a power cut leaves: nothing unsynced; everything; names without contents, contents
    // without names; each write lost; the last one torn between sectors; what a file has grown
    // by full of zeros or rubbish; subsets of the writes. `visit` gets what survived as a text.
    using Visitor = std::function<void(const DiskImage& image, const std::string& what)>;
    void ForEachCut(const CutPlan& plan, const Visitor& visit) const;
    // A disk of its own as the next program finds it after a kill: all that was written is
    // read, and what was not synced may still be lost. Nobody holds a lock, nothing fails.
    std::unique_ptr<CPowerCutDisk> AfterKill() const;

private:
    struct Survival;
    class CCutter;
    class CCopier;
};

}  // namespace quillon
