#pragma once

#include <string>
#include <vector>

#include "finance/ledger/Verification.h"
#include "wording/Words.h"

namespace quillon {

// What an integrity check found, in one sentence or a few.
std::string VerificationMessage(const Verification& found);
// What to do about it where something is wrong; `repaired` tells that a repair went before.
std::string VerificationAdvice(const Verification& found, bool repaired, Medium medium);

// What stands behind the code of a table, and where, as a clause without full stop: "text 5
// belongs to two rows". Empty for nothing.
std::string IntegrityDetailText(const IntegrityDetail& detail);

// "Table_1_data.dat, bytes 0 to 4095, differs from what was written": one page.
std::string DamageText(const PageDamage& page);
// The same, one text for each run of neighbouring pages with the same fault.
std::vector<std::string> DamageTexts(const std::vector<PageDamage>& pages);
// What a repair did to damaged pages; empty for none.
std::vector<std::string> AcceptedPagesNotes(const std::vector<PageDamage>& accepted);

// "the balance of 'Checking' is stored as 1.00, and its transactions add up to 2.00".
std::string BalanceText(const BalanceMismatch& mismatch);
// That a newer version worked in the ledger.
std::string SkippedColumnNote(const Verification::SkippedColumn& column);

}  // namespace quillon
