#include "presenters/register/RegisterSort.h"

#include <algorithm>
#include <bit>
#include <span>
#include <string>
#include <unordered_map>
#include <utility>

#include "foundation/Unicode.h"
#include "storage/index/RadixSort.h"

namespace quillon {

namespace {

// Kinds of electronic payment stand behind all check numbers, in the order of their letters.
double ElectronicKey(const std::string& kind) {
    constexpr double kBehindChecks = 4294967296.0;
    double key = 0.0;
    for (size_t i = 0; i < 4; ++i) {
        key = key * 256.0 + (i < kind.size() ? static_cast<unsigned char>(kind[i]) : 0);
    }
    return kBehindChecks + key;
}

// The first bytes of a text as a number in the same order.
uint64_t Prefix(std::string_view text) {
    uint64_t prefix = 0;
    for (size_t i = 0; i < 8; ++i) {
        prefix = prefix << 8 | (i < text.size() ? static_cast<unsigned char>(text[i]) : 0);
    }
    return prefix;
}

// Integers in the order of doubles that are numbers; the other way round for falling ones.
int64_t OrderedKey(double value, bool ascending) {
    const auto bits = std::bit_cast<int64_t>(value + 0.0);  // never -0
    const int64_t rising = bits < 0 ? bits ^ INT64_MAX : bits;
    return ascending ? rising : ~rising;
}

// Memos by sixteen bytes at a time: those that are even so far are sorted by the next ones.
// What is compared lies beside the slots, since texts lie far apart.
class CMemoSort {
public:
    CMemoSort(CRegisterTexts& texts, bool ascending) : m_texts(texts), m_ascending(ascending) {}

    void Sort(std::vector<uint32_t>& slots) {
        m_keyed.resize(slots.size());
        for (size_t i = 0; i < slots.size(); ++i) m_keyed[i].slot = slots[i];
        SortRun(m_keyed, 0);
        for (size_t i = 0; i < slots.size(); ++i) slots[i] = m_keyed[i].slot;
    }

private:
    struct Keyed {
        std::pair<uint64_t, uint64_t> bytes;
        uint32_t slot = 0;
    };
    static constexpr size_t kBytes = 16;

    void SortRun(std::span<Keyed> run, size_t depth) {
        bool goesOn = false;
        for (Keyed& keyed : run) {
            std::string_view rest = m_texts.FoldedMemo(keyed.slot);
            rest.remove_prefix(std::min(depth, rest.size()));
            goesOn |= rest.size() > kBytes;
            const uint64_t first = Prefix(rest);
            const uint64_t second = Prefix(rest.substr(std::min(kBytes / 2, rest.size())));
            keyed.bytes = m_ascending ? std::pair(first, second) : std::pair(~first, ~second);
        }
        std::stable_sort(run.begin(), run.end(),
                         [](const Keyed& a, const Keyed& b) { return a.bytes < b.bytes; });
        for (size_t start = 0; goesOn && start < run.size();) {
            size_t next = start + 1;
            while (next < run.size() && run[next].bytes == run[start].bytes) ++next;
            if (next - start > 1) SortRun(run.subspan(start, next - start), depth + kBytes);
            start = next;
        }
    }

    CRegisterTexts& m_texts;
    bool m_ascending;
    std::vector<Keyed> m_keyed;
};

}  // namespace

double CRegisterSort::NumberKey(uint32_t slot, RegisterColumn column) {
    const RegisterData& data = m_rows.Data();
    const double effect = data.effects[slot];
    switch (column) {
        case RegisterColumn::Number: {
            if (data.checks[slot] != 0) return data.checks[slot];
            const std::string& kind = m_texts.Electronic(slot);
            return kind.empty() ? INT32_MIN - 1.0 : ElectronicKey(kind);
        }
        case RegisterColumn::Date:
            return static_cast<double>(data.dates[slot]);
        case RegisterColumn::Out:
            return effect < 0 ? -effect : -1.0;
        case RegisterColumn::In:
            return effect < 0 ? -1.0 : effect;
        default:
            return 0.0;
    }
}

int CRegisterSort::Compare(uint32_t a, uint32_t b, RegisterColumn column) {
    const RegisterData& data = m_rows.Data();
    switch (column) {
        case RegisterColumn::Payee:
            return CompareIgnoringCase(m_names.Payee(data.payees[a]),
                                       m_names.Payee(data.payees[b]));
        case RegisterColumn::Category:
            return CompareIgnoringCase(m_names.Category(data.categories[a]),
                                       m_names.Category(data.categories[b]));
        case RegisterColumn::Memo: {
            const std::string first(m_texts.FoldedMemo(a));
            return first.compare(m_texts.FoldedMemo(b));
        }
        case RegisterColumn::Type:
            return NameOf(static_cast<TransactionType>(data.types[a]))
                .compare(NameOf(static_cast<TransactionType>(data.types[b])));
        default: {
            const double first = NumberKey(a, column);
            const double second = NumberKey(b, column);
            return first < second ? -1 : first > second ? 1 : 0;
        }
    }
}

bool CRegisterSort::Before(uint32_t a, uint32_t b, RegisterColumn column, bool ascending) {
    const int compared = Compare(a, b, column);
    if (compared != 0) return ascending ? compared < 0 : compared > 0;
    return m_rows.Data().Before(a, b);
}

// Each name is compared with others once, and each row gets its name's rank.
void CRegisterSort::RankNames(const std::vector<int64_t>& ids, bool payees,
                              std::vector<double>& keys) {
    std::unordered_map<int64_t, double> ranks;
    for (const int64_t id : ids) ranks.try_emplace(id, 0.0);
    std::vector<std::pair<const std::string*, int64_t>> names;
    names.reserve(ranks.size());
    for (const auto& [id, rank] : ranks) {
        names.emplace_back(payees ? &m_names.Payee(id) : &m_names.Category(id), id);
    }
    std::sort(names.begin(), names.end(), [](const auto& a, const auto& b) {
        return CompareIgnoringCase(*a.first, *b.first) < 0;
    });
    double rank = 0.0;
    for (size_t i = 0; i < names.size(); ++i) {
        if (i > 0 && CompareIgnoringCase(*names[i - 1].first, *names[i].first) != 0) rank += 1.0;
        ranks[names[i].second] = rank;
    }
    for (size_t i = 0; i < ids.size(); ++i) keys[i] = ranks[ids[i]];
}

void CRegisterSort::ReadKeys(RegisterColumn column, std::vector<double>& keys) {
    const RegisterData& data = m_rows.Data();
    keys.resize(m_rows.SlotCount());
    if (column == RegisterColumn::Payee) return RankNames(data.payees, true, keys);
    if (column == RegisterColumn::Category) return RankNames(data.categories, false, keys);
    if (column == RegisterColumn::Type) {
        // In the order of their names, of which there are few.
        for (size_t slot = 0; slot < keys.size(); ++slot) {
            double rank = 0.0;
            const std::string_view own = NameOf(static_cast<TransactionType>(data.types[slot]));
            for (int32_t type = 0; type < kTransactionTypeCount; ++type) {
                rank += NameOf(static_cast<TransactionType>(type)) < own ? 1.0 : 0.0;
            }
            keys[slot] = rank;
        }
        return;
    }
    if (column == RegisterColumn::Balance) {
        m_rows.Order().WalkBalances([&](uint32_t slot, double balance) { keys[slot] = balance; });
        return;
    }
    for (uint32_t slot = 0; slot < keys.size(); ++slot) {
        if (m_rows.Holds(slot)) keys[slot] = NumberKey(slot, column);
    }
}

void CRegisterSort::SortByNumbers(std::vector<uint32_t>& slots, RegisterColumn column,
                                  bool ascending) {
    std::vector<double> keys;
    ReadKeys(column, keys);
    std::vector<std::pair<int64_t, uint32_t>> keyed(slots.size());
    for (size_t i = 0; i < slots.size(); ++i) {
        keyed[i] = {OrderedKey(keys[slots[i]], ascending), slots[i]};
    }
    RadixSort(keyed, [](const auto& key) { return key.first; });
    for (size_t i = 0; i < slots.size(); ++i) slots[i] = keyed[i].second;
}

void CRegisterSort::Sort(std::vector<uint32_t>& slots, RegisterColumn column, bool ascending) {
    const bool needsTexts = column == RegisterColumn::Memo || column == RegisterColumn::Number;
    if (needsTexts) m_texts.ReadSome(SIZE_MAX);
    if (column == RegisterColumn::Memo) {
        CMemoSort(m_texts, ascending).Sort(slots);
    } else {
        SortByNumbers(slots, column, ascending);
    }
}

}  // namespace quillon
