#pragma once

#include <cstdint>

#include "finance/database/QuillonDatabaseInterface.h"
#include "finance/records/CheckLayout.h"
#include "settings/SettingsFile.h"

namespace quillon {

// The layouts of accounts: one record each, made when the user first changes it. Until
// then an account has the default layout.
//
//   Errors     CheckLayoutStatus; nothing is stored unless it is Ok.
//   Ownership  Borrows the database and the settings, which must outlive it.
enum class CheckLayoutStatus {
    Ok,
    BadPosition,  // as CheckLayoutProblem
    BadWidth,
    StoreFailed,  // a read or write failed; Database().Problem() tells why
};

class CCheckLayouts {
public:
    CCheckLayouts(CQuillonDatabaseInterface& database, const CSettingsFile& settings)
        : m_database(database), m_settings(settings) {}

    // As DefaultCheckFormat.
    CCheckPrintFormat Defaults() const;

    // As it is stored, whether or not it can be used; the default layout and id kNoRow
    // when the account has none. False: a read failed.
    [[nodiscard]] bool Read(int64_t accountId, CCheckPrintFormatEntry& entry);

    // Checks the whole layout, then writes it at once as the layout of entry.accountId.
    // Sets `id`. A position is stored in its plain form, without blanks.
    [[nodiscard]] CheckLayoutStatus Store(CCheckPrintFormatEntry& entry);

private:
    CQuillonDatabaseInterface& m_database;
    const CSettingsFile& m_settings;
};

}  // namespace quillon
