#include "import/text/AmountInference.h"

#include <utility>

#include "import/text/AmountScan.h"
#include "import/text/TextScan.h"

namespace quillon {

void CAmountInference::Proof::Take(std::string_view amount, int64_t at) {
    if (++count > 1) return;
    line = at;
    text = std::string(TrimBlanks(amount).substr(0, 40));
}

void CAmountInference::Add(std::string_view text, int64_t line, bool isCounted) {
    const CleanedAmount cleaned = CleanAmount(text);
    if (cleaned.isOdd) return;
    switch (EvidenceOfNumber(cleaned.View())) {
        case AmountEvidence::None:
            if (!isCounted || !CouldBeEither(cleaned.View())) return;
            m_either.Take(text, line);
            if (Contains(cleaned.View(), ".")) m_eitherPoint.Take(text, line);
            return;
        case AmountEvidence::Point:
            return m_point.Take(text, line);
        case AmountEvidence::Comma:
            return m_comma.Take(text, line);
        case AmountEvidence::GroupedPoint:
            return m_groupedPoint.Take(text, line);
        case AmountEvidence::GroupedComma:
            return m_groupedComma.Take(text, line);
    }
}

AmountMarks CAmountInference::Decide(std::optional<DecimalMark> asked, Dialect& dialect,
                                     CImportNotes& notes, bool threeDecimals) const {
    using Note = ImportNoteCode;
    AmountMarks marks;
    marks.decimal = dialect.decimal = asked.value_or(DecimalMark::Point);
    marks.own = marks.decimal == DecimalMark::Comma;
    if (asked) return marks;
    if (!threeDecimals && !IsProved() && m_eitherPoint.count > 0) {
        marks.own = marks.mixed = true;
        dialect.decimal = marks.decimal = DecimalMark::Comma;
        notes.Add(Note::MarksUndecided, 0, {m_either.count, m_either.text, m_either.line});
        return marks;
    }
    const Proof& comma = Commas();
    if (comma.count == 0) return marks;
    const Proof& point = Points();
    constexpr int64_t kClearly = 2;
    const int64_t points = m_point.count + m_groupedPoint.count;
    const int64_t commas = m_comma.count + m_groupedComma.count;
    const bool mostlyPoints = m_groupedPoint.count > 0 || points > commas * kClearly;
    marks.own = true;
    marks.mixed = points > 0;
    marks.decimal = dialect.decimal = mostlyPoints ? DecimalMark::Point : DecimalMark::Comma;
    if (marks.mixed && m_either.count > 0) {
        notes.Add(Note::MarksUndecided, 0, {m_either.count, m_either.text, m_either.line});
    }
    if (mostlyPoints) {
        notes.Add(Note::DecimalPointMostly, 0, {point.text, point.line, comma.text, comma.line});
    } else if (marks.mixed) {
        notes.Add(Note::DecimalCommaMostly, comma.line, {comma.text, point.text, point.line});
    } else {
        notes.Add(Note::DecimalComma, comma.line, {comma.text});
    }
    return marks;
}

}  // namespace quillon
