// What the notes of an import say.

#include <iterator>

#include "import/text/Dialect.h"
#include "wording/ImportValueWords.h"
#include "wording/ImportWords.h"

namespace quillon {

namespace {

using Code = ImportNoteCode;

struct Sentence {
    Code code;
    const char* text;  // for Filled()
};

constexpr Sentence kSentences[] = {
    {Code::TextIs, "The text is {0}."},
    {Code::TextIsUtf8, "The text is utf-8. (The header says {0}.)"},
    {Code::TextIsNotAsDeclared,
     "The text is {0}. The header says {1}, which it is not or which is not known here: check the "
     "names."},
    {Code::CharactersReplaced, "{0} broken characters were replaced by a question mark sign."},
    {Code::DatesDayFirst, "Dates have the day first: {0}."},
    {Code::DatesMonthFirst, "Dates have the month first: {0}."},
    {Code::DatesYearFirst, "Dates have the year first: {0}."},
    {Code::DatesNameMonth, "Dates name the month: {0}."},
    {Code::DatesDayFirstByTime,
     "Dates have the day first, as in {0}: so read they follow each other in time, the other way "
     "they jump."},
    {Code::DatesMonthFirstByTime,
     "Dates have the month first, as in {0}: so read they follow each other in time, the other "
     "way they jump."},
    {Code::DatesContradict,
     "Dates contradict each other: line {0} ({1}) has the day first, line {2} ({3}) the month. "
     "They are read month first; those that are no date then are listed."},
    {Code::DatesUndecided,
     "No date tells the day from the month ({0} in line {1} could be either); they are read month "
     "first."},
    {Code::DatesUndecidedDayFirst,
     "No date tells the day from the month ({0} in line {1} could be either); they are read day "
     "first."},
    {Code::DatesMostlyDayFirst,
     "Dates contradict each other: line {0} ({1}) has the day first, as most, line {2} ({3}) the "
     "month. They are read day first; those that are no date then are listed."},
    {Code::YearsAsWritten, "Years are as written: {0}."},
    {Code::YearsOfBothKinds,
     "Years are as written: {0}. Shorter ones, such as {1} in line {2}, are 2000 to 2050 or 1951 "
     "to 1999."},
    {Code::DecimalComma, "Amounts have a decimal comma: {0}."},
    {Code::DecimalCommaMostly,
     "Amounts have a decimal comma: {0}. Some have a point ({1} in line {2}) and were read by it."},
    {Code::DecimalPointMostly,
     "Amounts have a decimal point ({0} in line {1}); some have a comma ({2} in line {3}) and were "
     "read by it."},
    {Code::MarksUndecided,
     "{0} amounts could have a decimal mark or a thousands mark, the first is {1} in line {2}: "
     "taken for thousands."},

    {Code::NotRewritten,
     "The file could not be rewritten with every element on a line of its own; it was left as it "
     "is."},
    {Code::ChangedMeanwhile, "The file is no longer what was read; it was left as it is."},
    {Code::StatementsUnnamed, "Several statements of the file name no account; they count as one."},
    {Code::CardForOtherAccount,
     "'{0}' is a card's statement, but the account is no credit account."},
    {Code::BankForCreditAccount,
     "'{0}' is a bank account's statement, but the account is a credit account."},
    {Code::SourcesLeftOut, "Only {0} was read; left out: {1}."},
    {Code::SourcesJoined,
     "The file holds several accounts; the lines of all of them go into this one: {0}."},
    {Code::SecuritiesSkipped, "Skipped: {0} actions on securities, which are no bank-style lines."},
    {Code::ListsSkipped, "Skipped: lists of the type {0}."},
    {Code::ReadAsBank, "No heading says what register this is: read as a bank register."},
    {Code::ReadAsInvestment,
     "No heading says what register this is: read as an investment register."},
    {Code::TypeReadAsBank,
     "The type {0q} is not known, but holds dates and amounts: read as a bank register."},
    {Code::TypeReadAsInvestment,
     "The type {0q} is not known, but holds dates and amounts: read as an investment register."},
    {Code::ProfileUsed, "Read by the profile '{0}'."},
    {Code::BalanceProves, "The balances prove {0} of {1} rows."},
    {Code::FeesByBalance,
     "The fees in column {0} go out beside the amounts, as the balances show."},
    {Code::SignsByBalance, "Amounts are written the other way round, as the balances show."},
    {Code::SignsByWords,
     "Amounts are written the other way round: payments and credits are negative."},
    {Code::SignsByMajority,
     "Most amounts are positive and were taken for purchases, as in a card's statement; --invert "
     "turns the signs."},
    {Code::SignsOfRowsByBalance, "No amount has a sign: the balances tell which go out."},
    {Code::SignsUnknown,
     "Nothing tells which amounts go out; their signs were read as they are written. --invert "
     "turns them."},

    {Code::NoDate, "No date: entered under today's."},
    {Code::NoDateButOfUse, "No date: entered under the date of use, {0}."},
    {Code::DateUnreadable, "The date {0q} cannot be read: entered under today's."},
    {Code::DateUnreadableButOfUse,
     "The date {0q} cannot be read: entered under the date of use, {1}."},

    {Code::NoAmount, "No amount: entered as 0."},
    {Code::AmountUnreadable, "The amount {0q} cannot be read: entered as 0."},
    {Code::AmountPartlyRead,
     "The amount {0q} is not a clean number: what stands beside it was left out."},
    {Code::AmountOfOtherMark,
     "The amount {0q} has the other decimal mark: it was read by its own."},
    {Code::AmountOfThousands,
     "The amount {0q} was read with its mark as a thousands mark; it could be a decimal one."},
    {Code::AmountOdd,
     "The amount {0q} is not written as statements write amounts; what it says was read."},
    {Code::AmountRounded, "The amount {0q} has more than two decimals: entered as {1}."},
    {Code::SumRounded, "The amount {0d} has more than two decimals: entered as {1r}."},
    {Code::AmountOfSplits, "No amount of its own: entered with the sum of its splits."},
    {Code::AmountOfSplitsPartlyRead,
     "No amount of its own: entered with the sum of its splits, of which some are no clean "
     "numbers."},
    {Code::RowOfBothSides,
     "Money out and money in stand in one line: entered with the difference."},
    {Code::BalanceDoesNotFollow,
     "The balance {0q} does not follow from this amount: a wrong sign, a wrong decimal mark or a "
     "missing line."},
    {Code::SignOfRowUnknown,
     "Nothing tells whether this amount goes out: it was read as it is written."},

    {Code::NoNameNoMemo, "No name and no memo: entered without a payee."},
    {Code::NoPayeeNoMemo, "No payee and no memo: entered without a payee."},

    {Code::NumberLeftOut, "The number {0q} is no check number and was left out."},
    {Code::NumberToMemo, "The number {0q} is no check number: it went to the memo."},

    {Code::CorrectsLine,
     "The bank corrects its line {0q} by this one: if the old one is in the account, delete it."},
    {Code::CorrectsItself, "The bank corrects its line {0q} by this one."},
    {Code::IdentifierMade, "No identifier: one was made from date, amount and name."},

    {Code::TransferOneSided,
     "A transfer with account {0q}: only this side was entered, under \"Transfer\"."},

    {Code::SplitParts, "Split over {0} parts: entered as one, under {1q}."},
    {Code::SplitPartsUnfiled, "Split over {0} parts: entered as one, without a category."},
    {Code::SplitRest, "Split into one part and a rest: entered as one, under {0q}."},
    {Code::SplitRestUnfiled, "Split into one part and a rest: entered as one, without a category."},

    {Code::RecordEmpty, "An empty record; not entered."},
    {Code::RecordWithoutValues, "Neither a date nor an amount: not a transaction, not entered."},
    {Code::RecordInNoRegister, "In no register, and without a date and an amount: not entered."},
    {Code::RecordCutOff, "The file ends inside this record; it was not entered."},
    {Code::RecordNotWhole,
     "This record is not closed by \"^\" and lacks date or amount; it was not entered."},
    {Code::RecordUnreadable, "Neither its date nor its amount can be read: not entered."},
    {Code::LineCutOff,
     "The file ends inside this statement line; it was not entered. Downloading the statement "
     "again brings it."},
    {Code::LineWithdrawn,
     "The bank withdraws its line {0q}: nothing was entered; delete that transaction by hand."},
    {Code::LineEmpty, "Neither date, amount nor identifier: this line was not entered."},
    {Code::ActionElsewhere, "Investment action {0q} is settled with another account; not entered."},
    {Code::ActionOfShares, "Investment action {0q} moves shares only; not entered."},
    {Code::ActionUnknown, "Investment action {0q} is not known; not entered."},
    {Code::AmountTooLarge, "The amount is too large for the ledger; not entered."},
    {Code::RowPending, "Not booked yet ({0q}): not entered."},
    {Code::RowVoid, "Never booked ({0q}): not entered."},
    {Code::RowOfBalance, "A balance or a total ({0q}), no transaction: not entered."},
    {Code::RowOfZero, "An amount of 0: not entered."},
    {Code::RowOfOtherCurrency,
     "The amount {0q} is in {1}, the account's currency is {2}: not entered."},
    {Code::RowOfText, "Neither a date nor an amount: not a transaction, not entered."},
    {Code::RowWithoutDate, "The amount {0q} has no date: not entered."},
    {Code::RowWithoutAmount, "No amount: not entered."},
    {Code::RowTooLong,
     "{0} columns where the others have {1}: which is which is not clear, not entered."},
    {Code::RowTooShort, "{0} columns where the others have {1}, and no amount: not entered."},

    {Code::LineRepeated, "The same line as in line {0}, said again; entered once."},
    {Code::IdentifierShared,
     "Line {0} has the same identifier, but another date, amount or name: both count."},
    {Code::IdentifierOfOthers,
     "Line {0} has the same identifier, but is another account's: both count."},

    {Code::HeldDiffers,
     "The account holds this line already, with another date or amount; it was left as it is."},
    {Code::TakenForEntry, "Taken for the entry of {0}, which was made by hand."},
    {Code::MayBeEntry, "May be the entry of {0}, which is as much and was made by hand."},
    {Code::EntryChanged,
     "The entry that this line was taken for has changed since then: the line was entered."},

    {Code::TextCut, "A text of this record is longer than {0} bytes; its beginning was kept."},
    {Code::RecordNotClosed, "This record is not closed by \"^\"; it was entered up to line {0}."},
    {Code::LineNotClosed, "This statement line has no </STMTTRN>; it was entered as it is."},
    {Code::ClassLeftOut, "The class {0q} behind the category was left out."},
    {Code::TradeInCash,
     "Investment action {0q} is settled in the account's own cash: its money was entered, its "
     "shares were not."},
    {Code::RowShort, "{0} columns where the others have {1}: entered as it is."},
    {Code::QuoteNotClosed, "A quotation mark is never closed: it was read as a letter."},

    {Code::SeveralCurrencies,
     "The accounts of the file are kept in several currencies ({0}); all amounts were entered as "
     "they are."},
    {Code::CurrencyConverted,
     "The amount {0q} in {1} was entered as {2}{4}, at the rate {3q} that stands with it."},
    {Code::CurrencyConvertedByBank,
     "The bank converted this line from {0}; its amount {1q} was entered as it is."},
    {Code::CurrencyWithoutRate,
     "The amount {0q} is in {1}{2}, and no rate stands with it: it was entered as it is."},
    {Code::CurrencyChanged,
     "The amount {0q} is not in {1q}, as those before: it was entered as it is."},
    {Code::CurrencyOfAccount,
     "The file holds several currencies: the amounts in {0} enter (column {1}), the others are "
     "listed."},

    {Code::TypeSaysOut,
     "The type {0q} says that money goes out, but the amount comes in; the amount's sign counts."},
    {Code::TypeSaysIn,
     "The type {0q} says that money comes in, but the amount goes out; the amount's sign counts."},
};

constexpr bool AreInOrder() {
    for (size_t i = 0; i < std::size(kSentences); ++i) {
        if (kSentences[i].code != static_cast<Code>(i)) return false;
    }
    return std::size(kSentences) == static_cast<size_t>(Code::kCount);
}
static_assert(AreInOrder(), "a sentence for each code, in the order of the codes");

// A currency that the file does not name.
void NameCurrency(ImportValue& currency) {
    if (std::get<std::string>(currency).empty()) currency = "another currency";
}

// The statement's own currency, behind an amount; nothing where it is not known.
void PutBefore(const char* words, ImportValue& currency) {
    std::string& text = std::get<std::string>(currency);
    if (!text.empty()) text.insert(0, words);
}

std::string AllInQuotes(const std::vector<ImportValue>& names) {
    std::string all;
    for (const ImportValue& name : names) {
        all += (all.empty() ? "" : ", ") + InQuotes(std::get<std::string>(name));
    }
    return all;
}

// The values of a note as its sentence takes them.
std::vector<ImportValue> ShownValues(const ImportNote& note, const ImportResult& result) {
    std::vector<ImportValue> values = note.values;
    switch (note.code) {
        case Code::TextIs:
        case Code::TextIsNotAsDeclared:
            values[0] = NameOf(static_cast<Charset>(std::get<int64_t>(values[0])));
            break;
        case Code::SourcesLeftOut:
            return {ListOfSources(result.sources, true), ListOfSources(result.sources, false)};
        case Code::SourcesJoined:
            return {ListOfSources(result.sources, true)};
        case Code::ListsSkipped:
            return {AllInQuotes(values)};
        case Code::CurrencyConverted:
            NameCurrency(values[1]);
            PutBefore(" ", values[4]);
            break;
        case Code::CurrencyConvertedByBank:
            NameCurrency(values[0]);
            break;
        case Code::CurrencyWithoutRate:
            NameCurrency(values[1]);
            PutBefore(", not in ", values[2]);
            break;
        default:
            break;
    }
    return values;
}

const char* SentenceFor(const ImportNote& note) {
    if (note.code == Code::MarksUndecided && note.values[0] == ImportValue(int64_t{1})) {
        return "1 amount could have a decimal mark or a thousands mark, the first is {1} in line "
               "{2}: taken for thousands.";
    }
    return kSentences[static_cast<size_t>(note.code)].text;
}

}  // namespace

std::string ImportNoteText(const ImportNote& note, const ImportResult& result) {
    std::string text = Filled(SentenceFor(note), ShownValues(note, result));
    if (note.count == 1) return text;
    text += " (" + std::to_string(note.count) + " such";
    if (note.lastLine > note.line) {
        text += ", lines " + std::to_string(note.line) + " to " + std::to_string(note.lastLine);
    }
    return text + ")";
}

}  // namespace quillon
