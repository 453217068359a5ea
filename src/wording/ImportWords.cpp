#include "wording/ImportWords.h"

#include <algorithm>
#include <iterator>

#include "wording/ImportValueWords.h"
#include "wording/Words.h"

namespace quillon {

namespace {

using Code = ImportRefusalCode;

struct ReasonText {
    Code code;
    const char* text;  // for Filled()
};

// What follows the sentence that the import failed. The others have more to say.
constexpr ReasonText kReasons[] = {
    {Code::NoPermission, "It may not be read: check its permissions."},
    {Code::ReadFailed, "It cannot be read."},
    {Code::Empty, "The file is empty."},
    {Code::NotText, "It is not a text file."},
    {Code::NoLines, "It cannot be split into lines."},
    {Code::NoDates, "None of its dates can be read."},
    {Code::QifInvestments,
     "It holds only investment actions ({0}) that move none of the account's own money."},
    {Code::QifIncomplete, "None of its records ({0}) has a date and an amount."},
    {Code::QifNoRecords, "Its registers hold no transactions."},
    {Code::QifNoRegister, "It holds no register of transactions."},
    {Code::QifIsOfx, "It is an OFX statement: import it as QFX."},
    {Code::NotQif, "It is not a QIF file: no line begins with \"!Type:\"."},
    {Code::NotOfx, "It is not an OFX statement: it holds neither <OFX> nor <STMTTRN>."},
    {Code::OfxNoCompleteLine, "No statement line in it is complete."},
    {Code::OfxInvestments,
     "It is an investment statement ({0} actions on securities) without bank-style lines."},
    {Code::OfxNoLines, "Its statements hold no lines."},
    {Code::CsvIsOther, "It holds no rows of text but {0}."},
    {Code::CsvHeadingAlone, "It holds a heading and no rows."},
    {Code::CsvNoSuchColumn, "Its rows have no such column as was asked for."},
    {Code::AccountUnreadable, "The account's transactions cannot be read."},
    {Code::NoSuchAccount, "The account does not exist."},
    {Code::AccountClosed, "The account is closed."},
    {Code::SpentPlan, "This plan was carried out before."},
};

std::string ListsReason(const std::vector<ImportValue>& types) {
    std::string lists;
    for (const ImportValue& type : types) {
        lists += (lists.empty() ? "" : ", ") + std::get<std::string>(type);
    }
    return "It holds only lists (" + lists + ") and no register of transactions.";
}

std::string BankReason(const std::vector<ImportValue>& values) {
    const bool hasMessage = !std::get<std::string>(values[1]).empty();
    return Filled(hasMessage ? "The bank sent no statement but error {0}: {1}"
                             : "The bank sent no statement but error {0}",
                  values);
}

std::string ShownDelimiter(const ImportValue& value) {
    const std::string& text = std::get<std::string>(value);
    return text == "\t" ? "tab" : "'" + text + "'";
}

std::string ShownColumn(const char* what, const ImportValue& column) {
    const int64_t number = std::get<int64_t>(column);
    return std::string(what) + (number == 0 ? " in none" : " in column " + std::to_string(number));
}

// "Tried: ',' (3 rows, 5 columns, dates in column 1, amounts in none)"
std::string CsvReason(bool hasAmounts, const std::vector<ImportValue>& values) {
    std::string reason = hasAmounts ? "No column of it holds dates."
                                    : "None of its rows has both a date and an amount.";
    if (!std::get<std::string>(values[0]).empty()) {
        reason +=
            Filled(" {0q} fits no order of day, month and year, or lies before 1601.", values);
    }
    reason += " Tried: ";
    constexpr size_t kEach = 5;
    int64_t date = 0;
    int64_t amount = 0;
    for (size_t at = 1; at + kEach <= values.size(); at += kEach) {
        reason += (at == 1 ? "" : ", ") + ShownDelimiter(values[at]) + " (" +
                  Filled("{0} rows, {1} columns, ", std::span(values).subspan(at + 1, 2)) +
                  ShownColumn("dates", values[at + 3]) + ", " +
                  ShownColumn("amounts", values[at + 4]) + ")";
        if (date == 0 && amount == 0) {
            date = std::get<int64_t>(values[at + 3]);
            amount = std::get<int64_t>(values[at + 4]);
        }
    }
    const auto column = [](int64_t number) {
        return number == 0 ? std::string("N") : std::to_string(number);
    };
    return reason + ". --map date=" + column(date) + ",amount=" + column(amount) +
           " says which columns they are.";
}

// The ledger took no more.
std::string StoreReason(const ImportResult& result) {
    std::string reason = result.refusal.code == Code::DiskFull ? "The disk is full"
                                                               : "The database cannot be written";
    reason += ": " + std::to_string(result.imported) + " of " + std::to_string(result.read) +
              " transactions were entered and stay.";
    if (result.tellsHeld) {
        reason += " Importing the file again adds the rest without duplicates.";
    } else if (result.imported > 0) {
        reason += " Importing the file again would enter these twice.";
    }
    return reason;
}

std::string Reason(const ImportResult& result) {
    const ImportRefusal& refusal = result.refusal;
    switch (refusal.code) {
        case Code::QifOnlyLists:
            return ListsReason(refusal.values);
        case Code::OfxBankReports:
            return BankReason(refusal.values);
        case Code::CsvNoDates:
        case Code::CsvNoRows:
            return CsvReason(refusal.code == Code::CsvNoDates, refusal.values);
        case Code::DiskFull:
        case Code::StoreFailed:
            return StoreReason(result);
        default:
            break;
    }
    const auto* const reason =
        std::find_if(std::begin(kReasons), std::end(kReasons),
                     [&refusal](const ReasonText& row) { return row.code == refusal.code; });
    return reason == std::end(kReasons) ? std::string() : Filled(reason->text, refusal.values);
}

std::string Counter(const char* what, int64_t count) {
    return "\n" + std::string(what) + std::to_string(count);
}

std::string Counters(const ImportResult& result) {
    return "\n" + Counter("Total transactions in file:   ", result.read) +
           Counter("Transactions imported:     ", result.imported);
}

std::string StoppedReport(const ImportResult& result, const std::string& path) {
    return "The import of " + Quoted(path) +
           " was stopped before its end; what was entered stays." +
           (result.tellsHeld ? " Importing the file again adds the rest."
                             : " Importing the file again would enter that twice.") +
           Counters(result);
}

}  // namespace

std::string ImportRefusalMessage(const ImportResult& result, const std::string& path) {
    const std::string file = Quoted(path);
    const std::string sources =
        result.sources.empty() ? "none by name" : ListOfSources(result.sources);
    switch (result.refusal.code) {
        case Code::NoSuchFile:
            return "The import file " + file + " does not exist.";
        case Code::SourceUnclear:
            return "The file " + file + " holds several accounts: " + sources +
                   ". Nothing was entered; say which of them is meant.";
        case Code::SourceUnknown:
            return "The file " + file + " holds no account " +
                   Filled("'{0}', but ", result.refusal.values) + sources + ".";
        case Code::OutOfMemory:
            return "There is not enough memory to import " + file + ".";
        default:
            break;
    }
    const std::string reason = Reason(result);
    return "An error occurred importing the " + std::string(result.format.name) + " data file " +
           file + "." + (reason.empty() ? "" : " " + reason);
}

std::string ImportReport(const ImportResult& result, const std::string& path) {
    if (result.dryRun) {
        return "Nothing was entered from " + Quoted(path) + ": it was only tried.\n" +
               Counter("Total transactions in file:   ", result.read) +
               Counter("Transactions to enter:     ", result.imported);
    }
    if (result.cancelled) return StoppedReport(result, path);
    std::string report = "The " + std::string(result.format.name) + " data file " + Quoted(path) +
                         " was imported successfully." + Counters(result);
    if (result.format.hasCategories) {
        report += Counter("Categories created:          ", result.categoriesCreated);
    }
    return report;
}

}  // namespace quillon
