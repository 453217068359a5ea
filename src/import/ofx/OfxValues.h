#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace quillon {

// Values of statement elements, for both ways of reading. Texts that are made let
// std::bad_alloc pass; nothing else fails.

// "&amp;" and its kin, "&#233;" and "&#xE9;". What is no entity stays as it is.
std::string DecodeEntities(std::string_view text);

// A statement identifier as a number: digits that fit 64 bits are the number itself,
// every other text its hash, never 0. 0 for an empty text and for digits that are 0.
int64_t StatementId(std::string_view text);
// The hash of a text that an identifier is made from, never 0.
int64_t MadeStatementId(std::string_view text);

// The kind of electronic payment that a type of transaction says: kElectronicEft and its
// kin, or empty. `type` is in capitals.
std::string_view ElectronicOfType(std::string_view type);

}  // namespace quillon
