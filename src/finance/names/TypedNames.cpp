#include "finance/names/TypedNames.h"

#include <algorithm>
#include <new>
#include <utility>

#include "foundation/Unicode.h"

namespace quillon {

namespace {

constexpr size_t kMostNear = 3;
constexpr size_t kLongestCompared = 64;  // code units; the distance is quadratic in it

// Edits that make one text the other, at most.
size_t EditDistance(std::u16string_view a, std::u16string_view b) {
    std::vector<size_t> row(b.size() + 1);
    for (size_t j = 0; j < row.size(); ++j) row[j] = j;
    for (size_t i = 1; i <= a.size(); ++i) {
        size_t diagonal = std::exchange(row[0], i);
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t changed = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({changed, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row.back();
}

// Less is nearer; nothing above kFar is worth naming.
constexpr size_t kFar = 100;
constexpr size_t kPart = 20;  // a part of the name is the same
size_t Remoteness(const std::u16string& wanted, const std::u16string& name) {
    if (wanted.size() > kLongestCompared || name.size() > kLongestCompared) return kFar;
    if (wanted == name) return 0;
    const size_t edits = EditDistance(wanted, name);
    if (edits <= std::max<size_t>(1, wanted.size() / 3)) return edits;
    if (wanted.size() < 3) return kFar;
    if (name.find(wanted) != std::u16string::npos) return kPart;
    // A long common beginning: "Grocery" and "Groceries".
    const auto split = std::mismatch(wanted.begin(), wanted.end(), name.begin(), name.end());
    const auto common = static_cast<size_t>(split.first - wanted.begin());
    return common >= std::max<size_t>(3, (wanted.size() + 1) / 2) ? kPart : kFar;
}

// The one row whose name equals `name` ignoring case.
template <class Entry>
const Entry* FindIgnoringCase(const COwnedList<Entry>& rows, std::string_view name) {
    const Entry* found = nullptr;
    for (const Entry& row : rows) {
        if (!EqualsIgnoringCase(row.name.ToUtf8(), name)) continue;
        if (found) return nullptr;
        found = &row;
    }
    return found;
}

// `find()` looks for the bytes, `list(rows)` reads all rows.
template <class Entry, class Find, class List>
CLookup FindTyped(std::string_view name, Entry& entry, NameSearch* search, Find find,
                  List list) try {
    const CLookup exact = find();
    if (!exact.IsNone()) return exact;
    COwnedList<Entry> rows;
    if (!list(rows)) return CLookup::Failed();
    if (const Entry* found = FindIgnoringCase(rows, name)) {
        entry = *found;
        return CLookup::Found();
    }
    if (search) {
        std::vector<std::string> names;
        for (const Entry& row : rows) names.push_back(row.name.ToUtf8());
        search->all = rows.Count();
        search->near = NearNames(name, names);
    }
    return CLookup::None();
} catch (const std::bad_alloc&) {
    return CLookup::Failed();
}

}  // namespace

CLookup FindTypedName(CQuillonDatabaseInterface& database, std::string_view name,
                      CAccountEntry& account, NameSearch* search) {
    const CFinanceSection section(database);
    return FindTyped(
        name, account, search, [&] { return database.FindAccountByName(name, account); },
        [&](auto& rows) { return database.List(rows); });
}

CLookup FindTypedName(CQuillonDatabaseInterface& database, std::string_view name,
                      CCategoryEntry& category, NameSearch* search) {
    const CFinanceSection section(database);
    return FindTyped(
        name, category, search, [&] { return database.FindCategoryByName(name, category); },
        [&](auto& rows) { return database.List(rows); });
}

CLookup FindTypedName(CQuillonDatabaseInterface& database, std::string_view name,
                      CPayeeEntry& payee, NameSearch* search) {
    const CFinanceSection section(database);
    return FindTyped(
        name, payee, search, [&] { return database.FindPayeeByName(name, payee); },
        [&](auto& rows) { return database.List(rows); });
}

std::vector<std::string> NearNames(std::string_view wanted, const std::vector<std::string>& names) {
    const std::u16string folded = Utf8ToUtf16(FoldCase(wanted));
    std::vector<std::pair<size_t, const std::string*>> near;
    for (const std::string& name : names) {
        const size_t remoteness = Remoteness(folded, Utf8ToUtf16(FoldCase(name)));
        if (remoteness < kFar) near.emplace_back(remoteness, &name);
    }
    std::stable_sort(near.begin(), near.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    near.resize(std::min(near.size(), kMostNear));
    std::vector<std::string> nearest;
    nearest.reserve(near.size());
    for (const auto& [remoteness, name] : near) nearest.push_back(*name);
    return nearest;
}

}  // namespace quillon
