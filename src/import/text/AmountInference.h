#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "import/plan/ImportNotes.h"
#include "import/text/AmountText.h"

namespace quillon {

// Infers the decimal mark of a file from all its amounts.
//
//   Memory   The first amount of each kind.
//   Errors   std::bad_alloc passes through.
class CAmountInference {
public:
    // `isCounted`: an amount that a transaction may be entered with.
    void Add(std::string_view text, int64_t line, bool isCounted = true);
    // Sets `dialect` and notes what proves it. `asked` wins. `threeDecimals`: amounts of
    // which none tells may have so many; else their points group thousands as commas do.
    AmountMarks Decide(std::optional<DecimalMark> asked, Dialect& dialect, CImportNotes& notes,
                       bool threeDecimals = true) const;

    // An amount was met that shows its decimal mark.
    bool IsProved() const {
        return m_point.count + m_comma.count + m_groupedPoint.count + m_groupedComma.count > 0;
    }

private:
    struct Proof {
        int64_t count = 0;
        int64_t line = 0;
        std::string text;

        void Take(std::string_view amount, int64_t at);
    };
    // The first of them, grouping ones in front: they prove two marks at once.
    const Proof& Points() const { return m_groupedPoint.count > 0 ? m_groupedPoint : m_point; }
    const Proof& Commas() const { return m_groupedComma.count > 0 ? m_groupedComma : m_comma; }

    Proof m_point;
    Proof m_comma;
    Proof m_groupedPoint;
    Proof m_groupedComma;
    Proof m_either;       // 1,234 or 1.234
    Proof m_eitherPoint;  // of these, 1.234
};

}  // namespace quillon
