#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "finance/reconciliation/BankReconciliationSolutionEntry.h"
#include "finance/reconciliation/ReconciliationHints.h"
#include "finance/reconciliation/ReconciliationSolver.h"
#include "foundation/KeelList.h"
#include "settings/SettingsFile.h"

namespace quillon {

// Something to show to the user. Whoever asked shows it; nothing here does.
struct ReconciliationMessage {
    enum class Icon { None, Information, Stop };

    Icon icon = Icon::None;
    bool asks = false;  // Yes and No in place of OK
    std::string text{};

    bool IsEmpty() const { return text.empty(); }
};

// Bank reconciliation: which of an account's recent transactions has the bank not seen yet,
// given the balance of its statement? This is the whole of it but for the window.
//
//     CBankReconciliation reconciliation(settings);
//     reconciliation.AttachRegister(lines, account.accountType);
//     message = reconciliation.Compute(balance, ask, progress);
//     ...show Solutions() and StatusLine(), let the user mark what has cleared...
//     message = reconciliation.MarkCleared(ids);
//
//   Life       Idle, computed by Compute, narrowed by each MarkCleared, and computed anew.
//   Money      Currency units; Difference() is the statement's balance minus the register's,
//              and a transaction's direction is the sign of its effect.
//   Settings   "BankReconciliation" keeps the days and the maximum. Nothing else is written.
//   Ownership  Borrows settings and register; the register must not change meanwhile.
//              Solutions and hints refer to its lines.
//   Threads    One at a time. Search may run on another thread than the rest.
class CBankReconciliation {
public:
    static constexpr int32_t kDefaultDays = 30;
    static constexpr int32_t kMostDays = 90;
    static constexpr int32_t kDefaultMaximum = 10;
    static constexpr int32_t kMostMaximum = 60;

    // True: continue with the reduced maximum.
    using Ask = std::function<bool(const ReconciliationMessage& question)>;
    // See SolverRequest::progress.
    using Progress = std::function<bool(double share)>;

    // Takes days and maximum from the settings.
    explicit CBankReconciliation(CSettingsFile& settings);

    // All lines of an account, in register order. Empties the result.
    void AttachRegister(std::span<const RegisterLine> lines, AccountType account);

    // --- parameters, as their fields hold them: any number until Begin corrects them
    int32_t LookBackDays() const { return m_days; }
    int32_t MaxTransactions() const { return m_maximum; }
    void SetLookBackDays(int64_t days);
    void SetMaxTransactions(int64_t maximum);

    // --- compute
    // Begin, the question if there is one, Search.
    ReconciliationMessage Compute(double statementBalance, const Ask& ask,
                                  const Progress& progress = {});

    // Empties the result, corrects and stores the parameters, and finds the candidates. When
    // IsReady() afterwards, Search goes on; the message is then a question or empty.
    // Otherwise it ends here, with the message (if any) that says why.
    ReconciliationMessage Begin(double statementBalance);
    bool IsReady() const { return m_ready; }
    // "No": the result stays empty.
    void Decline() { m_ready = false; }
    // The message is empty for exactly one solution, and when the search was cancelled.
    ReconciliationMessage Search(const Progress& progress = {});

    // --- the result
    double Difference() const { return m_difference; }
    // Of the look-back days; their number stays known after the search.
    size_t CandidateCount() const { return m_candidateCount; }
    // Members of a set at most: MaxTransactions, or less when the work bound asked for it.
    int32_t WorkingMaximum() const { return m_workingMaximum; }
    bool WasReduced() const { return m_reduced; }
    const COwnedList<CBankReconciliationSolutionEntry>& Solutions() const { return m_solutions; }
    // There are more solutions than the list takes; these are the first of them.
    bool IsCutShort() const { return m_cutShort; }
    bool WasCancelled() const { return m_cancelled; }
    // "There are %ld potential solutions" for two and more, else empty: hide it.
    std::string StatusLine() const;

    // Removes the solutions with any of these transactions. Does nothing with fewer than two
    // solutions. A list that was cut short is searched for anew, so that it lists what is
    // left of all solutions; cancelled, it keeps what is left of itself.
    ReconciliationMessage MarkCleared(std::span<const int64_t> transactionIds,
                                      const Progress& progress = {});

    // --- beyond the list
    const std::vector<ReconciliationHint>& Hints() const { return m_hints; }
    // Positions in Solutions(), the likeliest first: fewest transactions, then the older
    // ones, compared from the first transaction on.
    std::vector<size_t> Ranking() const;

private:
    void Reset();
    void CorrectParameters();
    void CollectCandidates();
    ReconciliationMessage ReduceMaximum();
    SolverStatus Solve(const Progress& progress, CReconciliationSets& found) const;
    void FillSolutions(const CReconciliationSets& found);
    ReconciliationMessage Outcome() const;

    CSettingsFile& m_settings;
    std::span<const RegisterLine> m_lines;
    AccountType m_account = AccountType::Checking;
    bool m_attached = false;

    int32_t m_days = kDefaultDays;
    int32_t m_maximum = kDefaultMaximum;

    double m_difference = 0.0;
    int64_t m_startDate = 0;
    int32_t m_workingMaximum = kDefaultMaximum;
    int32_t m_searchedMaximum = 0;  // less than the candidates
    bool m_reduced = false;
    bool m_ready = false;
    bool m_cutShort = false;
    bool m_cancelled = false;
    size_t m_candidateCount = 0;
    // Kept beyond the search only for a list that was cut short.
    std::vector<ReconciliationCandidate> m_candidates;
    std::vector<bool> m_cleared;  // by candidate, likewise
    COwnedList<CBankReconciliationSolutionEntry> m_solutions;
    std::vector<ReconciliationHint> m_hints;
};

}  // namespace quillon
