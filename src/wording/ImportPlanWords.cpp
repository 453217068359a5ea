#include "wording/ImportPlanWords.h"

namespace quillon {

const char* NameOf(PlanOutcome outcome) {
    switch (outcome) {
        case PlanOutcome::Repeated:
            return "repeated";
        case PlanOutcome::Held:
            return "held";
        case PlanOutcome::Refused:
            return "refused";
        case PlanOutcome::Unreadable:
            return "unreadable";
        case PlanOutcome::Matches:
            return "matches";
        case PlanOutcome::Maybe:
            return "maybe";
        case PlanOutcome::New:
            break;
    }
    return "new";
}

const char* NameOf(PlanAction action) {
    switch (action) {
        case PlanAction::Skip:
            return "skip";
        case PlanAction::Match:
            return "match";
        case PlanAction::Enter:
            break;
    }
    return "enter";
}

std::string PlanActionText(const ImportPlanRow& row) {
    const bool isKnown = row.outcome == PlanOutcome::Held || row.outcome == PlanOutcome::Repeated;
    if (row.action == PlanAction::Skip && isKnown) return "known already";
    std::string text = NameOf(row.action);
    if (row.action == PlanAction::Match) {
        text += " " + std::to_string(row.match);
    } else if (row.action == PlanAction::Enter && row.outcome == PlanOutcome::Maybe) {
        text += ", may be " + std::to_string(row.match);
    }
    return text;
}

}  // namespace quillon
