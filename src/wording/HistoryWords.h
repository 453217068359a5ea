#pragma once

#include <string>

#include "finance/history/History.h"
#include "wording/Words.h"

namespace quillon {

// What an action did: its label, or what its rows tell. "Import visa.qfx, 38 transactions".
std::string ActionLabel(const HistoryAction& action);

// Why the history could not do what was asked, and what to do. Empty for Ok; of StoreFailed the
// database tells more: StoreMessage.
enum class HistoryQuestion { Undo, Redo, Look };
std::string HistoryMessage(const HistoryOutcome& outcome, HistoryQuestion question, Medium medium);

}  // namespace quillon
