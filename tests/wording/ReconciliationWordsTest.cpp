#include "wording/ReconciliationWords.h"

#include <gtest/gtest.h>

#include "foundation/CalendarDate.h"

namespace quillon {
namespace {

using Kind = ReconciliationHintKind;

RegisterLine Line(int day, double effect) {
    RegisterLine line;
    line.row.serviceDate = FileTimeFromDate(2024, 4, day);
    line.effect = effect;
    return line;
}

TEST(ReconciliationWords, Hints) {
    const RegisterLine out = Line(10, -1'033.20);
    const RegisterLine later = Line(13, -1'033.20);
    const RegisterLine in = Line(2, 45.5);
    const struct {
        ReconciliationHint hint;
        const char* text;
    } rows[] = {
        {{.kind = Kind::WrongSide, .lines = {&in}},
         "45.50 on 2024-04-02 is half of the difference and comes in; it should perhaps go out."},
        {{.kind = Kind::WrongSide, .lines = {&out}},
         "1,033.20 on 2024-04-10 is half of the difference and goes out; it should perhaps come "
         "in."},
        {{.kind = Kind::Transposed, .lines = {&out}, .rightAmount = 1'303.20},
         "1,033.20 on 2024-04-10 may have two digits swapped; 1,303.20 would explain the "
         "difference."},
        {{.kind = Kind::EnteredTwice, .lines = {&out, &later}},
         "1,033.20 for the same payee was entered on 2024-04-10 and on 2024-04-13; if that is one "
         "time too many, it explains the difference."},
        {{.kind = Kind::EnteredTwice, .lines = {&out, &out}},
         "1,033.20 for the same payee was entered twice on 2024-04-10; if that is one time too "
         "many, it explains the difference."},
        {{.kind = Kind::OutsideDays, .lines = {&in}, .days = 70},
         "45.50 on 2024-04-02 explains the difference, but lies outside the look back days: 70 "
         "would include it."},
        {{.kind = Kind::AllCandidates, .lines = {&in, &out, &later}},
         "All 3 transactions of the look back days together explain the difference; perhaps none "
         "of them has cleared the bank."},
    };
    for (const auto& row : rows) EXPECT_EQ(HintText(row.hint), row.text);
}

}  // namespace
}  // namespace quillon
