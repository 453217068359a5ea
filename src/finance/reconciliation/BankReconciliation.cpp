#include "finance/reconciliation/BankReconciliation.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <numeric>
#include <unordered_set>
#include <utility>

#include "finance/ledger/Balance.h"
#include "foundation/CalendarDate.h"
#include "foundation/CurrencyFormat.h"
#include "settings/SettingsNames.h"

namespace quillon {

namespace {

using Icon = ReconciliationMessage::Icon;

constexpr char kBalancesMatch[] =
    "The bank balance entered and the account balance match.\n\n"
    "There are no transactions outstanding to report.";

constexpr char kNoSolution[] = "No solution was found for the specified bank balance.\n\n";
constexpr char kNoSolutionLeft[] =
    "A solution could not be found for the specified bank balance considering the transactions "
    "you indicated have cleared the bank.\n\n";
constexpr char kWhatToCheck[] =
    "Make sure you have recorded all the current bank transactions in Quillon, including all "
    "bank charges, interest payments, automatic electronic payments, etc.\n\n"
    "Also make sure the bank balance entered is correct.\n\n"
    "You may also need to increase the maximum number of transactions to look for and the "
    "number of look back days to ensure you include all outstanding transactions.";

std::string ReducedQuestion(size_t candidates, int32_t maximum) {
    return "The look back days contain " + std::to_string(candidates) +
           " transactions. In order to compute the reconciliation results in reasonable time the "
           "maximum number of transactions was reduced to " +
           std::to_string(maximum) +
           ".\n\nIf you wish to keep the specified maximum transactions reduce the number of look "
           "back days.\n\nDo you want to continue using the reduced maximum transactions?";
}

std::string MultipleSolutions(double difference) {
    return "Multiple solutions were found that satisfy the reconciliation amount of " +
           FormatCurrency(std::fabs(difference)) +
           ".\n\nTo determine which solution is correct you will need to click on those "
           "transactions in the result display that have cleared the bank. Continue clicking on "
           "cleared transactions until the actual reconciliation is found.";
}

std::string Reconciled(double difference) {
    return "You have successfully reconciled the the " + FormatCurrency(std::fabs(difference)) +
           " difference between your bank balance and your Quillon balance.";
}

int32_t Narrowed(int64_t value) {
    return static_cast<int32_t>(std::clamp<int64_t>(value, std::numeric_limits<int32_t>::min(),
                                                    std::numeric_limits<int32_t>::max()));
}

}  // namespace

CBankReconciliation::CBankReconciliation(CSettingsFile& settings) : m_settings(settings) {
    int64_t value = 0;
    if (settings.ReadInteger(settings::kBankReconciliation, settings::kLookBackDays, value)) {
        m_days = Narrowed(value);
    }
    if (settings.ReadInteger(settings::kBankReconciliation, settings::kMaxTransactions, value)) {
        m_maximum = Narrowed(value);
    }
}

void CBankReconciliation::AttachRegister(std::span<const RegisterLine> lines, AccountType account) {
    Reset();
    m_lines = lines;
    m_account = account;
    m_attached = true;
}

void CBankReconciliation::SetLookBackDays(int64_t days) {
    m_days = Narrowed(days);
}

void CBankReconciliation::SetMaxTransactions(int64_t maximum) {
    m_maximum = Narrowed(maximum);
}

void CBankReconciliation::Reset() {
    m_solutions.Clear();
    m_hints.clear();
    m_candidates.clear();
    m_cleared.clear();
    m_candidateCount = 0;
    m_difference = 0.0;
    m_workingMaximum = m_maximum;
    m_reduced = m_ready = m_cutShort = m_cancelled = false;
}

// --- compute

ReconciliationMessage CBankReconciliation::Compute(double statementBalance, const Ask& ask,
                                                   const Progress& progress) {
    ReconciliationMessage message = Begin(statementBalance);
    if (!IsReady()) return message;
    if (message.asks && !(ask && ask(message))) {
        Decline();
        return {};
    }
    return Search(progress);
}

ReconciliationMessage CBankReconciliation::Begin(double statementBalance) {
    Reset();
    if (!m_attached || m_lines.empty()) return {};
    CorrectParameters();
    m_difference = statementBalance - m_lines.back().balance;
    if (std::fabs(m_difference) < kSameAmount) {
        return {.icon = Icon::Information, .text = kBalancesMatch};
    }
    CollectCandidates();
    m_ready = true;
    return ReduceMaximum();
}

void CBankReconciliation::CorrectParameters() {
    if (m_days < 0) m_days = kDefaultDays;
    if (m_days > kMostDays) m_days = kMostDays;
    if (m_maximum < 0) m_maximum = kDefaultMaximum;
    if (m_maximum > kMostMaximum) m_maximum = kMostMaximum;
    m_workingMaximum = m_maximum;
    // A settings file that cannot be written is no reason not to reconcile.
    (void)m_settings.WriteInteger(settings::kBankReconciliation, settings::kLookBackDays, m_days);
    (void)m_settings.WriteInteger(settings::kBankReconciliation, settings::kMaxTransactions,
                                  m_maximum);
}

void CBankReconciliation::CollectCandidates() {
    m_startDate = StartOfDay(AddDays(m_lines.back().row.serviceDate, -m_days));
    for (const RegisterLine& line : m_lines) {
        const CTransactionEntry& row = line.row;
        if (row.serviceDate < m_startDate || std::fabs(row.amount) < kSameAmount) continue;
        // By its type alone, so that amount and direction together are the effect even of an
        // amount that an old ledger holds with a sign.
        const bool in = BalanceEffect(row.transactionType, 1.0, m_account) > 0;
        m_candidates.push_back(
            {.entry = &line,
             .amount = row.amount,
             .direction = in ? ReconciliationCandidate::kIn : ReconciliationCandidate::kOut,
             .date = row.serviceDate});
    }
    m_candidateCount = m_candidates.size();
}

ReconciliationMessage CBankReconciliation::ReduceMaximum() {
    const auto count = static_cast<int64_t>(m_candidateCount);
    m_searchedMaximum = static_cast<int32_t>(std::min<int64_t>(m_maximum, count - 1));
    const int32_t reduced = ReducedMaximum(count, m_searchedMaximum);
    if (CountSubsets(count, m_searchedMaximum) <= kMostSubsets) return {};
    m_workingMaximum = m_searchedMaximum = reduced;
    m_reduced = true;
    return {.icon = Icon::Stop, .asks = true, .text = ReducedQuestion(m_candidateCount, reduced)};
}

ReconciliationMessage CBankReconciliation::Search(const Progress& progress) {
    if (!std::exchange(m_ready, false)) return {};
    CReconciliationSets found;
    const SolverStatus status = Solve(progress, found);
    m_cancelled = status == SolverStatus::Cancelled;
    if (m_cancelled) return {};
    m_cutShort = status == SolverStatus::TooMany;
    FillSolutions(found);
    m_hints = FindReconciliationHints({.lines = m_lines,
                                       .candidates = m_candidates,
                                       .startDate = m_startDate,
                                       .difference = m_difference},
                                      !m_solutions.IsEmpty());
    if (!m_cutShort) std::vector<ReconciliationCandidate>().swap(m_candidates);
    if (m_solutions.IsEmpty()) {
        return {.icon = Icon::Stop, .text = std::string(kNoSolution) + kWhatToCheck};
    }
    if (m_solutions.Count() == 1) return {};
    return {.icon = Icon::Information, .text = MultipleSolutions(m_difference)};
}

SolverStatus CBankReconciliation::Solve(const Progress& progress,
                                        CReconciliationSets& found) const {
    return SolveReconciliation({.candidates = m_candidates,
                                .difference = m_difference,
                                .maximum = m_searchedMaximum,
                                .excluded = m_cleared,
                                .progress = progress},
                               found);
}

// A solution for which there is no memory is left out, and the list is cut short.
void CBankReconciliation::FillSolutions(const CReconciliationSets& found) {
    m_solutions.Clear();
    try {
        for (size_t set = 0; set < found.Count(); ++set) {
            auto solution = std::make_unique<CBankReconciliationSolutionEntry>();
            for (const int32_t member : found[set]) {
                solution->Add(*m_candidates[static_cast<size_t>(member)].entry);
            }
            m_solutions.Add(std::move(solution));
        }
    } catch (const std::bad_alloc&) {
        m_cutShort = true;
    }
}

std::string CBankReconciliation::StatusLine() const {
    if (m_solutions.Count() < 2) return {};
    return "There are " + std::to_string(m_solutions.Count()) + " potential solutions";
}

// --- elimination

ReconciliationMessage CBankReconciliation::MarkCleared(std::span<const int64_t> transactionIds,
                                                       const Progress& progress) {
    if (m_solutions.Count() < 2 || transactionIds.empty()) return {};
    const std::unordered_set<int64_t> cleared(transactionIds.begin(), transactionIds.end());
    const size_t removed =
        m_solutions.RemoveIf([&cleared](const CBankReconciliationSolutionEntry& solution) {
            return solution.ContainsAnyOf(cleared);
        });
    if (removed == 0) return {};
    if (m_cutShort) {
        m_cleared.resize(m_candidates.size());
        for (size_t i = 0; i < m_candidates.size(); ++i) {
            if (cleared.contains(m_candidates[i].entry->row.id)) m_cleared[i] = true;
        }
        CReconciliationSets found;
        const SolverStatus status = Solve(progress, found);
        if (status == SolverStatus::Cancelled) return {};
        m_cutShort = status == SolverStatus::TooMany;
        FillSolutions(found);
    }
    return Outcome();
}

ReconciliationMessage CBankReconciliation::Outcome() const {
    if (m_solutions.IsEmpty()) {
        return {.icon = Icon::Stop, .text = std::string(kNoSolutionLeft) + kWhatToCheck};
    }
    if (m_solutions.Count() > 1 || m_cutShort) return {};
    return {.icon = Icon::Information, .text = Reconciled(m_difference)};
}

// --- beyond the list

std::vector<size_t> CBankReconciliation::Ranking() const {
    struct Place {
        size_t position;
        const CBankReconciliationSolutionEntry* solution;
    };
    std::vector<Place> places;
    places.reserve(m_solutions.Size());
    for (const CBankReconciliationSolutionEntry& solution : m_solutions) {
        places.push_back({places.size(), &solution});
    }
    const auto isOlder = [](const CKeelList& a, const CKeelList& b) {
        const auto dateOf = [](const CKeelListElement* element) {
            return static_cast<const RegisterLine*>(element->Payload())->row.serviceDate;
        };
        const CKeelListElement* left = a.Head();
        const CKeelListElement* right = b.Head();
        for (; left && right; left = left->Next(), right = right->Next()) {
            if (dateOf(left) != dateOf(right)) return dateOf(left) < dateOf(right);
        }
        return false;
    };
    std::stable_sort(places.begin(), places.end(), [&isOlder](const Place& a, const Place& b) {
        const int32_t countA = a.solution->Count();
        const int32_t countB = b.solution->Count();
        return countA != countB ? countA < countB : isOlder(a.solution->List(), b.solution->List());
    });
    std::vector<size_t> ranking;
    ranking.reserve(places.size());
    for (const Place& place : places) ranking.push_back(place.position);
    return ranking;
}

}  // namespace quillon
