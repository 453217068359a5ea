// Bank reconciliation beside the plain search, which tries every set.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <random>

#include "../tests/support/PlainReconciliation.h"
#include "BenchEngine.h"
#include "foundation/CalendarDate.h"

namespace quillon::bench {

namespace {

struct Case {
    int count;
    int32_t maximum;
    bool isPlainTried;  // else it would take the better part of an hour
};

constexpr Case kCases[] = {
    {24, 12, true}, {40, 11, true}, {60, 8, true}, {200, 5, true}, {500, 5, false}};

// Amounts in cents, a fifth of them deposits; the difference is `maximum` of them outstanding.
std::vector<ReconciliationCandidate> MakeCandidates(const Case& one, double& difference) {
    std::mt19937_64 random(static_cast<uint64_t>(one.count));
    std::vector<ReconciliationCandidate> candidates;
    int64_t cents = 0;
    for (int i = 0; i < one.count; ++i) {
        const auto amount = static_cast<int64_t>(100 + random() % 500'000);
        const bool in = random() % 5 == 0;
        candidates.push_back(
            {.entry = nullptr,
             .amount = static_cast<double>(amount) / 100,
             .direction = in ? ReconciliationCandidate::kIn : ReconciliationCandidate::kOut,
             .date = i * kTicksPerDay});
        const int stride = one.count / one.maximum;
        const bool outstanding = i % stride == 0 && i / stride < one.maximum;
        if (outstanding) cents += in ? -amount : amount;
    }
    difference = static_cast<double>(cents) / 100;
    return candidates;
}

template <class Work>
double Seconds(Work work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void Measure(const Case& one) {
    double difference = 0.0;
    const auto candidates = MakeCandidates(one, difference);
    CReconciliationSets found;
    SolverStatus status = SolverStatus::Complete;
    const double ours = Seconds([&] {
        status = SolveReconciliation(
            {.candidates = candidates, .difference = difference, .maximum = one.maximum}, found);
    });
    std::printf("%10d %8d %16llu %10zu%c %10.4f", one.count, one.maximum,
                static_cast<unsigned long long>(CountSubsets(one.count, one.maximum)),
                found.Count(), status == SolverStatus::TooMany ? '+' : ' ', ours);
    std::fflush(stdout);
    if (!one.isPlainTried) {
        std::printf("\n");
        return;
    }
    CPlainReconciliation plain(candidates, difference, one.maximum);
    const double theirs = Seconds([&] { plain.Solve(); });
    bool same = plain.Solutions().size() == found.Count();
    for (size_t i = 0; same && i < found.Count(); ++i) {
        same = std::ranges::equal(found[i], plain.Solutions()[i]);
    }
    if (!same) Die("the reconciliations differ");
    if (found.Count() > 0 && found[0].size() < 2) Die("a single amount is no search");
    std::printf(" %10.4f %9.1fx\n", theirs, theirs / ours);
}

}  // namespace

void MeasureReconciliation() {
    std::printf("%10s %8s %16s %11s %10s %10s %10s\n", "candidates", "maximum", "sets", "solutions",
                "quillon, s", "plain, s", "ratio");
    for (const Case& one : kCases) Measure(one);
    std::printf("Lists are the same, set by set. +: more than are listed.\n");
}

}  // namespace quillon::bench
