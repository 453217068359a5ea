#include "cli/terminal/HistoryOutput.h"

#include "cli/terminal/Failure.h"
#include "foundation/CalendarDate.h"

namespace quillon {

namespace {

const char* NameOf(ActionKind kind) {
    switch (kind) {
        case ActionKind::Change:
            return "change";
        case ActionKind::Import:
            return "import";
        case ActionKind::ImportUndone:
            return "import undone";
    }
    return "change";  // of a kind that a newer version knows
}

}  // namespace

void RequireTaken(const HistoryOutcome& outcome, HistoryQuestion question) {
    if (outcome.status == HistoryStatus::Ok) return;
    throw CFailure(HistoryMessage(outcome, question, Medium::Terminal));
}

const char* StateName(ActionState state) {
    switch (state) {
        case ActionState::Done:
            return "done";
        case ActionState::Undone:
            return "undone";
        case ActionState::UndoneInPart:
            return "undone in part";
    }
    return "";
}

std::string TimeText(int64_t fileTime) {
    std::string text = FormatIsoTime(fileTime).substr(0, 16);
    if (text.size() > 10) text[10] = ' ';
    return text;
}

Json ActionJson(const HistoryAction& action) {
    Json tables = Json::array();
    for (const ActionTable& table : action.tables) {
        tables.push_back({{"table", table.table},
                          {"added", table.added},
                          {"changed", table.changed},
                          {"deleted", table.deleted}});
    }
    return {{"number", action.number},          {"time", FormatIsoTime(action.time)},
            {"label", ActionLabel(action)},     {"kind", NameOf(action.kind)},
            {"state", StateName(action.state)}, {"tables", tables}};
}

}  // namespace quillon
