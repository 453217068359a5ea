#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "import/plan/ImportNotes.h"
#include "import/text/DateText.h"

namespace quillon {

// What else is known of a file whose dates do not tell their order.
struct DateHints {
    bool dotsAreDayFirst = false;  // no country writes dots with the month first
    bool dayFirst = false;         // where nothing else tells
    bool byMajority = false;       // of dates that contradict each other, else month first
};

// Infers the order and the year rule of a file from all its dates.
//
// A date that can be read in one order only proves it. Where none does, the dates may
// follow each other: bank files rise or fall in time, and a wrong order makes them jump.
//
//   Memory   The first date of each kind.
//   Errors   std::bad_alloc passes through.
class CDateInference {
public:
    // Dates from here on do not follow those before: another account begins.
    void StartSequence() { EndSequence(); }
    void Add(std::string_view text, int64_t line);
    // Sets `dialect` and notes the lines that prove it, or that none does. `asked` wins.
    void Decide(std::optional<DateOrder> asked, Dialect& dialect, CImportNotes& notes,
                const DateHints& hints = {});
    // A date was met that can be read in one order only, and none that could be either and
    // would still have to be told.
    bool IsProved() const {
        return m_monthFirst.count + m_dayFirst.count > 0 ||
               (m_yearFirst.count + m_named.count > 0 && m_undecided.count == 0);
    }

private:
    struct Proof {
        int64_t count = 0;
        int64_t line = 0;
        std::string text;
        void Take(std::string_view date, int64_t at) {
            if (++count == 1) {
                line = at;
                text = std::string(date.substr(0, 40));
            }
        }
    };
    // How the dates that could be either move when they are read in one order.
    struct Movement {
        int64_t last = 0;  // of this sequence; 0: none yet
        int64_t rises = 0;
        int64_t falls = 0;
        int64_t breaks = 0;  // against the direction of their sequences, those before too

        void Follow(int64_t date);
        void End();
    };

    void EndSequence();
    void DecideOrder(Dialect& dialect, CImportNotes& notes, const DateHints& hints);
    void DecideContradiction(Dialect& dialect, CImportNotes& notes, const DateHints& hints);
    bool DecideByMovement(Dialect& dialect, CImportNotes& notes);

    int64_t m_dates = 0;
    Proof m_monthFirst;
    Proof m_dayFirst;
    Proof m_yearFirst;
    Proof m_named;
    DateOrder m_namedOrder = DateOrder::MonthDayYear;  // of the first
    Proof m_undecided;                                 // that mean another day in the other order
    Proof m_longYear;                                  // four digits
    Proof m_shortYear;                                 // one or two
    Movement m_asMonthFirst;
    Movement m_asDayFirst;
};

}  // namespace quillon
