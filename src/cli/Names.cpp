#include "cli/Names.h"

#include <algorithm>

#include "cli/DatabaseMessages.h"
#include "cli/terminal/Failure.h"
#include "cli/terminal/Values.h"
#include "foundation/Unicode.h"

namespace quillon {

namespace {

constexpr size_t kMostSuggestions = 3;
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

template <class Entry>
std::vector<std::string> NamesIn(const COwnedList<Entry>& rows) {
    std::vector<std::string> names;
    for (const Entry& row : rows) names.push_back(row.name.ToUtf8());
    return names;
}

// The one row whose name equals `name` ignoring case.
template <class Entry>
const Entry* FindIgnoringCase(const COwnedList<Entry>& rows, const std::string& name) {
    const Entry* found = nullptr;
    for (const Entry& row : rows) {
        if (!EqualsIgnoringCase(row.name.ToUtf8(), name)) continue;
        if (found) return nullptr;
        found = &row;
    }
    return found;
}

template <class Entry>
Entry RequireByName(const COwnedList<Entry>& rows, const std::string& name, const std::string& kind,
                    const std::string& listCommand) {
    if (const Entry* found = FindIgnoringCase(rows, name)) return *found;
    const std::string near = Suggestion(name, NamesIn(rows));
    throw CFailure("There is no " + kind + " " + Quoted(name) + "; " +
                   (near.empty() ? "" : near + " ") + Quoted(listCommand) + " shows all.");
}

}  // namespace

std::string Suggestion(const std::string& wanted, const std::vector<std::string>& names) {
    const std::u16string folded = Utf8ToUtf16(FoldCase(wanted));
    std::vector<std::pair<size_t, const std::string*>> near;
    for (const std::string& name : names) {
        const size_t remoteness = Remoteness(folded, Utf8ToUtf16(FoldCase(name)));
        if (remoteness < kFar) near.emplace_back(remoteness, &name);
    }
    std::stable_sort(near.begin(), near.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    if (near.empty()) return {};
    near.resize(std::min(near.size(), kMostSuggestions));
    std::string text = "did you mean ";
    for (size_t i = 0; i < near.size(); ++i) {
        if (i > 0) text += i + 1 == near.size() ? " or " : ", ";
        text += Quoted(Printable(*near[i].second));
    }
    return text + "?";
}

CAccountEntry RequireAccount(CQuillonDatabaseInterface& database, const std::string& name) {
    CAccountEntry account;
    const CLookup found = database.FindAccountByName(name, account);
    if (found) return account;
    RequireStored(!found.HasFailed(), database);
    COwnedList<CAccountEntry> accounts;
    RequireStored(database.ListAccounts(accounts), database);
    if (accounts.IsEmpty()) {
        throw CFailure("There is no account " + Quoted(name) +
                       "; the ledger has none yet, make one with 'account add'.");
    }
    return RequireByName(accounts, name, "account", "account list");
}

CCategoryEntry RequireCategory(CQuillonDatabaseInterface& database, const std::string& name) {
    CCategoryEntry category;
    const CLookup found = database.FindCategoryByName(name, category);
    if (found) return category;
    RequireStored(!found.HasFailed(), database);
    COwnedList<CCategoryEntry> categories;
    RequireStored(database.ListCategories(categories), database);
    return RequireByName(categories, name, "category", "category list");
}

CPayeeEntry RequirePayee(CQuillonDatabaseInterface& database, const std::string& name) {
    CPayeeEntry payee;
    const CLookup found = database.FindPayeeByName(name, payee);
    if (found) return payee;
    RequireStored(!found.HasFailed(), database);
    COwnedList<CPayeeEntry> payees;
    RequireStored(database.ListPayees(payees), database);
    return RequireByName(payees, name, "payee", "payee list");
}

bool HasWildcard(const std::string& pattern) {
    return pattern.find_first_of("*?") != std::string::npos;
}

CNameTables::CNameTables(CQuillonDatabaseInterface& database) {
    COwnedList<CPayeeEntry> payees;
    COwnedList<CCategoryEntry> categories;
    COwnedList<CAccountEntry> accounts;
    RequireStored(database.ListPayees(payees) && database.ListCategories(categories) &&
                      database.ListAccounts(accounts),
                  database);
    for (const CPayeeEntry& row : payees) m_payees[row.id] = row.name.ToUtf8();
    for (const CCategoryEntry& row : categories) m_categories[row.id] = row.name.ToUtf8();
    for (const CAccountEntry& row : accounts) m_accounts[row.id] = row.name.ToUtf8();
}

const std::string& CNameTables::Look(const Names& names, int64_t id) {
    static const std::string kNone;
    const auto found = names.find(id);
    return found == names.end() ? kNone : found->second;
}

}  // namespace quillon
