#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "import/plan/ImportRecord.h"

namespace quillon {

// The identifiers of rows.
//
// A row without one gets one that is made from its date, its amount, its texts and how many
// like it the file had before: the same from any file that holds the row, whatever else the
// file holds and whichever end it begins with. Where the file's own identifier stands with
// different rows, each of them but the one that is held gets one of its own.
//
//   Memory   Some dozen bytes a row.
//   Errors   std::bad_alloc passes through.
class CCsvIdentifiers {
public:
    // Of a row without one. `key`: date, amount and texts.
    int64_t Make(std::string& key);

    // The first walk over rows with identifiers of the file.
    void Look(int64_t id, std::string_view key, int64_t line);
    // What the second walk finds of each.
    enum class Finding : uint8_t {
        Unique,    // or the first of those that share
        Repeated,  // the same row, said before
        Shared,    // another row with the identifier of an earlier one
    };
    // Sets the record's `idShared` and `saidBefore`; `firstLine` of those that share.
    // `mayRecur`: the same row once more is another one.
    Finding Mark(ImportRecord& record, std::string_view key, bool mayRecur, int64_t& firstLine);

private:
    struct Owner {
        int64_t ownId = 0;  // of the first row that has the identifier
        int64_t line = 0;
        bool isShared = false;
        bool differs = false;
    };
    static int64_t OwnIdOf(int64_t id, std::string_view key);

    std::unordered_map<int64_t, int64_t> m_made;  // rows by the hash of their keys
    std::unordered_map<int64_t, Owner> m_owners;
    std::unordered_set<int64_t> m_said;  // rows that share, with their contents
};

}  // namespace quillon
