#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "query/NoSQLDatabaseResults.h"
#include "query/SortManager.h"

namespace quillon {

// Orders the rows of a result by one column. The keys are read once, when it is made.
//
//   Order   texts ignoring case, false before true, numbers by value and date-times as file
//           times. NaN stands behind every number. A row that cannot be read, one deleted
//           meanwhile among them, sorts as its type's zero or empty value.
//   Ties    Equal values compare as zero.
//   Errors  The constructor throws std::bad_alloc when memory runs out.
class CNoSQLDatabaseResultsSortManager final : public CSortManager {
public:
    CNoSQLDatabaseResultsSortManager(const CNoSQLDatabaseResults& results, std::string_view column,
                                     ColumnType type);

    // Positions in the result as it was when the keys were read.
    int CompareRows(size_t a, size_t b) const override;

private:
    ColumnType m_type;
    std::vector<std::string> m_texts;  // case folded
    std::vector<double> m_doubles;
    std::vector<uint64_t> m_numbers;  // everything else, so that unsigned order is right
};

}  // namespace quillon
