#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace quillon {

// The words of bank files in columns: English, German, French, Spanish, Portuguese, Italian,
// Dutch, Danish, Norwegian, Swedish, Finnish, Estonian, Czech, Polish, Hungarian and
// Japanese. std::bad_alloc passes through; nothing else fails.

// What the heading of a column says that is in it.
enum class CsvWord : uint8_t {
    None,  // nothing that is known
    BookingDate,
    Date,
    TransactionDate,
    ValueDate,
    Payee,
    Description,
    Memo,
    Type,  // of the transaction
    Amount,
    NetAmount,
    GrossAmount,
    ForeignAmount,
    Fee,
    Debit,
    Credit,
    Sign,  // which way the money goes
    Balance,
    Currency,
    Category,
    Check,
    Id,
    MaybeId,  // a reference that banks number rows by, and customers too
    Reference,
    OwnAccount,
    OtherAccount,
    Status,
    Other,  // known, and none of these
};
CsvWord WordOfHeading(std::string_view heading);

// Letters in lower case without their accents, one blank between words, and nothing else;
// Chinese and Japanese characters stay.
std::string PlainWords(std::string_view text);

// A word that tells which way the money goes, alone in its cell.
enum class CsvSide : uint8_t { None, Out, In };
CsvSide SideOfWord(std::string_view cell);

// "pending" and its like, alone in its cell or in front of a text.
bool SaysPending(std::string_view cell);
// What was refused, failed or taken back before it was booked.
bool SaysVoid(std::string_view cell);
// "Opening balance", "Total 2024": a row of these moves no money.
bool SaysBalance(std::string_view cell);
// In a card's file: money that comes in.
bool SaysPaymentOrCredit(std::string_view text);

}  // namespace quillon
