#include "query/SortManager.h"

#include <algorithm>

namespace quillon {

void CSortManager::Sort(std::vector<size_t>& positions, SortDirection direction) const {
    if (direction == SortDirection::Ascending) {
        std::stable_sort(positions.begin(), positions.end(),
                         [this](size_t a, size_t b) { return CompareRows(a, b) < 0; });
    } else {
        std::stable_sort(positions.begin(), positions.end(),
                         [this](size_t a, size_t b) { return CompareRows(a, b) > 0; });
    }
}

}  // namespace quillon
