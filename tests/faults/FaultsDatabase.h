#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "AllocationGauge.h"
#include "storage/database/DatabaseManager.h"
#include "support/Bytes.h"
#include "support/ForwardingFiles.h"
#include "support/MemoryFileSystem.h"

namespace quillon {

// Small databases, in the folder "ledger" of a disk in memory, for machines that damage them.

using Disk = std::map<std::string, Bytes>;  // by path

struct FaultsSample {
    std::string name;
    Disk disk;
    uint64_t content = 0;  // ContentHash, with the stamps
    // What earlier commits had made of it, when the journal still holds the later ones.
    std::vector<uint64_t> earlier = {};
};

// What the workloads "single commits" and "money between accounts" make, called "store" and
// "ledger": each closed in order, as a killed program leaves it, and killed before the last
// commits reached the files.
std::vector<FaultsSample> AllSamples();

// Other values for a byte: one bit turned over, and in the long form no bits and all of them.
template <class Visit>
void ForEachOtherByte(uint8_t byte, size_t at, bool isLong, Visit visit) {
    const std::string name = "byte " + std::to_string(at);
    visit(static_cast<uint8_t>(byte ^ (1U << (at % 8))), name + " flipped");
    if (!isLong) return;
    if (byte != 0) visit(uint8_t{0}, name + " zero");
    if (byte != 0xFF) visit(uint8_t{0xFF}, name + " ones");
}

inline Bytes Rubbish(std::mt19937_64& random, size_t size) {
    Bytes bytes(size);
    for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random());
    return bytes;
}

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
