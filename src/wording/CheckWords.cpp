#include "wording/CheckWords.h"

namespace quillon {

namespace {

// "payee", in the middle of a sentence.
std::string WordFor(CheckField field) {
    switch (field) {
        case CheckField::Date:
            return "date";
        case CheckField::Payee:
            return "payee";
        case CheckField::Amount:
            return "numeric amount";
        case CheckField::WrittenAmount:
            return "written amount";
        case CheckField::Memo:
            break;
    }
    return "memo";
}

// What of the layout speaks against a check.
std::string LayoutMessage(const CheckTrouble& trouble) {
    switch (trouble.problem) {
        case CheckProblem::BadPosition:
            return "A position in the account's check layout cannot be used; set it anew, as "
                   "three positive whole numbers.";
        case CheckProblem::BadWidth:
            return "The check width in the account's check layout cannot be used; set it anew, "
                   "as a positive number of inches.";
        case CheckProblem::TooWide:
            return "The check width in the account's check layout is above 100 inches; set the "
                   "width of the check forms.";
        case CheckProblem::DoesNotFit:
            return "The " + WordFor(trouble.field) +
                   " does not fit on the check, even in small print; change its position or the "
                   "check width.";
        default:
            return {};
    }
}

}  // namespace

std::string CheckMessage(const CheckTrouble& trouble) {
    switch (trouble.problem) {
        case CheckProblem::NoSuchAccount:
            return "There is no such account.";
        case CheckProblem::NotChecking:
            return "Checks are drawn on checking accounts only; choose one of those.";
        case CheckProblem::NoSuchTransaction:
            return "There is no such transaction; the register of the account shows all.";
        case CheckProblem::OtherAccount:
            return "The transaction is not one of this account; choose the account it is in.";
        case CheckProblem::ComesIn:
            return "The transaction brings money into the account; a check takes money out.";
        case CheckProblem::Electronically:
            return "The transaction is an electronic payment; take that mark away to pay it by "
                   "check.";
        case CheckProblem::NoAmount:
            return "The amount of the transaction is 0.00; a check needs an amount.";
        case CheckProblem::TooLarge:
            return "Amounts of a billion and more cannot be written in words; use several checks.";
        case CheckProblem::BadNumber:
            return "The check number must be 1 or above.";
        case CheckProblem::NoNumberLeft:
            return "There is no check number above the account's latest one; specify one.";
        default:
            return LayoutMessage(trouble);
    }
}

std::string CheckNoteText(const CheckNote& note) {
    switch (note.kind) {
        case CheckNote::Kind::NoPayee:
            return "The transaction has no payee; write it by hand.";
        case CheckNote::Kind::NoWords:
            return "An amount below 1.00 has no words; write it by hand.";
        case CheckNote::Kind::NumberUsed:
            return "Check number " + std::to_string(note.number) + " is also that of transaction " +
                   std::to_string(note.transactionId) + ".";
        case CheckNote::Kind::TextCut:
            break;
    }
    return "The " + WordFor(note.field) + " is too long for its place and was cut.";
}

}  // namespace quillon
