#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "import/plan/ImportNotes.h"
#include "import/text/Dialect.h"

namespace quillon {

// Dates as bank files write them.

// The three numbers of a date in the order written: 1/15'05, 15.01.2005, 2005-01-15,
// 1/ 1/10, 20050115. Of one that names its month they are year, month and day.
struct DateParts {
    int32_t numbers[3] = {0, 0, 0};
    int32_t digits[3] = {0, 0, 0};
    bool namesMonth = false;
    DateOrder written = DateOrder::MonthDayYear;  // of one that names its month

    bool YearFirst() const { return digits[0] == 4 && !namesMonth; }
};

// Blanks are dropped; between the numbers stands one of / - . ' each, or none in eight
// digits. A month may be named (01-Jul-2026, Jul 1, 2026, 1er juillet 2026), a day of the
// week may stand in front, and a time of the day behind it all is passed over. False:
// anything else.
[[nodiscard]] bool SplitDate(std::string_view text, DateParts& parts);

// What a date tells about the order in its file by itself.
enum class DateEvidence { None, MonthFirst, DayFirst, YearFirst, Named, Impossible };
DateEvidence EvidenceOf(const DateParts& parts);

// Midnight UTC; nothing when there is no such day. A year of one or two digits gets 2000
// added up to 50 and 1900 above; others are as written. A date that begins with four
// digits or names its month is read so whatever the order.
std::optional<int64_t> ReadDate(const DateParts& parts, DateOrder order);

// The plain rule for "D" lines: separators become "-", blanks go, and a year gets its
// century even when it has four digits (1/15/2015 is in 3915). Nothing when the date
// parser refuses the result.
std::optional<int64_t> ReadPlainDate(std::string_view text, DateOrder order);

// The plain rule of statements: the first eight characters are YYYYMMDD. Nothing when
// there are fewer or they are no date.
std::optional<int64_t> ReadStatementDate(std::string_view text);

// Infers the order and the year rule of a file from all its dates.
//
// A date that can be read in one order only proves it. Where none does, the dates may
// follow each other: bank files rise or fall in time, and a wrong order makes them jump.
class CDateInference {
public:
    // Dates from here on do not follow those before: another account begins.
    void StartSequence() { EndSequence(); }
    void Add(std::string_view text, int64_t line);
    // Sets `dialect` and notes the lines that prove it, or that none does. `asked` wins.
    void Decide(std::optional<DateOrder> asked, Dialect& dialect, CImportNotes& notes);

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
    void DecideOrder(Dialect& dialect, CImportNotes& notes);
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
