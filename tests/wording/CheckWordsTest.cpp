#include "wording/CheckWords.h"

#include <gtest/gtest.h>

#include <set>

namespace quillon {
namespace {

TEST(CheckWords, EveryRefusalSaysWhy) {
    std::set<std::string> said;
    for (int code = 0; code <= static_cast<int>(CheckProblem::DoesNotFit); ++code) {
        const auto problem = static_cast<CheckProblem>(code);
        const std::string text = CheckMessage({.problem = problem});
        // Of a failed read the database knows more.
        if (problem == CheckProblem::None || problem == CheckProblem::StoreFailed) {
            EXPECT_EQ(text, "");
            continue;
        }
        EXPECT_TRUE(text.ends_with(".")) << text;
        EXPECT_EQ(text.find('\n'), std::string::npos) << text;
        EXPECT_TRUE(said.insert(text).second) << text;
    }
    EXPECT_EQ(CheckMessage({CheckProblem::DoesNotFit, CheckField::WrittenAmount}),
              "The written amount does not fit on the check, even in small print; change its "
              "position or the check width.");
}

TEST(CheckWords, Notes) {
    using Kind = CheckNote::Kind;
    const struct {
        CheckNote note;
        const char* text;
    } rows[] = {
        {{.kind = Kind::NoPayee}, "The transaction has no payee; write it by hand."},
        {{.kind = Kind::NoWords}, "An amount below 1.00 has no words; write it by hand."},
        {{.kind = Kind::NumberUsed, .number = 1025, .transactionId = 7},
         "Check number 1025 is also that of transaction 7."},
        {{.kind = Kind::TextCut, .field = CheckField::Payee},
         "The payee is too long for its place and was cut."},
        {{.kind = Kind::TextCut, .field = CheckField::Memo},
         "The memo is too long for its place and was cut."},
    };
    for (const auto& row : rows) EXPECT_EQ(CheckNoteText(row.note), row.text);
}

}  // namespace
}  // namespace quillon
