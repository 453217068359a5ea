#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "finance/names/NameTables.h"
#include "presenters/register/RegisterRows.h"
#include "presenters/register/RegisterTexts.h"

namespace quillon {

// One word of what is typed into the filter.
//
//   grocer          part of payee, category, memo, number or shown amount, ignoring case
//   >100 <5 <=5 =9  compares the amount without its sign; a sign without a number says nothing
//   2024-05         a year, a month or a day, also when it is not typed to its end; as a text
//                   it may stand in the memo, too
struct SearchWord {
    enum class Kind { Text, Greater, AtLeast, Less, AtMost, Equal };
    Kind kind = Kind::Text;
    std::string folded;
    double amount = 0.0;
    int64_t from = 1;  // dates, both included; none where from is above to
    int64_t to = 0;

    bool HasDates() const { return from <= to; }
};
// Words that say nothing are left out.
std::vector<SearchWord> ParseSearch(std::string_view text);

// Which rows of a register have all the words. Names are matched once each, not once a row;
// memos and kinds of electronic payment as far as they have been read.
//
//   Ownership  Borrows rows, texts and names, which must outlive it.
//   Errors     std::bad_alloc.
class CRegisterSearch {
public:
    CRegisterSearch(std::string_view text, const CRegisterRows& rows, const CRegisterTexts& texts,
                    const CNameTables& names);

    // Without words every row is found.
    bool IsEmpty() const { return m_words.empty(); }
    bool Finds(uint32_t slot);
    // Some word may stand in a memo; have them read.
    bool NeedsTexts() const;
    // Names may have changed.
    void ForgetNames();

private:
    // Whether a name has the word, by identifier: 0 not known, 1 no, 2 yes.
    using Known = std::vector<uint8_t>;
    struct Word {
        SearchWord word;
        bool mayBeAmount = false;  // of digits and what stands between them
        Known payees = {};
        Known categories = {};
    };
    bool Has(Word& word, uint32_t slot);
    bool HasText(Word& word, uint32_t slot);
    bool HasNumber(const Word& word, uint32_t slot);
    bool HasAmount(const Word& word, uint32_t slot) const;

    const CRegisterRows* m_rows;
    const CRegisterTexts* m_texts;
    const CNameTables* m_names;
    std::vector<Word> m_words;
};

}  // namespace quillon
