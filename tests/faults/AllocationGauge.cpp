#include "AllocationGauge.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <limits>
#include <new>
#include <thread>

// The linker's names for what it wraps (--wrap=malloc and the like).
extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void __real_free(void* block);
void* __wrap_malloc(std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size);
void* __wrap_realloc(void* block, std::size_t size);
void __wrap_free(void* block);
}

namespace quillon {
namespace {

// The counted blocks by address: open addressing, so that it needs no allocator that is
// counted itself. Addresses are kept disguised, or a leak checker would find what leaked
// through this table.
class CBlockTable {
public:
    ~CBlockTable() { __real_free(m_slots); }

    void Insert(const void* block, std::size_t size) {
        if ((m_used + 1) * 2 > m_capacity) Grow();
        Slot& slot = m_slots[Find(Key(block))];
        if (slot.key == 0) ++m_used;
        slot = {Key(block), size};
    }

    // False: not one of ours.
    bool Erase(const void* block, std::size_t& size) {
        if (m_used == 0) return false;
        std::size_t hole = Find(Key(block));
        if (m_slots[hole].key == 0) return false;
        size = m_slots[hole].size;
        --m_used;
        // Whatever was pushed past the hole moves into it.
        for (std::size_t i = Next(hole); m_slots[i].key != 0; i = Next(i)) {
            const std::size_t home = Home(m_slots[i].key);
            if (((i - home) & (m_capacity - 1)) < ((i - hole) & (m_capacity - 1))) continue;
            m_slots[hole] = m_slots[i];
            hole = i;
        }
        m_slots[hole].key = 0;
        return true;
    }

    void Clear() {
        if (m_slots) std::memset(static_cast<void*>(m_slots), 0, m_capacity * sizeof(Slot));
        m_used = 0;
    }

private:
    struct Slot {
        uintptr_t key = 0;  // 0: free
        std::size_t size = 0;
    };

    static uintptr_t Key(const void* block) { return ~reinterpret_cast<uintptr_t>(block); }
    std::size_t Home(uintptr_t key) const {
        constexpr uint64_t kSpread = 0x9E3779B97F4A7C15;
        return static_cast<std::size_t>((static_cast<uint64_t>(key) * kSpread) >> 20) &
               (m_capacity - 1);
    }
    std::size_t Next(std::size_t at) const { return (at + 1) & (m_capacity - 1); }
    // The key's slot, or the free one where it belongs.
    std::size_t Find(uintptr_t key) const {
        std::size_t at = Home(key);
        while (m_slots[at].key != 0 && m_slots[at].key != key) at = Next(at);
        return at;
    }
    void Grow() {
        Slot* const old = m_slots;
        const std::size_t oldCapacity = m_capacity;
        m_capacity = std::max<std::size_t>(oldCapacity * 2, 1024);
        m_slots = static_cast<Slot*>(__real_calloc(m_capacity, sizeof(Slot)));
        if (!m_slots) std::abort();
        for (std::size_t i = 0; i < oldCapacity; ++i) {
            if (old[i].key != 0) m_slots[Find(old[i].key)] = old[i];
        }
        __real_free(old);
    }

    Slot* m_slots = nullptr;
    std::size_t m_capacity = 0;  // a power of two
    std::size_t m_used = 0;
};

struct Gauge {
    std::thread::id thread;
    int pauses = 0;
    CAllocationGauge::Values counts;
    int64_t callsBefore = -1;  // allocations that still pass; -1: no order
    CAllocationGauge::Times times = CAllocationGauge::Times::Once;
    bool hasFailed = false;
    CBlockTable blocks;
};

// A plain flag is all that an allocation costs while nothing is measured; a thread's own
// variable could itself have to be allocated.
std::atomic<bool> armed{false};
Gauge gauge;

bool IsCounting() {
    return armed.load(std::memory_order_relaxed) && std::this_thread::get_id() == gauge.thread;
}

// True: refuse this allocation.
bool FailsNow(std::size_t size) {
    ++gauge.counts.allocations;
    // A size that no block can have is not of interest, only that it was refused.
    constexpr size_t kLargest = std::numeric_limits<int64_t>::max();
    gauge.counts.largestBlock =
        std::max(gauge.counts.largestBlock, static_cast<int64_t>(std::min(size, kLargest)));
    if (gauge.callsBefore < 0) return false;
    if (gauge.callsBefore > 0) {
        --gauge.callsBefore;
        return false;
    }
    if (gauge.times == CAllocationGauge::Times::Once) gauge.callsBefore = -1;
    gauge.hasFailed = true;
    return true;
}

void NoteAllocated(const void* block, std::size_t size) {
    if (!block) return;
    gauge.blocks.Insert(block, size);
    ++gauge.counts.liveBlocks;
    gauge.counts.liveBytes += static_cast<int64_t>(size);
    gauge.counts.peakBytes = std::max(gauge.counts.peakBytes, gauge.counts.liveBytes);
}

void NoteFreed(const void* block) {
    std::size_t size = 0;
    if (!block || !gauge.blocks.Erase(block, size)) return;
    --gauge.counts.liveBlocks;
    gauge.counts.liveBytes -= static_cast<int64_t>(size);
}

// Allocates by `get`, counted when it is to be counted.
template <typename Get>
void* Allocate(std::size_t size, Get get) {
    if (!IsCounting() || gauge.pauses > 0) return get();
    if (FailsNow(size)) return nullptr;
    void* const block = get();
    NoteAllocated(block, size);
    return block;
}

void* NewOrNull(std::size_t size) noexcept {
    return __wrap_malloc(std::max<std::size_t>(size, 1));
}

void* NewOrThrow(std::size_t size) {
    void* const block = NewOrNull(size);
    if (!block) throw std::bad_alloc();
    return block;
}

// In a larger block, whose address stands in front of the part that is given away.
void* NewOrNull(std::size_t size, std::align_val_t alignment) noexcept {
    const auto step = std::max(static_cast<std::size_t>(alignment), sizeof(void*));
    if (size > std::numeric_limits<std::size_t>::max() - 2 * step) return nullptr;
    void* const whole = NewOrNull(size + 2 * step);
    if (!whole) return nullptr;
    const auto start = reinterpret_cast<uintptr_t>(whole) + sizeof(void*);
    void* const given = reinterpret_cast<void*>((start + step - 1) / step * step);
    static_cast<void**>(given)[-1] = whole;
    return given;
}

void* NewOrThrow(std::size_t size, std::align_val_t alignment) {
    void* const block = NewOrNull(size, alignment);
    if (!block) throw std::bad_alloc();
    return block;
}

void DeleteAligned(void* block) noexcept {
    if (block) __wrap_free(static_cast<void**>(block)[-1]);
}

}  // namespace

CAllocationGauge::CAllocationGauge() {
    gauge.blocks.Clear();
    gauge.thread = std::this_thread::get_id();
    gauge.pauses = 0;
    gauge.counts = {};
    StopFailing();
    gauge.hasFailed = false;
    armed = true;
}

CAllocationGauge::~CAllocationGauge() {
    armed = false;
    gauge.blocks.Clear();
}

CAllocationGauge::Values CAllocationGauge::Counts() const {
    return gauge.counts;
}

void CAllocationGauge::FailNth(int64_t nth, Times times) {
    gauge.callsBefore = nth - 1;
    gauge.times = times;
    gauge.hasFailed = false;
}

void CAllocationGauge::StopFailing() {
    gauge.callsBefore = -1;
}

bool CAllocationGauge::HasFailed() const {
    return gauge.hasFailed;
}

CAllocationPause::CAllocationPause() {
    if (IsCounting()) ++gauge.pauses;
}

CAllocationPause::~CAllocationPause() {
    if (IsCounting()) --gauge.pauses;
}

}  // namespace quillon

using quillon::Allocate;
using quillon::DeleteAligned;
using quillon::FailsNow;
using quillon::gauge;
using quillon::IsCounting;
using quillon::NewOrNull;
using quillon::NewOrThrow;
using quillon::NoteAllocated;
using quillon::NoteFreed;

extern "C" {

void* __wrap_malloc(std::size_t size) {
    return Allocate(size, [size] { return __real_malloc(size); });
}

void* __wrap_calloc(std::size_t count, std::size_t size) {
    return Allocate(count * size, [count, size] { return __real_calloc(count, size); });
}

void* __wrap_realloc(void* block, std::size_t size) {
    if (!IsCounting()) return __real_realloc(block, size);
    if (gauge.pauses == 0 && FailsNow(size)) return nullptr;
    void* const moved = __real_realloc(block, size);
    if (!moved && size > 0) return nullptr;
    NoteFreed(block);
    if (gauge.pauses == 0) NoteAllocated(moved, size);
    return moved;
}

void __wrap_free(void* block) {
    if (IsCounting()) NoteFreed(block);
    __real_free(block);
}
}

// NOLINTBEGIN(bugprone-macro-parentheses)
#define QUILLON_OPERATORS(brackets)                                                                \
    void* operator new brackets(std::size_t size) {                                                \
        return NewOrThrow(size);                                                                   \
    }                                                                                              \
    void* operator new brackets(std::size_t size, const std::nothrow_t&) noexcept {                \
        return NewOrNull(size);                                                                    \
    }                                                                                              \
    void* operator new brackets(std::size_t size, std::align_val_t alignment) {                    \
        return NewOrThrow(size, alignment);                                                        \
    }                                                                                              \
    void* operator new brackets(std::size_t size, std::align_val_t alignment,                      \
                                const std::nothrow_t&) noexcept {                                  \
        return NewOrNull(size, alignment);                                                         \
    }                                                                                              \
    void operator delete brackets(void* block) noexcept {                                          \
        __wrap_free(block);                                                                        \
    }                                                                                              \
    void operator delete brackets(void* block, std::size_t) noexcept {                             \
        __wrap_free(block);                                                                        \
    }                                                                                              \
    void operator delete brackets(void* block, const std::nothrow_t&) noexcept {                   \
        __wrap_free(block);                                                                        \
    }                                                                                              \
    void operator delete brackets(void* block, std::align_val_t) noexcept {                        \
        DeleteAligned(block);                                                                      \
    }                                                                                              \
    void operator delete brackets(void* block, std::size_t, std::align_val_t) noexcept {           \
        DeleteAligned(block);                                                                      \
    }                                                                                              \
    void operator delete brackets(void* block, std::align_val_t, const std::nothrow_t&) noexcept { \
        DeleteAligned(block);                                                                      \
    }
QUILLON_OPERATORS()
QUILLON_OPERATORS([])
#undef QUILLON_OPERATORS
// NOLINTEND(bugprone-macro-parentheses)
