#include "presenters/register/RegisterSearch.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>
#include <utility>

#include "foundation/CalendarDate.h"
#include "foundation/CurrencyFormat.h"
#include "foundation/Unicode.h"

namespace quillon {

namespace {

bool IsDigit(char character) {
    return character >= '0' && character <= '9';
}

// What one or two digits, or none yet, stand for: "1" of a month is 10 to 12, "0" 1 to 9.
std::optional<std::pair<int, int>> PartRange(std::string_view digits, int highest) {
    if (digits.empty()) return std::pair(1, highest);
    for (const char character : digits) {
        if (!IsDigit(character)) return std::nullopt;
    }
    const int first = digits[0] - '0';
    if (digits.size() == 1)
        return std::pair(std::max(1, first * 10), std::min(highest, first * 10 + 9));
    if (digits.size() > 2) return std::nullopt;
    const int number = first * 10 + (digits[1] - '0');
    return std::pair(number, number);
}

// "2024-", "2024-0", "2024-05", "2024-05-1", "2024-05-17".
void ReadDates(std::string_view text, SearchWord& word) {
    if (text.size() < 5 || text[4] != '-') return;
    int year = 0;
    for (const char character : text.substr(0, 4)) {
        if (!IsDigit(character)) return;
        year = year * 10 + (character - '0');
    }
    const bool hasDay = text.size() > 7 && text[7] == '-';
    if (text.size() > 7 && !hasDay) return;
    const auto months = PartRange(text.substr(5, 2), 12);
    if (!months || months->first > months->second) return;
    const auto days = PartRange(hasDay ? text.substr(8) : std::string_view(), 31);
    if (!days) return;
    const int lastDay = std::min(days->second, DaysInMonth(year, months->second));
    const int64_t from = FileTimeFromDate(year, months->first, days->first);
    const int64_t to = FileTimeFromDate(year, months->second, lastDay);
    if (from < 0 || to < from) return;
    word.from = from;
    word.to = to + kTicksPerDay - 1;
}

// False: the word is a comparison without its number.
bool ReadComparison(std::string_view text, SearchWord& word) {
    using Kind = SearchWord::Kind;
    const bool orEqual = text.size() > 1 && text[1] == '=';
    if (text[0] == '>') word.kind = orEqual ? Kind::AtLeast : Kind::Greater;
    if (text[0] == '<') word.kind = orEqual ? Kind::AtMost : Kind::Less;
    if (text[0] == '=') word.kind = Kind::Equal;
    if (word.kind == Kind::Text) return true;
    text.remove_prefix(orEqual && word.kind != Kind::Equal ? 2 : 1);
    return ParseAmount(text, word.amount);
}

constexpr char kBlanks[] = " \t\r\n";

}  // namespace

std::vector<SearchWord> ParseSearch(std::string_view text) {
    std::vector<SearchWord> words;
    for (;;) {
        const size_t start = text.find_first_not_of(kBlanks);
        if (start == std::string_view::npos) return words;
        text.remove_prefix(start);
        const std::string_view typed = text.substr(0, text.find_first_of(kBlanks));
        text.remove_prefix(typed.size());
        SearchWord word;
        if (!ReadComparison(typed, word)) continue;
        word.folded = FoldCase(typed);
        ReadDates(typed, word);
        words.push_back(std::move(word));
    }
}

CRegisterSearch::CRegisterSearch(std::string_view text, const CRegisterRows& rows,
                                 const CRegisterTexts& texts, const CNameTables& names)
    : m_rows(&rows), m_texts(&texts), m_names(&names) {
    for (SearchWord& word : ParseSearch(text)) {
        const bool digits = word.folded.find_first_not_of("0123456789.,-") == std::string::npos;
        m_words.push_back({std::move(word), digits});
    }
}

void CRegisterSearch::ForgetNames() {
    for (Word& word : m_words) {
        word.payees.clear();
        word.categories.clear();
    }
}

bool CRegisterSearch::NeedsTexts() const {
    return std::any_of(m_words.begin(), m_words.end(),
                       [](const Word& word) { return word.word.kind == SearchWord::Kind::Text; });
}

bool CRegisterSearch::Finds(uint32_t slot) {
    for (Word& word : m_words) {
        if (!Has(word, slot)) return false;
    }
    return true;
}

bool CRegisterSearch::Has(Word& word, uint32_t slot) {
    // What a balance adds up is a double; a cent of doubt is none.
    constexpr double kNoise = 1e-6;
    const double amount = std::fabs(m_rows->Data().effects[slot]);
    const double wanted = word.word.amount;
    switch (word.word.kind) {
        case SearchWord::Kind::Greater:
            return amount > wanted + kNoise;
        case SearchWord::Kind::AtLeast:
            return amount > wanted - kNoise;
        case SearchWord::Kind::Less:
            return amount < wanted - kNoise;
        case SearchWord::Kind::AtMost:
            return amount < wanted + kNoise;
        case SearchWord::Kind::Equal:
            return std::fabs(amount - wanted) < kNoise;
        case SearchWord::Kind::Text:
            break;
    }
    const int64_t date = m_rows->Data().dates[slot];
    if (word.word.HasDates() && date >= word.word.from && date <= word.word.to) return true;
    return HasText(word, slot);
}

namespace {

// `name()` is looked up where the identifier was not asked for before.
template <typename Name>
bool NameHas(const std::string& folded, std::vector<uint8_t>& known, int64_t id, Name name) {
    constexpr int64_t kMostKept = 10'000'000;  // identifiers are dense; a damaged one may not be
    const auto has = [&] { return FoldCase(name()).find(folded) != std::string::npos; };
    if (id < 0 || id >= kMostKept) return has();
    const auto place = static_cast<size_t>(id);
    if (place >= known.size()) known.resize(place + place / 2 + 64);
    if (known[place] == 0) known[place] = has() ? 2 : 1;
    return known[place] == 2;
}

}  // namespace

bool CRegisterSearch::HasText(Word& word, uint32_t slot) {
    const RegisterData& data = m_rows->Data();
    const std::string& folded = word.word.folded;
    const int64_t payee = data.payees[slot];
    const int64_t category = data.categories[slot];
    return NameHas(folded, word.payees, payee,
                   [&]() -> const std::string& { return m_names->Payee(payee); }) ||
           NameHas(folded, word.categories, category,
                   [&]() -> const std::string& { return m_names->Category(category); }) ||
           HasAmount(word, slot) || HasNumber(word, slot) ||
           m_texts->FoldedMemoIfRead(slot).find(folded) != std::string_view::npos;
}

bool CRegisterSearch::HasNumber(const Word& word, uint32_t slot) {
    const int32_t check = m_rows->Data().checks[slot];
    if (check == 0) {
        const std::string& electronic = m_texts->ElectronicIfRead(slot);
        return !electronic.empty() &&
               FoldCase(electronic).find(word.word.folded) != std::string::npos;
    }
    char digits[16];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), check);
    const std::string_view number(digits, static_cast<size_t>(end.ptr - digits));
    return number.find(word.word.folded) != std::string_view::npos;
}

bool CRegisterSearch::HasAmount(const Word& word, uint32_t slot) const {
    if (!word.mayBeAmount) return false;
    const double effect = m_rows->Data().effects[slot];
    const std::string& wanted = word.word.folded;
    // The common case without the cost of the general one: whole cents, no thousands.
    const double cents = effect * 100.0;
    if (std::fabs(cents) < 100'000.0 && static_cast<double>(std::lround(cents)) / 100.0 == effect) {
        const long whole = std::lround(cents);
        const auto magnitude = static_cast<unsigned>(whole < 0 ? -whole : whole);
        char text[16];
        char* end = text;
        if (whole < 0) *end++ = '-';
        end = std::to_chars(end, std::end(text), magnitude / 100).ptr;
        *end++ = '.';
        *end++ = static_cast<char>('0' + magnitude / 10 % 10);
        *end++ = static_cast<char>('0' + magnitude % 10);
        const std::string_view shown(text, static_cast<size_t>(end - text));
        return shown.find(wanted) != std::string_view::npos;
    }
    return FormatCurrency(effect).find(wanted) != std::string::npos ||
           FormatPlainAmount(effect).find(wanted) != std::string::npos;
}

}  // namespace quillon
