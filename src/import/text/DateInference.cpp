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

void CDateInference::Decide(std::optional<DateOrder> asked, Dialect& dialect, CImportNotes& notes,
                            const DateHints& hints) {
    using Note = ImportNoteCode;
    EndSequence();
    if (asked) {
        dialect.dateOrder = *asked;
    } else if (m_dates > 0) {
        DecideOrder(dialect, notes, hints);
    }
    if (m_longYear.count == 0) {
        dialect.years = YearRule::TwoDigits;
        return;
    }
    dialect.years = YearRule::AsWritten;
    if (m_shortYear.count == 0) {
        notes.Add(Note::YearsAsWritten, m_longYear.line, {m_longYear.text});
    } else {
        notes.Add(Note::YearsOfBothKinds, m_longYear.line,
                  {m_longYear.text, m_shortYear.text, m_shortYear.line});
    }
}

void CDateInference::DecideContradiction(Dialect& dialect, CImportNotes& notes,
                                         const DateHints& hints) {
    const bool isDay = hints.byMajority && m_dayFirst.count > m_monthFirst.count;
    dialect.dateOrder = isDay ? DateOrder::DayMonthYear : DateOrder::MonthDayYear;
    notes.Add(isDay ? ImportNoteCode::DatesMostlyDayFirst : ImportNoteCode::DatesContradict, 0,
              {m_dayFirst.line, m_dayFirst.text, m_monthFirst.line, m_monthFirst.text});
}

void CDateInference::DecideOrder(Dialect& dialect, CImportNotes& notes, const DateHints& hints) {
    using Note = ImportNoteCode;
    const bool isDotted = hints.dotsAreDayFirst && m_undecided.count > 0 &&
                          m_undecided.text.find('.') != std::string::npos;
    if (m_monthFirst.count > 0 && m_dayFirst.count > 0) {
        DecideContradiction(dialect, notes, hints);
    } else if (m_dayFirst.count > 0) {
        dialect.dateOrder = DateOrder::DayMonthYear;
        notes.Add(Note::DatesDayFirst, m_dayFirst.line, {m_dayFirst.text});
    } else if (m_monthFirst.count > 0) {
        dialect.dateOrder = DateOrder::MonthDayYear;
        notes.Add(Note::DatesMonthFirst, m_monthFirst.line, {m_monthFirst.text});
    } else if (isDotted) {
        dialect.dateOrder = DateOrder::DayMonthYear;
        notes.Add(Note::DatesDayFirst, m_undecided.line, {m_undecided.text});
    } else if (m_undecided.count > 0 && DecideByMovement(dialect, notes)) {
        return;
    } else if (m_named.count > 0) {
        dialect.dateOrder = m_namedOrder;
        notes.Add(Note::DatesNameMonth, m_named.line, {m_named.text});
    } else if (m_undecided.count > 0) {
        dialect.dateOrder = hints.dayFirst ? DateOrder::DayMonthYear : DateOrder::MonthDayYear;
        notes.Add(hints.dayFirst ? Note::DatesUndecidedDayFirst : Note::DatesUndecided, 0,
                  {m_undecided.text, m_undecided.line});
    } else if (m_yearFirst.count > 0) {
        dialect.dateOrder = DateOrder::YearMonthDay;
        notes.Add(Note::DatesYearFirst, m_yearFirst.line, {m_yearFirst.text});
    } else if (hints.dayFirst) {
        dialect.dateOrder = DateOrder::DayMonthYear;
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
    notes.Add(isDay ? ImportNoteCode::DatesDayFirstByTime : ImportNoteCode::DatesMonthFirstByTime,
              m_undecided.line, {m_undecided.text});
    return true;
}

}  // namespace quillon
