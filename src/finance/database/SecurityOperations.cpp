#include "finance/database/FinanceRows.h"
#include "finance/database/QuillonDatabaseInterface.h"
#include "storage/backup/Crypto.h"

namespace quillon {

namespace {

// Takes a time that depends on the lengths only.
bool SameText(std::string_view left, std::string_view right) {
    if (left.size() != right.size()) return false;
    unsigned difference = 0;
    for (size_t i = 0; i < left.size(); ++i) {
        difference |= static_cast<unsigned char>(left[i]) ^ static_cast<unsigned char>(right[i]);
    }
    return difference == 0;
}

}  // namespace

bool CQuillonDatabaseInterface::ReadPasswordHash(CKeelString& hash) {
    return m_rows->ReadSingle(kSecurityTable, [&](const CNoSQLDatabaseResults& rows) {
        return rows.ReadText("PasswordHash", 0, hash);
    });
}

bool CQuillonDatabaseInterface::SetPasswordHash(const CKeelString& hash) {
    return m_rows->ChangeSingle(kSecurityTable,
                                [&] { return m_database.SetText("PasswordHash", hash); });
}

bool CQuillonDatabaseInterface::ReadSecurityEnabled(bool& enabled) {
    return m_rows->ReadSingle(kSecurityTable, [&](const CNoSQLDatabaseResults& rows) {
        return rows.ReadBoolean("SecurityEnabled", 0, enabled);
    });
}

bool CQuillonDatabaseInterface::SetSecurityEnabled(bool enabled) {
    return m_rows->ChangeSingle(kSecurityTable,
                                [&] { return m_database.SetBoolean("SecurityEnabled", enabled); });
}

PasswordCheck CQuillonDatabaseInterface::CheckPassword(std::string_view password) {
    PasswordCheck answer = PasswordCheck::Failed;
    m_rows->Run([&] {
        CKeelString hash;
        if (!ReadPasswordHash(hash)) return false;
        const std::string digest = Md5Hex(password);
        if (digest.empty()) return false;
        const bool right = !hash.IsEmpty() && !password.empty() && SameText(digest, hash.ToUtf8());
        answer = right ? PasswordCheck::Right : PasswordCheck::Wrong;
        return true;
    });
    return answer;
}

bool CQuillonDatabaseInterface::SetPassword(std::string_view password) {
    const std::string digest = password.empty() ? std::string() : Md5Hex(password);
    if (digest.empty()) return false;
    return m_rows->ChangeSingle(kSecurityTable, [&] {
        return m_database.SetText("PasswordHash", digest) &&
               m_database.SetBoolean("SecurityEnabled", true);
    });
}

bool CQuillonDatabaseInterface::ClearPassword() {
    return m_rows->ChangeSingle(kSecurityTable, [&] {
        return m_database.SetText("PasswordHash", "") &&
               m_database.SetBoolean("SecurityEnabled", false);
    });
}

}  // namespace quillon
