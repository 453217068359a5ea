#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "AllocationGauge.h"
#include "storage/database/DatabaseManager.h"
#include "support/Bytes.h"
#include "support/ForwardingFiles.h"
#include "support/MemoryFileSystem.h"

namespace quillon {

// Small databases, in the folder "db" of a disk in memory, for machines that damage them.

using Disk = std::map<std::string, Bytes>;  // by path

inline constexpr const char* kFaultsFolder = "db";
inline constexpr const char* kFaultsPassword = "correct horse";

struct FaultsSample {
    std::string name;
    Disk disk;
    std::string content;  // ContentText, with the stamps
    // What earlier commits had made of it, when the journal still holds the later ones.
    std::vector<std::string> earlier;
};

// A record store with every type of column, compressed texts, BLOBs and free room, and a
// ledger with a password, accounts, transactions and transfers: each closed in order, as a
// killed program leaves it, and killed before the last commits reached the files.
std::vector<FaultsSample> AllSamples();

// Opens, checks and closes. False: it does not open, or something is damaged; `why` then
// tells. Otherwise the contents.
bool ReadSound(CFileSystem& files, const std::string& folder, std::string& content,
               std::string& why);

// A disk that refuses everything after so many calls: for loops that would not end. What
// it does itself is neither counted by a gauge of allocations nor fails for want of memory.
class CBoundedFiles final : public CForwardingFiles {
public:
    static constexpr int64_t kNoBound = INT64_MAX;

    explicit CBoundedFiles(CFileSystem& base, int64_t calls = kNoBound)
        : CForwardingFiles(base), m_callsLeft(calls) {}
    bool IsExhausted() const { return m_callsLeft <= 0; }

protected:
    bool Enter() override {
        m_pause.emplace();
        return m_callsLeft > 0 && --m_callsLeft > 0;
    }
    void Leave() override { m_pause.reset(); }

private:
    int64_t m_callsLeft;
    std::optional<CAllocationPause> m_pause;
};

// Tells which case is tried when the program crashes, and ends it with status 3.
void NameCaseOnCrash();
void SetCurrentCase(const std::string& name);

}  // namespace quillon
