#include "import/text/DateInference.h"

#include <algorithm>
#include <utility>

namespace quillon {

namespace {

// Grows with the date; nothing else is asked of it.
int64_t DateKey(const DateParts& parts, size_t month, size_t day) {
    return WithCentury(parts.numbers[2], parts.digits[2]) * int64_t{10'000} +
           parts.numbers[month] * 100 + parts.numbers[day];
}

}  // namespace

void CDateInference::Movement::Follow(int64_t date) {
    if (last != 0) {
        rises += date > last;
        falls += date < last;
    }
    last = date;
}

void CDateInference::Movement::End() {
    breaks += std::min(rises, falls);
    last = rises = falls = 0;
}

void CDateInference::EndSequence() {
    m_asMonthFirst.End();
    m_asDayFirst.End();
}

void CDateInference::Add(std::string_view text, int64_t line) {
    DateParts parts;
    if (!SplitDate(text, parts)) return;
    ++m_dates;
    switch (EvidenceOf(parts)) {
        case DateEvidence::MonthFirst:
            m_monthFirst.Take(text, line);
            break;
        case DateEvidence::DayFirst:
            m_dayFirst.Take(text, line);
            break;
        case DateEvidence::YearFirst:
            m_yearFirst.Take(text, line);
            break;
        case DateEvidence::Named:
            if (m_named.count == 0) m_namedOrder = parts.written;
            m_named.Take(text, line);
            break;
        case DateEvidence::None:
            if (parts.numbers[0] != parts.numbers[1]) m_undecided.Take(text, line);
            m_asMonthFirst.Follow(DateKey(parts, 0, 1));
            m_asDayFirst.Follow(DateKey(parts, 1, 0));
            break;
        case DateEvidence::Impossible:
            break;
    }
    const int32_t yearDigits = parts.digits[parts.YearFirst() || parts.namesMonth ? 0 : 2];
    (yearDigits > 2 ? m_longYear : m_shortYear).Take(text, line);
}

void CDateInference::Decide(std::optional<DateOrder> asked, Dialect& dialect, CImportNotes& notes) {
    using Kind = CImportNotes::Kind;
    EndSequence();
    if (asked) {
        dialect.dateOrder = *asked;
    } else if (m_dates > 0) {
        DecideOrder(dialect, notes);
    }
    if (m_longYear.count == 0) {
        dialect.years = YearRule::TwoDigits;
        return;
    }
    dialect.years = YearRule::AsWritten;
    std::string text = "Years are as written: " + m_longYear.text + ".";
    if (m_shortYear.count > 0) {
        text += " Shorter ones, such as " + m_shortYear.text + " in line " +
                std::to_string(m_shortYear.line) + ", are 2000 to 2050 or 1951 to 1999.";
    }
    notes.Add(Kind::Dialect, m_longYear.line, std::move(text));
}

void CDateInference::DecideOrder(Dialect& dialect, CImportNotes& notes) {
    using Kind = CImportNotes::Kind;
    if (m_monthFirst.count > 0 && m_dayFirst.count > 0) {
        dialect.dateOrder = DateOrder::MonthDayYear;
        notes.Add(Kind::Dialect, 0,
                  "Dates contradict each other: line " + std::to_string(m_dayFirst.line) + " (" +
                      m_dayFirst.text + ") has the day first, line " +
                      std::to_string(m_monthFirst.line) + " (" + m_monthFirst.text +
                      ") the month. They are read month first; those that are no date then "
                      "are listed.");
    } else if (m_dayFirst.count > 0) {
        dialect.dateOrder = DateOrder::DayMonthYear;
        notes.Add(Kind::Dialect, m_dayFirst.line,
                  "Dates have the day first: " + m_dayFirst.text + ".");
    } else if (m_monthFirst.count > 0) {
        dialect.dateOrder = DateOrder::MonthDayYear;
        notes.Add(Kind::Dialect, m_monthFirst.line,
                  "Dates have the month first: " + m_monthFirst.text + ".");
    } else if (m_undecided.count > 0 && DecideByMovement(dialect, notes)) {
        return;
    } else if (m_named.count > 0) {
        dialect.dateOrder = m_namedOrder;
        notes.Add(Kind::Dialect, m_named.line, "Dates name the month: " + m_named.text + ".");
    } else if (m_undecided.count > 0) {
        dialect.dateOrder = DateOrder::MonthDayYear;
        notes.Add(Kind::Dialect, 0,
                  "No date tells the day from the month (" + m_undecided.text + " in line " +
                      std::to_string(m_undecided.line) +
                      " could be either); they are read month first.");
    } else if (m_yearFirst.count > 0) {
        dialect.dateOrder = DateOrder::YearMonthDay;
        notes.Add(Kind::Dialect, m_yearFirst.line,
                  "Dates have the year first: " + m_yearFirst.text + ".");
    }
}

// A file in order of time, read in the wrong order, jumps to and fro. Some disorder is
// borne: banks list a late booking under its own date.
bool CDateInference::DecideByMovement(Dialect& dialect, CImportNotes& notes) {
    constexpr int64_t kClearly = 5;
    const int64_t monthFirst = m_asMonthFirst.breaks;
    const int64_t dayFirst = m_asDayFirst.breaks;
    if (monthFirst > dayFirst * kClearly) {
        dialect.dateOrder = DateOrder::DayMonthYear;
    } else if (dayFirst > monthFirst * kClearly) {
        dialect.dateOrder = DateOrder::MonthDayYear;
    } else {
        return false;
    }
    const bool isDay = dialect.dateOrder == DateOrder::DayMonthYear;
    notes.Add(CImportNotes::Kind::Dialect, m_undecided.line,
              "Dates have the " + std::string(isDay ? "day" : "month") + " first, as in " +
                  m_undecided.text +
                  ": so read they follow each other in time, the other way they jump.");
    return true;
}

}  // namespace quillon
