#pragma once

#include <string>

#include "output/CheckPrinter.h"

namespace quillon {

// Why there is no check to print, and what to do. Empty for None and for StoreFailed, of
// which the database tells more: StoreMessage.
std::string CheckMessage(const CheckTrouble& trouble);

// What to look at before the check is handed out.
std::string CheckNoteText(const CheckNote& note);

}  // namespace quillon
