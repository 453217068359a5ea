#include "import/plan/ImportNotes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

namespace quillon {
namespace {

using Note = ImportNoteCode;

// "1-300 300 code": first and last line, count, code.
std::string Extent(const ImportNote& note) {
    return std::to_string(note.line) + "-" + std::to_string(note.lastLine) + " " +
           std::to_string(note.count) + " " + std::to_string(static_cast<int>(note.code));
}

std::string Extent(int64_t line, int64_t lastLine, int64_t count, Note code) {
    return Extent({code, line, {}, count, lastLine});
}

TEST(ImportNotes, OneCauseOnManyLinesIsOneNote) {
    for (const bool every : {false, true}) {
        CImportNotes notes(every);
        for (int64_t line = 300; line > 0; --line) {
            notes.Add(Note::LineNotClosed, line);
            notes.Add(Note::NumberLeftOut, line, {std::to_string(line)});
            if (line <= 120) notes.Add(Note::DateUnreadable, line, {std::to_string(line)});
        }
        notes.Add(Note::TextCut, 7, {5});
        notes.Add(Note::NotRewritten, 0);
        const std::vector<ImportNote> taken = notes.Take(300);
        if (every) {
            EXPECT_EQ(taken.size(), 722U);
            continue;
        }
        ASSERT_EQ(taken.size(), 105U) << "of 120 dates 100 are listed";
        EXPECT_EQ(Extent(taken[0]), Extent(0, 0, 1, Note::NotRewritten));
        EXPECT_EQ(Extent(taken[1]), Extent(1, 300, 300, Note::LineNotClosed));
        EXPECT_EQ(Extent(taken[2]), Extent(1, 300, 300, Note::NumberLeftOut));
        EXPECT_EQ(taken[2].values, std::vector<ImportValue>{"300"}) << "the first that came";
        EXPECT_EQ(Extent(taken[3]), Extent(1, 20, 20, Note::DateUnreadable));
        EXPECT_EQ(taken[3].values, std::vector<ImportValue>{"20"});
        EXPECT_EQ(Extent(taken[4]), Extent(7, 0, 1, Note::TextCut));
        EXPECT_EQ(Extent(taken[104]), Extent(120, 0, 1, Note::DateUnreadable));
    }
    for (const auto& [records, expected] : {std::pair(30, 10U), std::pair(20, 1U)}) {
        CImportNotes few;
        for (int64_t line = 1; line <= 10; ++line) few.Add(Note::LineNotClosed, line);
        EXPECT_EQ(few.Take(records).size(), expected);
    }
}

TEST(ImportNotes, WhatStandsApartHasCausesOfItsOwn) {
    const auto apart = [](const auto& value) { return ImportArgument::Apart(value); };
    const std::string_view text = "EUR 1";
    const struct {
        const char* name;
        ImportArgument odd;  // on odd lines
        ImportArgument even;
        size_t causes;
    } rows[] = {
        {"texts of the file", text, text.substr(1), 1},
        {"texts apart", apart(text), apart(text.substr(1)), 2},
        {"texts apart by their digits alone", apart(text), apart(text.substr(0, 4)), 1},
        {"numbers", 1, 2000, 1},
        {"amounts", 1.0, 2000.0, 1},
        {"signs of amounts", 1.0, -1.0, 2},
        {"amounts apart", apart(1.0), apart(2000.0), 2},
        {"of one size", apart(1.0), apart(999.0), 1},
        {"what is no number", apart(1.0), apart(std::numeric_limits<double>::infinity()), 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        CImportNotes notes;
        for (int64_t line = 1; line <= 40; ++line) {
            notes.Add(Note::CurrencyChanged, line, {line % 2 == 1 ? row.odd : row.even});
        }
        EXPECT_EQ(notes.Take(40).size(), row.causes);
    }
    // Currencies without end are counted by their code, and a long text is cut.
    CImportNotes many;
    std::string currency;
    for (int64_t line = 1; line <= 5000; ++line) {
        currency += 'x';
        many.Add(Note::CurrencyConvertedByBank, line, {apart(currency), currency});
    }
    const std::vector<ImportNote> taken = many.Take(5000);
    EXPECT_LE(taken.size(), 400U);
    size_t longest = 0;
    for (const ImportNote& note : taken) {
        longest = std::max(longest, std::get<std::string>(note.values[1]).size());
    }
    EXPECT_LE(longest, 320U);
}

}  // namespace
}  // namespace quillon
