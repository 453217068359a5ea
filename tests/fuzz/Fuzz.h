#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <map>
#include <span>
#include <string>
#include <string_view>

#include "support/Bytes.h"

// What the fuzz targets share. A target takes any bytes and checks properties that must
// hold whatever they are; a crash, a report of a sanitizer and FUZZ_CHECK are findings.

namespace quillon::fuzz {

// Prints what does not hold and where, and aborts.
[[noreturn]] void Fail(const char* what, const char* file, int line);

#define FUZZ_CHECK(holds, what) \
    ((holds) ? static_cast<void>(0) : ::quillon::fuzz::Fail(what, __FILE__, __LINE__))

// Takes an input apart from its front. Past the end there are zeros and empty texts, so
// that every input means something.
class CInput {
public:
    CInput(const uint8_t* data, size_t size) : m_rest(data, size) {}

    bool IsEmpty() const { return m_rest.empty(); }
    uint8_t Byte() {
        if (m_rest.empty()) return 0;
        const uint8_t byte = m_rest.front();
        m_rest = m_rest.subspan(1);
        return byte;
    }
    uint16_t Word() {
        const uint8_t low = Byte();
        return static_cast<uint16_t>(low | Byte() << 8);
    }
    // One byte for the numbers that make sense, and ways to the ones that do not.
    int64_t Number() {
        constexpr int64_t kLimits[] = {std::numeric_limits<int64_t>::max(),
                                       std::numeric_limits<int64_t>::min(),
                                       std::numeric_limits<int32_t>::max(),
                                       std::numeric_limits<uint32_t>::max(),
                                       -1,
                                       65'535,
                                       65'536,
                                       std::numeric_limits<int64_t>::max() - 1};
        const uint8_t kind = Byte();
        if (kind < 0xE0) return kind;
        if (kind < 0xF0) return Word();
        if (kind < 0xF8) return kLimits[kind & 7];
        uint64_t bits = 0;
        for (int i = 0; i < 8; ++i) bits |= uint64_t{Byte()} << (8 * i);
        return static_cast<int64_t>(bits);
    }
    // One byte for how many follow, and they.
    CInput Steps() {
        const auto steps = Take(Byte());
        return {steps.data(), steps.size()};
    }
    std::span<const uint8_t> Take(size_t count) {
        const auto taken = m_rest.first(count < m_rest.size() ? count : m_rest.size());
        m_rest = m_rest.subspan(taken.size());
        return taken;
    }
    // Up to the next zero byte, which is dropped.
    std::string TextZ() {
        size_t length = 0;
        while (length < m_rest.size() && m_rest[length] != 0) ++length;
        const auto text = Take(length);
        Byte();
        return {text.begin(), text.end()};
    }
    std::span<const uint8_t> Rest() { return Take(m_rest.size()); }

private:
    std::span<const uint8_t> m_rest;
};

inline Bytes CopyOf(std::span<const uint8_t> bytes) {
    return {bytes.begin(), bytes.end()};
}

// True for an input whose costly checks are left out, which is most while a fuzzer looks
// for new ones: the cheap ones then run ten times as often. `replaying` runs all of them.
inline bool replaying = false;
bool IsSpared(std::span<const uint8_t> bytes);

// Reads every byte, so that a view of memory that is gone is found out.
inline void Touch(std::string_view text) {
    unsigned sum = 0;
    for (const char c : text) sum += static_cast<unsigned char>(c);
    [[maybe_unused]] volatile unsigned seen = sum;
}

// Inputs to start from: those that are no plain texts are made by the program's own
// writers. By target, then by name.
using Seeds = std::map<std::string, std::map<std::string, Bytes>>;
Seeds MakeSeeds();

}  // namespace quillon::fuzz

// libFuzzer's entry. A program of all targets gives each its own name for it.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

// The target's entry, which hands its input to `check`.
#define FUZZ_ENTRY(check)                                                     \
    extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) { \
        check({data, size});                                                  \
        return 0;                                                             \
    }
