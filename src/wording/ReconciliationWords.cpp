#include "wording/ReconciliationWords.h"

#include <cmath>

#include "foundation/CalendarDate.h"
#include "foundation/CurrencyFormat.h"

namespace quillon {

namespace {

std::string DateOf(const RegisterLine& line) {
    return FormatIsoDate(line.row.serviceDate);
}

std::string AmountOf(const RegisterLine& line) {
    return FormatCurrency(std::fabs(line.effect));
}

std::string WrongSideText(const RegisterLine& line) {
    const bool in = line.effect > 0;
    return AmountOf(line) + " on " + DateOf(line) + " is half of the difference and " +
           (in ? "comes in" : "goes out") + "; it should perhaps " + (in ? "go out" : "come in") +
           ".";
}

std::string EnteredTwiceText(const RegisterLine& first, const RegisterLine& second) {
    const std::string days = DateOf(first) == DateOf(second)
                                 ? "twice on " + DateOf(first)
                                 : "on " + DateOf(first) + " and on " + DateOf(second);
    return AmountOf(first) + " for the same payee was entered " + days +
           "; if that is one time too many, it explains the difference.";
}

}  // namespace

std::string HintText(const ReconciliationHint& hint) {
    const RegisterLine& line = *hint.lines.front();
    const std::string amountAndDate = AmountOf(line) + " on " + DateOf(line);
    switch (hint.kind) {
        case ReconciliationHintKind::WrongSide:
            return WrongSideText(line);
        case ReconciliationHintKind::Transposed:
            return amountAndDate + " may have two digits swapped; " +
                   FormatCurrency(hint.rightAmount) + " would explain the difference.";
        case ReconciliationHintKind::EnteredTwice:
            return EnteredTwiceText(line, *hint.lines.back());
        case ReconciliationHintKind::OutsideDays:
            return amountAndDate +
                   " explains the difference, but lies outside the look back days: " +
                   std::to_string(hint.days) + " would include it.";
        case ReconciliationHintKind::AllCandidates:
            break;
    }
    return "All " + std::to_string(hint.lines.size()) +
           " transactions of the look back days together explain the difference; perhaps none of "
           "them has cleared the bank.";
}

}  // namespace quillon
