#pragma once

#include <string>

namespace quillon {

// What is wrong with a field of an entry, as it was typed.
enum class EntryProblem {
    None,
    DateMissing,
    DateUnknown,    // no date, or a day that the month does not have
    TypeUnknown,    // no kind of transaction of the account
    NumberUnknown,  // neither a check number nor a kind of electronic payment
    AmountMissing,
    AmountUnknown,    // no number and no calculation
    ParenthesisOpen,  // one is not closed, or closed without being open
    DivisionByZero,
    AmountNegative,  // the type gives the direction
    AmountTooLarge,
    FractionOfCent,    // more than two decimals; what is calculated is rounded
    NameTooManyLines,  // a line break or another control character in a name
};

// What is said beside the field, and what to do. Empty for None.
std::string EntryMessage(EntryProblem problem);

}  // namespace quillon
