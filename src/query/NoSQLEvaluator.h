#pragma once

#include <cstdint>
#include <vector>

#include "query/NoSQLWhereClauseSegment.h"

namespace quillon {

// Tests values against a segment and combines sets of rows. A set of rows is a vector of row
// identifiers, ascending and without duplicates. std::bad_alloc passes through.
class CNoSQLEvaluator {
public:
    // The operator's test. A text that is absent reads as the empty text. False as well when
    // the segment has no column or its column is not of the value's type.
    static bool Matches(const CNoSQLWhereClauseSegment& segment,
                        const CTableRowUpdateInfoValue& value);
    // The same for a value given as an index key; never true for texts, whose keys are hashes.
    static bool MatchesKey(const CNoSQLWhereClauseSegment& segment, int64_t key);

    // Brings rows in any order into the form of a set.
    static void MakeSet(std::vector<int64_t>& rows);
    static void Unite(std::vector<int64_t>& result, const std::vector<int64_t>& rows);
    static void Intersect(std::vector<int64_t>& result, const std::vector<int64_t>& rows);
};

}  // namespace quillon
