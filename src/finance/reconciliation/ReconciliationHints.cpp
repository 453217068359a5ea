#include "finance/reconciliation/ReconciliationHints.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>
#include <utility>

#include "finance/ledger/Balance.h"
#include "foundation/CalendarDate.h"
#include "foundation/CurrencyFormat.h"

namespace quillon {

namespace {

constexpr int64_t kNearDays = 5;
constexpr double kMostCents = 0x1p53;

bool IsSameAmount(double a, double b) {
    return std::fabs(a - b) < kSameAmount;
}

std::string DateOf(const RegisterLine& line) {
    return FormatIsoDate(line.row.serviceDate);
}

std::string AmountOf(const RegisterLine& line) {
    return FormatCurrency(std::fabs(line.effect));
}

// The hints of one kind, taken newest first.
class CHints {
public:
    explicit CHints(std::vector<ReconciliationHint>& hints, ReconciliationHintKind kind)
        : m_hints(hints), m_kind(kind) {}

    bool IsFull() const { return m_count == kMostHintsOfAKind; }
    void Add(std::vector<const RegisterLine*> lines, std::string text) {
        m_hints.push_back({m_kind, std::move(lines), std::move(text)});
        ++m_count;
    }

private:
    std::vector<ReconciliationHint>& m_hints;
    ReconciliationHintKind m_kind;
    size_t m_count = 0;
};

// On the other side its effect is the opposite, which is twice its amount away.
void AddWrongSides(const HintRequest& request, std::vector<ReconciliationHint>& hints) {
    CHints found(hints, ReconciliationHintKind::WrongSide);
    for (size_t i = request.candidates.size(); i-- > 0 && !found.IsFull();) {
        const RegisterLine& line = *request.candidates[i].entry;
        if (!IsSameAmount(-2 * line.effect, request.difference)) continue;
        const bool in = line.effect > 0;
        found.Add({&line}, AmountOf(line) + " on " + DateOf(line) +
                               " is half of the difference and " + (in ? "comes in" : "goes out") +
                               "; it should perhaps " + (in ? "go out" : "come in") + ".");
    }
}

// An amount that has the digits of `cents` but for two neighbours swapped, and is larger by
// `more`; -1 for none.
int64_t SwappedBy(int64_t cents, int64_t more) {
    std::string digits = std::to_string(cents);
    if (digits.size() < 3) digits.insert(0, 3 - digits.size(), '0');
    int64_t place = 1;  // of the right one of the two
    for (size_t i = digits.size() - 1; i > 0; --i, place *= 10) {
        const int64_t rise = digits[i] - digits[i - 1];
        if (rise != 0 && rise * 9 * place == more) return cents + more;
    }
    return -1;
}

void AddTransposed(const HintRequest& request, std::vector<ReconciliationHint>& hints) {
    if (!(std::fabs(request.difference) * 100 < kMostCents)) return;
    const auto difference = static_cast<int64_t>(std::llround(request.difference * 100));
    if (difference % 9 != 0 ||
        !IsSameAmount(static_cast<double>(difference) / 100, request.difference)) {
        return;
    }
    CHints found(hints, ReconciliationHintKind::Transposed);
    for (size_t i = request.candidates.size(); i-- > 0 && !found.IsFull();) {
        const RegisterLine& line = *request.candidates[i].entry;
        const double amount = std::fabs(line.effect);
        if (!(amount * 100 < kMostCents)) continue;
        const auto cents = static_cast<int64_t>(std::llround(amount * 100));
        if (!IsSameAmount(static_cast<double>(cents) / 100, amount)) continue;
        const int64_t right = SwappedBy(cents, line.effect > 0 ? difference : -difference);
        if (right < 0) continue;
        found.Add({&line}, AmountOf(line) + " on " + DateOf(line) +
                               " may have two digits swapped; " +
                               FormatCurrency(static_cast<double>(right) / 100) +
                               " would explain the difference.");
    }
}

bool ExplainsAlone(const RegisterLine& line, const HintRequest& request) {
    return IsSameAmount(-line.effect, request.difference) && std::fabs(line.effect) >= kSameAmount;
}

void AddEnteredTwice(const HintRequest& request, std::vector<ReconciliationHint>& hints) {
    CHints found(hints, ReconciliationHintKind::EnteredTwice);
    std::unordered_map<int64_t, const RegisterLine*> later;  // by payee
    for (size_t i = request.lines.size(); i-- > 0 && !found.IsFull();) {
        const RegisterLine& line = request.lines[i];
        if (line.row.payeeId <= kNoRow || !ExplainsAlone(line, request)) continue;
        const RegisterLine* const other = std::exchange(later[line.row.payeeId], &line);
        if (!other || DaysBetween(line.row.serviceDate, other->row.serviceDate) > kNearDays) {
            continue;
        }
        const std::string days = DateOf(line) == DateOf(*other)
                                     ? "twice on " + DateOf(line)
                                     : "on " + DateOf(line) + " and on " + DateOf(*other);
        found.Add({&line, other},
                  AmountOf(line) + " for the same payee was entered " + days +
                      "; if that is one time too many, it explains the difference.");
    }
}

void AddOutsideDays(const HintRequest& request, std::vector<ReconciliationHint>& hints) {
    CHints found(hints, ReconciliationHintKind::OutsideDays);
    for (size_t i = request.lines.size(); i-- > 0 && !found.IsFull();) {
        const RegisterLine& line = request.lines[i];
        if (line.row.serviceDate >= request.startDate || !ExplainsAlone(line, request)) continue;
        const int64_t days =
            DaysBetween(line.row.serviceDate, request.lines.back().row.serviceDate);
        found.Add({&line}, AmountOf(line) + " on " + DateOf(line) +
                               " explains the difference, but lies outside the look back days: " +
                               std::to_string(days) + " would include it.");
    }
}

void AddAllCandidates(const HintRequest& request, std::vector<ReconciliationHint>& hints) {
    const size_t count = request.candidates.size();
    if (count < 2) return;
    std::vector<int32_t> members(count);
    for (size_t i = 0; i < count; ++i) members[i] = static_cast<int32_t>(i);
    if (!ExplainsDifference(request.candidates, members, request.difference)) return;
    std::vector<const RegisterLine*> lines;
    lines.reserve(count);
    for (const ReconciliationCandidate& candidate : request.candidates) {
        lines.push_back(candidate.entry);
    }
    CHints(hints, ReconciliationHintKind::AllCandidates)
        .Add(std::move(lines), "All " + std::to_string(count) +
                                   " transactions of the look back days together explain the "
                                   "difference; perhaps none of them has cleared the bank.");
}

}  // namespace

std::vector<ReconciliationHint> FindReconciliationHints(const HintRequest& request,
                                                        bool solutionsFound) {
    std::vector<ReconciliationHint> hints;
    if (!solutionsFound) {
        AddAllCandidates(request, hints);
        AddWrongSides(request, hints);
        AddTransposed(request, hints);
    }
    AddEnteredTwice(request, hints);
    if (!solutionsFound) AddOutsideDays(request, hints);
    return hints;
}

const char* KeyOf(ReconciliationHintKind kind) {
    switch (kind) {
        case ReconciliationHintKind::WrongSide:
            return "wrongSide";
        case ReconciliationHintKind::Transposed:
            return "transposed";
        case ReconciliationHintKind::EnteredTwice:
            return "enteredTwice";
        case ReconciliationHintKind::OutsideDays:
            return "outsideDays";
        case ReconciliationHintKind::AllCandidates:
            return "allCandidates";
    }
    return "";
}

}  // namespace quillon
