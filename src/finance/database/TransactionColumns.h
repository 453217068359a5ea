#pragma once

#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

namespace quillon {

// Transactions as columns, for who shows or adds up many: read from the indexes at once, where
// a list of records would read every row. Rows stand in the order of their identifiers, each in
// the same place of every column; references to none are 0.

// The numbers of the rows of one account.
struct TransactionNumbers {
    std::vector<int64_t> ids;
    std::vector<int64_t> dates;
    std::vector<int64_t> payees;
    std::vector<int64_t> categories;
    std::vector<int32_t> types;  // TransactionType
    std::vector<int32_t> checks;
    std::vector<double> amounts;
};

// When payees and categories were used in one account.
struct TransactionUses {
    std::vector<int64_t> dates;
    std::vector<int64_t> payees;
    std::vector<int64_t> categories;
};

// What tells whether a line of a statement is held already.
struct TransactionIdentities {
    std::vector<int64_t> ids;
    std::vector<int64_t> dates;
    std::vector<int64_t> payees;
    std::vector<int32_t> types;  // TransactionType
    std::vector<int32_t> checks;
    std::vector<double> amounts;
    std::vector<int64_t> fitIds;  // 0: no statement brought the row
};

// Whether a row is asked for, by what is cheapest to read.
using TransactionChoice = std::function<bool(int64_t date, int32_t type, double amount)>;

// The views are good during the call.
using TransactionTextVisit =
    std::function<void(size_t place, std::string_view memo, std::string_view electronic)>;

}  // namespace quillon
