#include "import/plan/ImportSource.h"

#include <gtest/gtest.h>

namespace quillon {
namespace {

TEST(ImportSource, TheAccountTellsWhichOneIsMeant) {
    const char* const kNothing = "nothing";
    const struct {
        const char* asked;
        const char* account;
        const char* description;
        const char* chosen;  // "?" unclear, "!" unknown
    } rows[] = {
        // The file holds 00114711, 99884712, XXXX1234, Visa and an empty one, 55556666.
        {"", "Checking", "", "?"},
        {"", "visa", "", "Visa"},
        {"", "My Visa card", "", "Visa"},
        {"", "Visas", "Visage", "?"},
        {"", "Checking", "Marlow Bank 00114711", "00114711"},
        {"", "Checking", "...4711", "00114711"},
        {"", "Checking 4712", "", "99884712"},
        {"", "Checking", "DE12 5001 0099 8847 12", "99884712"},
        {"", "Checking", "card 4000-1111-2222-1234", "XXXX1234"},
        {"", "Checking", "11 in 471", "?"},
        {"", "Checking", "147112", "?"},
        {"", "Checking", "4711 and 4712", "?"},
        {"", "00114711", "4712", "00114711"},
        {"", "Checking", "55556666", "?"},
        {"4711", "Visa", "", "00114711"},
        {"VISA", "Checking", "", "Visa"},
        {"55556666", "Checking", "", "55556666"},
        {"711", "Checking", "", "!"},
        {"12", "Checking", "", "!"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.asked) + " into " + row.account + " " + row.description);
        std::vector<ImportSource> sources;
        for (const char* name : {"00114711", "99884712", "XXXX1234", "Visa", "55556666"}) {
            ImportSource source;
            source.name = name;
            if (source.name != "Visa") source.number = name;
            source.lines = source.name == "55556666" ? 0 : 3;
            sources.push_back(source);
        }
        const SourceChoice choice = ChooseSource(sources, row.asked, row.account, row.description);
        std::string chosen;
        for (const ImportSource& source : sources) chosen += source.chosen ? source.name : "";
        if (chosen.empty()) {
            chosen = choice == SourceChoice::Unclear   ? "?"
                     : choice == SourceChoice::Unknown ? "!"
                                                       : kNothing;
        }
        EXPECT_EQ(chosen, row.chosen);
    }
    std::vector<ImportSource> one(2);
    one[0].lines = 4;
    EXPECT_EQ(ChooseSource(one, "", "A", ""), SourceChoice::Made);
    EXPECT_TRUE(one[0].chosen);
    EXPECT_FALSE(one[1].chosen);
}

}  // namespace
}  // namespace quillon
