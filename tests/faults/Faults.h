#pragma once

#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <string_view>

namespace quillon {

// Machines that break the record store in every way of one kind and look at what is left.
// ./dev faults KIND runs one in its long form, ./dev test all of them in their short forms.

struct FaultsOptions {
    bool isLong = false;
    int64_t rounds = 0;   // for kinds that repeat at random; 0: the kind's own number
    uint64_t seed = 1;    // of everything random, so that a fault can be had again
    std::string only;     // of workloads or files, those whose name contains it; empty: all
    std::string program;  // quillon-cli

    bool Wants(const std::string& name) const { return name.find(only) != std::string::npos; }
    int64_t RoundsOr(int64_t ofLong, int64_t ofShort) const {
        return rounds > 0 ? rounds : isLong ? ofLong : ofShort;
    }
};

// A line on standard output, at once.
void Say(const std::string& line);

// Counts what was tried and writes each fault as one line on standard error.
class CFaultsReport {
public:
    void Case() { ++m_cases; }
    void Fault(const std::string& what);
    // A case whose expectation must hold.
    void Expect(bool holds, const std::string& what) {
        Case();
        if (!holds) Fault(what);
    }
    int64_t Cases() const { return m_cases; }
    int64_t Faults() const { return m_faults; }

private:
    static constexpr int64_t kMostLines = 50;
    int64_t m_cases = 0;
    int64_t m_faults = 0;
};

using FaultsFunction = void (*)(const FaultsOptions& options, CFaultsReport& report);

struct FaultsKind {
    const char* help;
    FaultsFunction run;
};

std::map<std::string_view, FaultsKind>& FaultsKinds();

// One at file scope of each kind's file; the file is called after it: PowerFaults.cpp
// holds "power".
class CFaultsKind {
public:
    CFaultsKind(std::string_view name, const char* help, FaultsFunction run) {
        FaultsKinds()[name] = {help, run};
    }
};

}  // namespace quillon
