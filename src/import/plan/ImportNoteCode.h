#pragma once

#include <cstdint>

namespace quillon {

// What an import has to say of a line, or of the whole file, one code for one sentence.
// Behind each its values, in their order: "amount", "date" and the like are texts as the
// file writes them.
enum class ImportNoteCode : uint8_t {
    // --- how the file is written
    TextIs,                  // a Charset
    TextIsUtf8,              // what the header says instead
    TextIsNotAsDeclared,     // a Charset, what the header says
    CharactersReplaced,      // how many
    DatesDayFirst,           // a date that proves it
    DatesMonthFirst,         // the same
    DatesYearFirst,          // the same
    DatesNameMonth,          // the same
    DatesDayFirstByTime,     // a date that could be either: so read they follow each other
    DatesMonthFirstByTime,   // the same
    DatesContradict,         // line and date with the day first, line and date with the month
    DatesUndecided,          // a date that could be either, its line
    DatesUndecidedDayFirst,  // the same
    DatesMostlyDayFirst,     // as DatesContradict
    YearsAsWritten,          // a date
    YearsOfBothKinds,        // a date with a long year, one with a short year, its line
    DecimalComma,            // an amount
    DecimalCommaMostly,      // an amount, one with a point, its line
    DecimalPointMostly,      // an amount with a point, its line, one with a comma, its line
    MarksUndecided,          // how many amounts, the first, its line
    // --- the file
    NotRewritten,
    ChangedMeanwhile,
    StatementsUnnamed,
    CardForOtherAccount,   // the source's name
    BankForCreditAccount,  // the source's name
    SourcesLeftOut,        // those of the result
    SourcesJoined,         // those of the result
    SecuritiesSkipped,     // how many actions
    ListsSkipped,          // the types of the lists, a text each
    ReadAsBank,            // no heading says what it is
    ReadAsInvestment,      // the same
    TypeReadAsBank,        // the type, which is not known
    TypeReadAsInvestment,  // the same
    ProfileUsed,           // its name
    BalanceProves,         // of how many rows, of how many that could be compared
    FeesByBalance,         // the column of fees, which go out beside the amounts
    SignsByBalance,        // amounts written positive go out
    SignsByWords,          // the same
    SignsByMajority,       // the same
    SignsOfRowsByBalance,  // of each row, since none is written
    SignsUnknown,          // nothing tells which amounts go out
    // --- dates
    NoDate,
    NoDateButOfUse,          // date of use
    DateUnreadable,          // date
    DateUnreadableButOfUse,  // date, date of use
    // --- amounts
    NoAmount,
    AmountUnreadable,   // amount
    AmountPartlyRead,   // amount
    AmountOfOtherMark,  // amount
    AmountOfThousands,  // amount
    AmountOdd,          // amount
    AmountRounded,      // amount, the number it was entered as
    SumRounded,         // the number it was, the number it was entered as
    AmountOfSplits,
    AmountOfSplitsPartlyRead,
    RowOfBothSides,        // money out and money in
    BalanceDoesNotFollow,  // balance
    SignOfRowUnknown,
    // --- payees
    NoNameNoMemo,
    NoPayeeNoMemo,
    // --- check numbers
    NumberLeftOut,  // number
    NumberToMemo,   // number
    // --- identifiers
    CorrectsLine,    // identifier of the old one
    CorrectsItself,  // identifier
    IdentifierMade,
    // --- transfers
    TransferOneSided,  // the other account
    // --- splits
    SplitParts,         // how many, category
    SplitPartsUnfiled,  // how many
    SplitRest,          // category
    SplitRestUnfiled,
    // --- not entered
    RecordEmpty,
    RecordWithoutValues,
    RecordInNoRegister,
    RecordCutOff,
    RecordNotWhole,
    RecordUnreadable,
    LineCutOff,
    LineWithdrawn,  // identifier of the one that the bank withdraws
    LineEmpty,
    ActionElsewhere,  // investment action
    ActionOfShares,   // investment action
    ActionUnknown,    // investment action
    AmountTooLarge,
    RowPending,    // the text that says so
    RowVoid,       // the same
    RowOfBalance,  // the same
    RowOfZero,
    RowOfOtherCurrency,  // amount, currency, the account's currency
    RowOfText,
    RowWithoutDate,  // amount
    RowWithoutAmount,
    RowTooLong,   // how many columns, how many the others have
    RowTooShort,  // the same
    // --- said before
    LineRepeated,        // line of the first
    IdentifierShared,    // line of the first
    IdentifierOfOthers,  // line of the first, which is another account's
    // --- differs from what the account holds
    HeldDiffers,
    TakenForEntry,  // date of the entry
    MayBeEntry,     // the same
    EntryChanged,   // since the plan was made
    // --- other things about a record
    TextCut,          // bytes that were kept
    RecordNotClosed,  // up to which line it was read
    LineNotClosed,
    ClassLeftOut,  // class
    TradeInCash,   // investment action
    RowShort,      // how many columns, how many the others have
    QuoteNotClosed,
    // --- currencies; empty where the file does not say which
    SeveralCurrencies,        // their codes in one text
    CurrencyConverted,        // amount, currency, number entered, rate, the statement's currency
    CurrencyConvertedByBank,  // currency, amount
    CurrencyWithoutRate,      // amount, currency, the statement's currency
    CurrencyChanged,          // amount, currency of those before
    CurrencyOfAccount,        // its code, the column that says so
    // --- types of transactions
    TypeSaysOut,  // type
    TypeSaysIn,   // type
    kCount,
};

// The parts of the list above.
enum class ImportNoteSubject : uint8_t {
    Dialect,
    File,
    Date,
    Amount,
    Payee,
    Number,
    Identifier,
    Transfer,
    Splits,
    Skipped,
    Repeated,
    Differs,
    Record,
    Currency,
    Type,
    kCount,
};

constexpr ImportNoteSubject SubjectOf(ImportNoteCode code) {
    using Code = ImportNoteCode;
    constexpr Code kSecondAndLater[] = {
        Code::NotRewritten,      Code::NoDate,       Code::NoAmount,         Code::NoNameNoMemo,
        Code::NumberLeftOut,     Code::CorrectsLine, Code::TransferOneSided, Code::SplitParts,
        Code::RecordEmpty,       Code::LineRepeated, Code::HeldDiffers,      Code::TextCut,
        Code::SeveralCurrencies, Code::TypeSaysOut};
    int subject = 0;
    for (const Code first : kSecondAndLater) subject += code >= first;
    return static_cast<ImportNoteSubject>(subject);
}
static_assert(SubjectOf(ImportNoteCode::TypeSaysIn) == ImportNoteSubject::Type);

}  // namespace quillon
