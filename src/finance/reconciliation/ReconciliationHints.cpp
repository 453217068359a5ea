#include "finance/reconciliation/ReconciliationHints.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <unordered_map>
#include <utility>

#include "finance/ledger/Balance.h"
#include "foundation/CalendarDate.h"

namespace quillon {

namespace {

constexpr int64_t kNearDays = 5;
constexpr double kMostCents = 0x1p53;

bool IsSameAmount(double a, double b) {
    return std::fabs(a - b) < kSameAmount;
}

// The hints of one kind, taken newest first.
class CHints {
public:
    explicit CHints(std::vector<ReconciliationHint>& hints, ReconciliationHintKind kind)
        : m_hints(hints), m_kind(kind) {}

    bool IsFull() const { return m_count == kMostHintsOfAKind; }
    ReconciliationHint& Add(std::vector<const RegisterLine*> lines) {
        ++m_count;
        return m_hints.emplace_back(ReconciliationHint{.kind = m_kind, .lines = std::move(lines)});
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
        if (IsSameAmount(-2 * line.effect, request.difference)) found.Add({&line});
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
        if (right >= 0) found.Add({&line}).rightAmount = static_cast<double>(right) / 100;
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
        found.Add({&line, other});
    }
}

void AddOutsideDays(const HintRequest& request, std::vector<ReconciliationHint>& hints) {
    CHints found(hints, ReconciliationHintKind::OutsideDays);
    for (size_t i = request.lines.size(); i-- > 0 && !found.IsFull();) {
        const RegisterLine& line = request.lines[i];
        if (line.row.serviceDate >= request.startDate || !ExplainsAlone(line, request)) continue;
        found.Add({&line}).days =
            DaysBetween(line.row.serviceDate, request.lines.back().row.serviceDate);
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
    CHints(hints, ReconciliationHintKind::AllCandidates).Add(std::move(lines));
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
