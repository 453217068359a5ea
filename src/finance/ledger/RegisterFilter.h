#pragma once

#include <optional>
#include <string>

#include "finance/ledger/AccountRegister.h"
#include "finance/names/NameTables.h"

namespace quillon {

// Which lines of a register somebody wants to see. Filters hide lines; the running balance
// goes over all of them.
struct RegisterFilter {
    std::optional<int64_t> from;  // dates, both included
    std::optional<int64_t> to;
    std::optional<std::string> payee;     // a name, or a pattern with * and ?
    std::optional<std::string> category;  // the same
    // Ignoring case in payee, category, memo, number or the shown amount.
    std::optional<std::string> contains;

    bool HasDates() const { return from || to; }
    // No date lies between the two.
    bool IsEmptyRange() const { return from && to && *from > *to; }
    // By names and text; the dates are Read's.
    bool Shows(const RegisterLine& line, const CNameTables& names) const;
    // The lines of the account that lie between the dates. False: a read failed.
    [[nodiscard]] bool Read(CQuillonDatabaseInterface& database, const CAccountEntry& account,
                            std::vector<RegisterLine>& lines) const;
};

// A pattern may match nothing; a name without * and ? must exist.
bool HasWildcard(std::string_view pattern);

// "1024" for a check, "ATM" and its kin for an electronic payment, or empty.
std::string NumberText(const CTransactionEntry& row);

}  // namespace quillon
