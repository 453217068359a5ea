#include "wording/Words.h"

namespace quillon {

std::string Counted(int64_t count, const std::string& one, const std::string& many) {
    std::string digits = std::to_string(count);
    for (size_t place = digits.size(); place > 3;) digits.insert(place -= 3, ",");
    return digits + " " + (count == 1 ? one : many);
}

}  // namespace quillon
