#include "query/NoSQLEvaluator.h"

#include <algorithm>
#include <bit>
#include <iterator>
#include <string_view>

#include "foundation/Unicode.h"

namespace quillon {
namespace {

template <typename T>
bool Compare(WhereOperator operation, const T& value, const T& against) {
    switch (operation) {
        case WhereOperator::Equal:
            return value == against;
        case WhereOperator::Differs:
            return !(value == against);
        case WhereOperator::Less:
            return value < against;
        case WhereOperator::Greater:
            return value > against;
        case WhereOperator::LessOrEqual:
            return value <= against;
        case WhereOperator::GreaterOrEqual:
            return value >= against;
        default:
            return false;
    }
}

bool CompareInt64(const CNoSQLWhereClauseSegment& segment, int64_t value) {
    if (segment.Operator() == WhereOperator::InSet) return segment.Set().Contains(value);
    return Compare(segment.Operator(), value, segment.Value().int64);
}

// File times are unsigned to the systems that made them.
bool CompareDateTime(const CNoSQLWhereClauseSegment& segment, int64_t value) {
    return Compare(segment.Operator(), static_cast<uint64_t>(value),
                   static_cast<uint64_t>(segment.Value().dateTime));
}

bool CompareText(const CNoSQLWhereClauseSegment& segment, const CKeelString& value) {
    const CKeelString& against = segment.Value().text;
    const std::string_view view = value.View();
    switch (segment.Operator()) {
        case WhereOperator::Contains:
            return view.find(against.View()) != std::string_view::npos;
        case WhereOperator::ContainedIn:
            return against.View().find(view) != std::string_view::npos;
        case WhereOperator::EqualIgnoringCase:
            return FoldCase(view) == segment.FoldedText();
        case WhereOperator::DiffersIgnoringCase:
            return FoldCase(view) != segment.FoldedText();
        case WhereOperator::ContainsIgnoringCase:
            return FoldCase(view).find(segment.FoldedText()) != std::string::npos;
        case WhereOperator::ContainedInIgnoringCase:
            return segment.FoldedText().find(FoldCase(view)) != std::string::npos;
        case WhereOperator::MatchesWildcard:
            return MatchesWildcard(against.View(), view);
        default:
            return Compare(segment.Operator(), value, against);
    }
}

// Row identifiers are dense, so marking them in a bitmap beats sorting them.
bool MakeSetByBitmap(std::vector<int64_t>& rows) {
    const auto [lowest, highest] = std::minmax_element(rows.begin(), rows.end());
    const int64_t base = *lowest;
    const uint64_t span = static_cast<uint64_t>(*highest) - static_cast<uint64_t>(base);
    constexpr uint64_t kBits = 64;
    if (span / kBits > rows.size()) return false;

    std::vector<uint64_t> marks(static_cast<size_t>(span / kBits + 1));
    for (const int64_t row : rows) {
        const uint64_t bit = static_cast<uint64_t>(row) - static_cast<uint64_t>(base);
        marks[static_cast<size_t>(bit / kBits)] |= uint64_t{1} << (bit % kBits);
    }
    rows.clear();
    for (size_t word = 0; word < marks.size(); ++word) {
        for (uint64_t left = marks[word]; left != 0; left &= left - 1) {
            const uint64_t bit = word * kBits + static_cast<uint64_t>(std::countr_zero(left));
            rows.push_back(static_cast<int64_t>(static_cast<uint64_t>(base) + bit));
        }
    }
    return true;
}

}  // namespace

bool CNoSQLEvaluator::Matches(const CNoSQLWhereClauseSegment& segment,
                              const CTableRowUpdateInfoValue& value) {
    if (!segment.CanMatch() || value.type != segment.Type()) return false;
    switch (value.type) {
        case ColumnType::Text:
            return CompareText(segment, value.isSet ? value.text : CKeelString());
        case ColumnType::Boolean:
            return Compare(segment.Operator(), value.boolean, segment.Value().boolean);
        case ColumnType::Int32:
            return Compare(segment.Operator(), value.int32, segment.Value().int32);
        case ColumnType::Int64:
            return CompareInt64(segment, value.int64);
        case ColumnType::Double:
            return Compare(segment.Operator(), value.number, segment.Value().number);
        case ColumnType::DateTime:
            return CompareDateTime(segment, value.dateTime);
    }
    return false;
}

bool CNoSQLEvaluator::MatchesKey(const CNoSQLWhereClauseSegment& segment, int64_t key) {
    if (!segment.CanMatch()) return false;
    switch (segment.Type()) {
        case ColumnType::Text:
            return false;
        case ColumnType::Boolean:
            return Compare(segment.Operator(), key != 0, segment.Value().boolean);
        case ColumnType::Int32:
            return Compare(segment.Operator(), key, int64_t{segment.Value().int32});
        case ColumnType::Int64:
            return CompareInt64(segment, key);
        case ColumnType::Double:
            return Compare(segment.Operator(), std::bit_cast<double>(key), segment.Value().number);
        case ColumnType::DateTime:
            return CompareDateTime(segment, key);
    }
    return false;
}

void CNoSQLEvaluator::MakeSet(std::vector<int64_t>& rows) {
    const auto notAscending = [](int64_t a, int64_t b) { return a >= b; };
    if (std::adjacent_find(rows.begin(), rows.end(), notAscending) == rows.end()) return;
    if (MakeSetByBitmap(rows)) return;
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
}

void CNoSQLEvaluator::Unite(std::vector<int64_t>& result, const std::vector<int64_t>& rows) {
    std::vector<int64_t> both;
    both.reserve(result.size() + rows.size());
    std::set_union(result.begin(), result.end(), rows.begin(), rows.end(),
                   std::back_inserter(both));
    result.swap(both);
}

void CNoSQLEvaluator::Intersect(std::vector<int64_t>& result, const std::vector<int64_t>& rows) {
    auto next = rows.begin();
    std::erase_if(result, [&](int64_t row) {
        while (next != rows.end() && *next < row) ++next;
        return next == rows.end() || *next != row;
    });
}

}  // namespace quillon
