#include "output/CheckLayouts.h"

namespace quillon {

CCheckPrintFormat CCheckLayouts::Defaults() const {
    return DefaultCheckFormat(m_settings);
}

bool CCheckLayouts::Read(int64_t accountId, CCheckPrintFormatEntry& entry) {
    const CLookup stored = m_database.FindCheckFormat(accountId, entry);
    if (!stored.IsNone()) return !stored.HasFailed();
    entry = {};
    entry.accountId = accountId;
    entry.format = Defaults();
    return true;
}

CheckLayoutStatus CCheckLayouts::Store(CCheckPrintFormatEntry& entry) {
    switch (FindLayoutProblem(entry.format)) {
        case CheckLayoutProblem::BadPosition:
            return CheckLayoutStatus::BadPosition;
        case CheckLayoutProblem::BadWidth:
            return CheckLayoutStatus::BadWidth;
        case CheckLayoutProblem::None:
            break;
    }
    for (const CheckField field : kCheckFields) {
        CKeelString& text = PositionText(entry.format, field);
        CheckPosition position;
        if (ParseCheckPosition(text.ToUtf8(), position)) text = FormatCheckPosition(position);
    }
    // Another window may have made the record since this one was read.
    const CFinanceSection section(m_database);
    CCheckPrintFormatEntry stored;
    if (!Read(entry.accountId, stored)) return CheckLayoutStatus::StoreFailed;
    entry.id = stored.id;
    const bool written = entry.id == kNoRow ? m_database.Add(entry) : m_database.Update(entry);
    return written ? CheckLayoutStatus::Ok : CheckLayoutStatus::StoreFailed;
}

}  // namespace quillon
