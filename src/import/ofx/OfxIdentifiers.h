#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "import/ofx/OfxStatements.h"
#include "import/plan/ImportRecord.h"

namespace quillon {

// The identifiers of a download's lines, by the inferred dialect. The same identifier with
// the same date, amount and name is one line said twice; with other contents it is another
// line, which needs an identifier of its own.
//
// The lines are walked three times: with IdOf, and FindShared at the end; with IdOf and
// Look; with IdOf and Mark.
//
//   Memory   A few dozen bytes for each identifier that several lines have, and for each
//            line that has none.
//   Errors   std::bad_alloc passes through.
class COfxIdentifiers {
public:
    // The account of the file that a line belongs to.
    struct Source {
        size_t index = 0;
        std::string_view name;
    };
    // What Mark found.
    struct Finding {
        enum class Kind {
            Unique,    // or the first of those that share
            Repeated,  // said before
            Shared,    // another line with the identifier of an earlier one
        };
        Kind kind = Kind::Unique;
        int64_t firstLine = 0;   // the earlier one
        bool sameSource = true;  // it is the same account's
    };

    // Before each walk.
    void BeginWalk() { m_made.clear(); }
    // The line's identifier; where it says none, `isMade`, one is made from date, amount and
    // payee, and is different for identical lines.
    int64_t IdOf(const OfxLine& line, std::string_view payee, bool& isMade);

    // `ids`: of all lines.
    void FindShared(std::vector<int64_t> ids);
    // Notes what the record says.
    void Look(const Source& source, const ImportRecord& record);
    // Sets `ownId`, `idShared` and `saidBefore`.
    Finding Mark(const Source& source, ImportRecord& record);

private:
    // What lines with one identifier have in common.
    struct SharedId {
        int64_t firstLine = 0;
        size_t source = 0;  // of the first
        int64_t ownId = 0;  // of the first
        bool differs = false;
        bool seen = false;  // by Mark
    };

    static int64_t OwnIdOf(const Source& source, const ImportRecord& record,
                           const SharedId& shared);

    std::unordered_map<int64_t, SharedId> m_shared;  // identifiers that several lines have
    std::unordered_map<int64_t, int64_t> m_made;     // lines without an identifier, by hash
    std::unordered_set<int64_t> m_said;              // own identifiers of lines marked
};

}  // namespace quillon
