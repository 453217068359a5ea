// Index files: opened, changed in brackets and held against a plain map. Input: column
// type, one byte for how many bytes of operations follow, the operations, then the file.

#include <algorithm>
#include <bit>
#include <set>

#include "Brackets.h"
#include "Fuzz.h"
#include "storage/index/IndexManager.h"
#include "support/MemoryFileSystem.h"

namespace quillon::fuzz {
namespace {

constexpr const char* kPath = "db/T_index_1.dat";
using Model = std::map<int64_t, int64_t>;  // row id to key

class CCheck {
public:
    explicit CCheck(CInput input)
        : m_kind(input.Byte()),
          m_type(static_cast<ColumnType>(m_kind % 6)),
          m_index(m_journal, m_type, true) {
        if (m_kind >= 0x80) m_index.SortAfter(0);
        m_steps = input.Steps();
        m_file = CopyOf(input.Rest());
    }

    void Run() {
        m_files.Bytes(kPath) = m_file;
        FUZZ_CHECK(m_journal.Attach("db/", 7) == CJournal::AttachResult::Ok, "a journal is made");
        if (m_index.Open(kPath) != IndexLoad::Ok || m_index.Load() != IndexLoad::Ok) {
            FUZZ_CHECK(m_files.Bytes(kPath) == m_file, "what is no index stays as it is");
            FUZZ_CHECK(m_index.Count() == 0, "and leaves nothing in memory");
            return;
        }
        m_model = Content();
        CheckAgainstModel();
        RunBrackets(
            m_journal, m_steps, m_model, [&] { Apply(); }, [&] { CheckAgainstModel(); });
        FUZZ_CHECK(m_index.Close(), "it closes");
        FUZZ_CHECK(m_index.Open(kPath) == IndexLoad::Ok, "it opens again");
        CheckAgainstModel();
    }

private:
    Model Content() const {
        Model model;
        m_index.Walk([&](int64_t key, int64_t rowId) {
            FUZZ_CHECK(model.emplace(rowId, key).second, "a row is in an index once");
            return true;
        });
        return model;
    }

    int64_t PickRow() {
        const uint8_t choice = m_steps.Byte();
        if (choice >= 0xC0 || m_model.empty()) return m_steps.Number();
        return PickFrom(m_model, choice).first;
    }
    int64_t PickKey() {
        const uint8_t choice = m_steps.Byte();
        if (choice >= 0xE0) return Whole(m_steps.Number() % 100'000);
        if (choice >= 0xC0 || m_model.empty()) return m_steps.Number();
        return PickFrom(m_model, choice).second;
    }
    // What most keys of a column are: days, cents.
    int64_t Whole(int64_t units) const {
        if (m_type == ColumnType::DateTime) return units * 864'000'000'000;
        if (m_type != ColumnType::Double) return units;
        return std::bit_cast<int64_t>(static_cast<double>(units) / 100.0);
    }

    void Apply() {
        const int64_t row = PickRow();
        const bool known = m_model.contains(row);
        switch (m_steps.Byte() % 5) {
            case 0: {
                const int64_t key = PickKey();
                FUZZ_CHECK(m_index.Add(row, key) == !known, "a row is added once");
                m_model.try_emplace(row, key);
                return;
            }
            case 1:
                FUZZ_CHECK(m_index.Remove(row) == known, "what is there can be removed");
                m_model.erase(row);
                return;
            case 2:
                m_model[row] = PickKey();
                FUZZ_CHECK(m_index.Update(row, m_model[row]), "a row is updated");
                return;
            case 3:
                FUZZ_CHECK(m_index.Compact(), "compacting works");
                return;
            default:
                CheckRange(PickKey(), PickKey());
                return;
        }
    }

    // A number that orders as the column's values do.
    int64_t Order(int64_t key) const {
        if (m_type != ColumnType::Double || key >= 0) return key;
        return key ^ std::numeric_limits<int64_t>::max();
    }

    void CheckRange(int64_t lowest, int64_t highest) {
        std::vector<int64_t> expected;
        for (const auto& [row, key] : m_model) {
            if (Order(key) >= Order(lowest) && Order(key) <= Order(highest)) {
                expected.push_back(row);
            }
        }
        const int64_t estimate = m_index.EstimateRange(lowest, highest);
        std::vector<int64_t> rows;
        m_index.CollectRange(lowest, highest, rows);
        std::ranges::sort(rows);
        FUZZ_CHECK(estimate >= static_cast<int64_t>(rows.size()), "an estimate is no less");
        FUZZ_CHECK(rows == expected, "a range holds its rows");
    }

    void CheckAgainstModel() {
        FUZZ_CHECK(Content() == m_model, "memory is what was committed");
        FUZZ_CHECK(m_index.Count() == static_cast<int64_t>(m_model.size()), "the count is right");
        std::set<int64_t> keys;
        for (const auto& [row, key] : m_model) keys.insert(key);
        FUZZ_CHECK(m_index.DistinctKeys() == static_cast<int64_t>(keys.size()), "distinct keys");
        CheckRange(std::numeric_limits<int64_t>::min(), std::numeric_limits<int64_t>::max());
        if (!keys.empty()) CheckRange(*keys.begin(), *keys.begin());
        FUZZ_CHECK(m_index.DistinctKeys() == static_cast<int64_t>(keys.size()),
                   "distinct keys once the order is known");
    }

    CMemoryFileSystem m_files;
    CJournal m_journal{m_files};
    uint8_t m_kind;
    ColumnType m_type;
    CIndexManager m_index;
    CInput m_steps{nullptr, 0};
    Bytes m_file;
    Model m_model;
};

void Check(CInput input) {
    CCheck(input).Run();
}

}  // namespace
}  // namespace quillon::fuzz

FUZZ_ENTRY(quillon::fuzz::Check)
