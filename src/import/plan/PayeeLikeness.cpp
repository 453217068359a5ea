#include "import/plan/PayeeLikeness.h"

#include "finance/database/QuillonDatabaseInterface.h"
#include "foundation/Unicode.h"

namespace quillon {

CPayeeLikeness::Folded CPayeeLikeness::Fold(std::string_view name) {
    Folded folded{FoldCase(name), 0};
    for (size_t i = 1; i < folded.text.size(); ++i) {
        const auto before = static_cast<unsigned char>(folded.text[i - 1]);
        const auto after = static_cast<unsigned char>(folded.text[i]);
        folded.pairs |= uint64_t{1} << ((before * 31U + after) % 64);
    }
    return folded;
}

// Most names are told apart by their pairs, without a search.
bool CPayeeLikeness::IsWithin(const Folded& part, const Folded& whole) {
    return !part.text.empty() && part.text.size() <= whole.text.size() &&
           (part.pairs & ~whole.pairs) == 0 && whole.text.find(part.text) != std::string::npos;
}

const CPayeeLikeness::Folded& CPayeeLikeness::OfPlan(uint32_t number) {
    const auto [place, isNew] = m_ofPlan.try_emplace(m_names.NameOf(number));
    if (isNew) place->second = Fold(m_names.Name(number));
    return place->second;
}

const CPayeeLikeness::Folded& CPayeeLikeness::OfLedger(int64_t payee) {
    const auto [place, isNew] = m_ofLedger.try_emplace(payee);
    if (isNew) {
        CPayeeEntry entry;
        const CLookup read = m_database.Read(payee, entry);
        m_failed |= read.HasFailed();
        if (read) place->second = Fold(entry.name.ToUtf8());
    }
    return place->second;
}

bool CPayeeLikeness::AreAlike(uint32_t number, int64_t payee) {
    if (number == 0 || payee == kNoRow) return false;
    const Folded& a = OfPlan(number);
    const Folded& b = OfLedger(payee);
    return IsWithin(a, b) || IsWithin(b, a);
}

}  // namespace quillon
