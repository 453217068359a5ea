#include <gtest/gtest.h>

#include <set>

#include "wording/DatabaseWords.h"
#include "wording/LedgerWords.h"
#include "wording/NameWords.h"
#include "wording/VerificationWords.h"

namespace quillon {
namespace {

constexpr auto kLastProblem = static_cast<int>(DatabaseProblem::OutOfMemory);
constexpr auto kLastStatus = static_cast<int>(LedgerStatus::StoreFailed);

// A sentence that ends, and in a window names nothing that is typed in a terminal.
void ExpectSentence(const std::string& text, Medium medium) {
    EXPECT_TRUE(text.ends_with(".") || text.ends_with("?")) << text;
    if (medium == Medium::Terminal) return;
    for (const char* word :
         {"--", "'verify", "'restore", "'account ", "'category ", "'payee ", "'transaction "}) {
        EXPECT_EQ(text.find(word), std::string::npos) << text;
    }
}

TEST(Words, EveryCodeHasASentenceOfItsOwn) {
    for (const Medium medium : {Medium::Terminal, Medium::Window}) {
        std::set<std::string> said;
        for (int code = 0; code <= kLastProblem; ++code) {
            const std::string text =
                DatabaseMessage(static_cast<DatabaseProblem>(code), "db/", "db/A.dat", medium);
            ExpectSentence(text, medium);
            EXPECT_TRUE(said.insert(text).second) << text;
        }
        for (int code = 1; code <= kLastStatus; ++code) {
            const auto status = static_cast<LedgerStatus>(code);
            ExpectSentence(LedgerMessage(status, medium), medium);
            for (const bool isPayee : {false, true}) {
                const NameTrouble trouble{
                    .isPayee = isPayee, .name = "Food", .target = "Fun", .uses = 1'234};
                ExpectSentence(NameMessage(status, trouble, medium), medium);
            }
        }
        EXPECT_EQ(LedgerMessage(LedgerStatus::Ok, medium), "");
        Verification found;
        found.balances.push_back({1, CKeelString("Checking"), 1.0, 2.0});
        ExpectSentence(VerificationMessage(found), medium);
        for (const bool repaired : {false, true}) {
            ExpectSentence(VerificationAdvice(found, repaired, medium), medium);
        }
        const NameSearch search{.near = {"Savings", "Saving"}, .all = 2};
        ExpectSentence(NoSuchNameMessage(NamedKind::Account, "Savngs", search, medium), medium);
        ExpectSentence(NoSuchNameMessage(NamedKind::Account, "Savngs", {}, medium), medium);
    }
}

TEST(Words, NamesAndNumbersInSentences) {
    EXPECT_EQ(Counted(1, "row", "rows"), "1 row");
    EXPECT_EQ(Counted(0, "row", "rows"), "0 rows");
    EXPECT_EQ(Counted(1'234'567, "row", "rows"), "1,234,567 rows");
    EXPECT_EQ(DidYouMean({}), "");
    EXPECT_EQ(DidYouMean({"a", "b\n", "c"}), "did you mean 'a', 'b ' or 'c'?");
    EXPECT_EQ(NameMessage(LedgerStatus::StillUsed, {.name = "Food", .uses = 2}, Medium::Terminal),
              "The category 'Food' is used in 2 places; give another one for them with --to "
              "CATEGORY.");
}

}  // namespace
}  // namespace quillon
