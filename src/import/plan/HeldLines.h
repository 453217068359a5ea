#pragma once

#include <cstdint>
#include <span>
#include <unordered_map>
#include <vector>

#include "finance/database/TransactionColumns.h"
#include "finance/history/ImportBatch.h"
#include "finance/records/FinanceRecords.h"
#include "import/plan/ImportRecord.h"

namespace quillon {

class CQuillonDatabaseInterface;

// The statement lines that an account holds, by their identifiers, and those that were
// taken from the file so far.
//
//   Memory   Some 45 bytes a line that is held.
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

    // `deleted`: lines whose transactions people deleted; they are held as well, of no row.
    [[nodiscard]] bool Load(CQuillonDatabaseInterface& database, const CAccountEntry& account,
                            std::span<const DeletedLine> deleted);

    // By the plain rules the identifier alone counts, and the file's own lines do not.
    Answer MeetPlain(const ImportRecord& record) const;
    // By the inferred dialect. A line that shares its identifier with others of the file, and
    // is not the one that is held, gets its own identifier instead.
    Answer Meet(ImportRecord& record);

private:
    struct Line {
        int64_t date = 0;
        double amount = 0.0;   // signed
        int64_t row = kNoRow;  // none: from this file, or deleted
        bool isOfFile = false;
    };
    using Lines = std::unordered_map<int64_t, Line>;  // by identifier
    // The slot of the identifier, or the free one where it would stand.
    size_t SlotOf(int64_t fitId) const;
    bool IsEarlierInRegister(size_t a, size_t b) const;
    // False: neither account nor file has it.
    bool Find(int64_t fitId, Line& line) const;

    AccountType m_accountType = AccountType::Checking;
    TransactionIdentities m_held;
    std::vector<uint32_t> m_slots;  // places in m_held from 1; 0: free
    Lines m_ofFile;
    Lines m_deleted;
};

}  // namespace quillon
