#include "WhereOracle.h"

#include <algorithm>
#include <iterator>

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
    // Empty texts are neither before nor after anything.
    const bool ordered = !v.empty() && !x.empty();
    const bool less = ordered && v < x;
    const bool greater = ordered && v > x;
    const std::string lower = Lower(v);
    const std::string wanted = Lower(x);
    const bool passes[] = {v == x,
                           v != x,
                           less,
                           greater,
                           less || v == x,
                           greater || v == x,
                           Has(v, x),
                           Has(x, v),
                           lower == wanted,
                           lower != wanted,
                           Has(lower, wanted),
                           Has(wanted, lower),
                           Wildcard(wanted, 0, lower, 0)};
    return code >= 0 && code < std::ssize(passes) && passes[code];
}

template <typename T>
bool NumberPasses(T v, int code, T x) {
    const bool passes[] = {v == x, v != x, (v < x), (v > x), v <= x, v >= x};
    return code >= 0 && code < std::ssize(passes) && passes[code];
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
