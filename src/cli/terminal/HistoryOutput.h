#pragma once

#include <string>

#include "cli/terminal/Json.h"
#include "finance/history/History.h"
#include "wording/HistoryWords.h"

namespace quillon {

// What the commands of the history have in common.

// Throws CFailure unless it was done.
void RequireTaken(const HistoryOutcome& outcome, HistoryQuestion question);

// "done", "undone", "undone in part".
const char* StateName(ActionState state);
// "2026-11-25 20:15", UTC.
std::string TimeText(int64_t fileTime);
Json ActionJson(const HistoryAction& action);

}  // namespace quillon
