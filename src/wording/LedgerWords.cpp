#include "wording/LedgerWords.h"

namespace quillon {

namespace {

std::string NameTakenMessage(const NameTrouble& trouble, Medium medium) {
    if (!trouble.isPayee) {
        return "There is a category " + Quoted(trouble.name) + " already; choose another name.";
    }
    const std::string there = "There is a payee " + Quoted(trouble.name) + " already; ";
    if (medium == Medium::Window) return there + "to join the two, merge one into the other.";
    return there + "to join two of them use 'payee delete OLD --to " + trouble.name + "'.";
}

std::string UsedMessage(const NameTrouble& trouble, Medium medium) {
    const std::string used =
        std::string("The ") + (trouble.isPayee ? "payee " : "category ") + Quoted(trouble.name) +
        " is used in " + Counted(trouble.uses, "place", "places") + "; give another one for them";
    if (medium == Medium::Window) return used + ".";
    return used + (trouble.isPayee ? " with --to PAYEE." : " with --to CATEGORY.");
}

}  // namespace

std::string LedgerMessage(LedgerStatus status, Medium medium) {
    switch (status) {
        case LedgerStatus::Ok:
            return {};
        case LedgerStatus::NoSuchAccount:
            return std::string("The account is no longer there") +
                   For(medium, "; 'account list' shows all.", ".");
        case LedgerStatus::NoSuchTransaction:
            return std::string("There is no such transaction") +
                   For(medium, "; 'transaction list ACCOUNT' shows them.", " any more.");
        case LedgerStatus::NoSuchCategory:
            return std::string("The category is no longer there") +
                   For(medium, "; 'category list' shows all.", ".");
        case LedgerStatus::NoSuchPayee:
            return std::string("The payee is no longer there") +
                   For(medium, "; 'payee list' shows all.", ".");
        case LedgerStatus::AccountClosed:
            return std::string("The account is closed; ") +
                   For(medium, "'account reopen NAME' takes it into use again.",
                       "reopen it to enter something.");
        case LedgerStatus::AccountSo:
            return "The account is so already.";
        case LedgerStatus::FractionOfCent:
            return "The amount has more than two decimals; write it in whole cents.";
        case LedgerStatus::CategoryKept:
        case LedgerStatus::CategoryReserved:
            return "The program itself files rows under this category; choose another.";
        case LedgerStatus::StillUsed:
            return "Rows are filed under this name; give another one for them.";
        case LedgerStatus::SameTarget:
            return "The rows go to another name; choose that.";
        case LedgerStatus::SameAccount:
            return "A transfer needs two different accounts.";
        case LedgerStatus::BadAmount:
            return "The amount is negative, no number, or too large for the ledger.";
        case LedgerStatus::NameMissing:
            return "An account needs a name.";
        case LedgerStatus::NameTaken:
            return "There is an account of that name already; choose another name.";
        case LedgerStatus::StoreFailed:
            break;
    }
    return "The ledger could not be read or written.";
}

std::string NameMessage(LedgerStatus status, const NameTrouble& trouble, Medium medium) {
    switch (status) {
        case LedgerStatus::NameMissing:
            return trouble.isPayee ? "A payee needs a name." : "A category needs a name.";
        case LedgerStatus::NameTaken:
            return NameTakenMessage(trouble, medium);
        case LedgerStatus::CategoryKept:
            return "The category " + Quoted(trouble.name) +
                   " is needed by the program and stays as it is.";
        case LedgerStatus::CategoryReserved:
            return "Nothing is moved to " + Quoted(trouble.target) +
                   ", under which the program itself files transfers and opening balances; choose "
                   "another category.";
        case LedgerStatus::StillUsed:
            return UsedMessage(trouble, medium);
        case LedgerStatus::SameTarget:
            return std::string(For(medium, "--to names the ", "The rows cannot stay with the ")) +
                   (trouble.isPayee ? "payee" : "category") + " itself.";
        default:
            return LedgerMessage(status, medium);
    }
}

}  // namespace quillon
