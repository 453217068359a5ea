#pragma once

#include <string>
#include <string_view>

namespace quillon {

// Currencies as they stand beside amounts. Nothing fails.

// A sign for a currency, in UTF-8.
struct MoneySign {
    std::string_view bytes;
    std::string_view currency;  // its code, or itself where it is several countries'
};

// The sign that `text` begins with; null: none.
const MoneySign* MoneySignAt(std::string_view text);
// A code of ISO 4217 in use, in any case.
bool IsCurrencyCode(std::string_view word);
// A code, or another word that stands for money (kr, euro, Rs).
bool IsCurrencyWord(std::string_view word);
// The code of what stands for a currency, or `word` in capitals.
std::string CurrencyName(std::string_view word);

}  // namespace quillon
