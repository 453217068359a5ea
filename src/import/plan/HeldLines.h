#pragma once

#include <cstdint>
#include <unordered_map>

#include "finance/records/FinanceRecords.h"
#include "import/plan/ImportRecord.h"

namespace quillon {

class CQuillonDatabaseInterface;

// The statement lines that an account holds, by their identifiers, and those that were
// taken from the file so far.
//
//   Errors   Load: false, when the database cannot be read. std::bad_alloc passes through.
//   Threads  One at a time.
class CHeldLines {
public:
    enum class Meets {
        Nothing,  // a line of its own from here on
        Held,     // one that the account holds
        Earlier,  // one that the file had before
    };
    struct Answer {
        Meets meets = Meets::Nothing;
        int64_t row = kNoRow;  // the stored one, of Held
        bool differs = false;  // from that one, in date or amount
    };

    [[nodiscard]] bool Load(CQuillonDatabaseInterface& database, const CAccountEntry& account);

    // By the plain rules the identifier alone counts, and the file's own lines do not.
    Answer MeetPlain(const ImportRecord& record) const;
    // By the inferred dialect. A line that shares its identifier with others of the file, and
    // is not the one that is held, gets its own identifier instead.
    Answer Meet(ImportRecord& record);

private:
    struct Line {
        int64_t date = 0;
        double amount = 0.0;   // signed
        int64_t row = kNoRow;  // none: from this file
    };
    std::unordered_map<int64_t, Line> m_lines;  // by identifier
};

}  // namespace quillon
