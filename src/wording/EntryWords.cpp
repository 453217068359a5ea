#include "wording/EntryWords.h"

namespace quillon {

std::string EntryMessage(EntryProblem problem) {
    switch (problem) {
        case EntryProblem::None:
            return {};
        case EntryProblem::DateMissing:
            return "An entry needs a date; T is today.";
        case EntryProblem::DateUnknown:
            return "There is no such date; write it as 2024-05-17, or a day alone.";
        case EntryProblem::TypeUnknown:
            return "Choose one of the types in the list.";
        case EntryProblem::NumberUnknown:
            return "Write a check number, + for the next one, or ATM, EFT or Transfer.";
        case EntryProblem::AmountMissing:
            return "An entry needs an amount.";
        case EntryProblem::AmountUnknown:
            return "This is no amount; write 12.50, or a calculation such as 3*4.20+1.";
        case EntryProblem::ParenthesisOpen:
            return "A parenthesis has no partner.";
        case EntryProblem::DivisionByZero:
            return "Nothing can be divided by zero.";
        case EntryProblem::AmountNegative:
            return "The amount carries no sign; the type says whether it comes in or goes out.";
        case EntryProblem::AmountTooLarge:
            return "The amount is too large for the ledger.";
        case EntryProblem::FractionOfCent:
            return "The amount has more than two decimals; write it in whole cents.";
        case EntryProblem::NameTooManyLines:
            return "A name stands on one line.";
    }
    return {};
}

}  // namespace quillon
