#pragma once

#include <algorithm>
#include <iterator>

#include "Fuzz.h"
#include "storage/journal/Journal.h"

namespace quillon::fuzz {

// Brackets of steps, committed or rolled back. `apply` takes one step, in the store and in
// the model; `check` holds the two together.
template <class Model, class Apply, class Check>
void RunBrackets(CJournal& journal, CInput& steps, Model& model, Apply apply, Check check) {
    for (int bracket = 0; bracket < 8 && !steps.IsEmpty(); ++bracket) {
        const Model before = model;
        const uint8_t plan = steps.Byte();
        CBracketScope scope(journal);
        FUZZ_CHECK(scope.Begun(), "a bracket begins");
        for (int i = 0; i <= plan % 8; ++i) apply();
        if (plan < 0x80) {
            FUZZ_CHECK(scope.Commit(), "a bracket commits");
        } else {
            journal.RollbackBatch();
            (void)scope.Commit();
            model = before;
        }
        check();
    }
}

// One of the first entries of a map that has some.
template <class Model>
const typename Model::value_type& PickFrom(const Model& model, uint8_t choice) {
    return *std::next(model.begin(), choice % std::min<std::ptrdiff_t>(std::ssize(model), 16));
}

}  // namespace quillon::fuzz
