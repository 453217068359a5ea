#include "output/CheckLayouts.h"

#include <cmath>

#include "settings/SettingsNames.h"

namespace quillon {

namespace {

const char* SettingOf(CheckField field) {
    switch (field) {
        case CheckField::Date:
            return settings::kDateText;
        case CheckField::Payee:
            return settings::kPayeeText;
        case CheckField::Amount:
            return settings::kAmountText;
        case CheckField::WrittenAmount:
            return settings::kWrittenAmountText;
        case CheckField::Memo:
            break;
    }
    return settings::kMemoText;
}

}  // namespace

CCheckPrintFormat CCheckLayouts::Defaults() const {
    CCheckPrintFormat format;
    std::string value;
    CheckPosition position;
    for (const CheckField field : kCheckFields) {
        if (m_settings.ReadString(settings::kCheckPrint, SettingOf(field), value) &&
            ParseCheckPosition(value, position)) {
            PositionText(format, field) = FormatCheckPosition(position);
        }
    }
    double width = 0.0;
    if (m_settings.ReadString(settings::kCheckPrint, settings::kCheckWidth, value) &&
        ParseCheckWidth(value, width) && std::isfinite(width) && width > 0.0) {
        format.checkWidth = width;
    }
    return format;
}

bool CCheckLayouts::Read(int64_t accountId, CCheckPrintFormatEntry& entry) {
    const CLookup stored = m_database.ReadCheckFormat(accountId, entry);
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
    const bool written =
        entry.id == kNoRow ? m_database.AddCheckFormat(entry) : m_database.UpdateCheckFormat(entry);
    return written ? CheckLayoutStatus::Ok : CheckLayoutStatus::StoreFailed;
}

}  // namespace quillon
