#pragma once

#include <cstddef>
#include <vector>

namespace quillon {

enum class SortDirection { Ascending, Descending };

// The ordering framework: a derived class compares two rows of whatever it orders, this one
// sorts positions with it.
class CSortManager {
public:
    virtual ~CSortManager() = default;

    // Negative, zero or positive, for rows given by position.
    virtual int CompareRows(size_t a, size_t b) const = 0;

    // Stable: equal rows keep their order, in either direction.
    void Sort(std::vector<size_t>& positions,
              SortDirection direction = SortDirection::Ascending) const;
};

}  // namespace quillon
