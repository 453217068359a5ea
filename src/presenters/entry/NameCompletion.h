#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "finance/records/FinanceRecords.h"

namespace quillon {

// One line of what completes a name that is being typed.
struct Completion {
    int64_t id = kNoRow;  // kNoRow: as typed, a name that no row has
    std::string name;
};

// Names that fit what is typed: each word of it begins a word of the name, ignoring case.
//
//   Order    The name itself first, then those used last, then by letters. Behind them what was
//            typed, as it was, unless a row is called so to the letter.
//   Errors   std::bad_alloc.
//   Threads  One.
class CNameCompletion {
public:
    void Clear();
    // Names are to be added again; their uses are kept.
    void ClearNames() { m_names.clear(); }
    void Add(int64_t id, const std::string& name);
    // Later uses have higher figures, of any kind; a lower one changes nothing.
    void NoteUse(int64_t id, int64_t when);

    // Nothing typed: the names used last.
    std::vector<Completion> Complete(std::string_view typed, size_t most) const;
    // The row of a name: the one called so to the letter, else the only one that is the same
    // ignoring case, unless `toTheLetter`. kNoRow: none.
    int64_t Find(std::string_view name, bool toTheLetter = false) const;

private:
    struct Name {
        int64_t id = kNoRow;
        std::string name;
        std::string folded;
    };
    int64_t LastUse(int64_t id) const;

    std::vector<Name> m_names;
    std::unordered_map<int64_t, int64_t> m_lastUses;
};

}  // namespace quillon
