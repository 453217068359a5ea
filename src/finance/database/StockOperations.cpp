// Prices of positions, and the two balances of investments.

#include "finance/database/FinanceRows.h"
#include "finance/database/QuillonDatabaseInterface.h"

namespace quillon {

bool CQuillonDatabaseInterface::UpdateOpenPositionLastPrice(int64_t positionId, double lastPrice) {
    return m_rows->Change(kStockOpenPositionsTable, positionId, [&] {
        return m_database.SetDouble("LastPrice", fields::Finite(lastPrice));
    });
}

bool CQuillonDatabaseInterface::ReadCoreAccountBalance(double& balance) {
    return m_rows->ReadSingle(kStockCoreAccountTable, [&](const CNoSQLDatabaseResults& rows) {
        return rows.ReadDouble("CoreAccountBalance", 0, balance);
    });
}

bool CQuillonDatabaseInterface::UpdateCoreAccountBalance(double balance) {
    return m_rows->ChangeSingle(kStockCoreAccountTable, [&] {
        return m_database.SetDouble("CoreAccountBalance", fields::Finite(balance));
    });
}

bool CQuillonDatabaseInterface::ReadInvestmentBalance(double& balance) {
    return m_rows->ReadSingle(kStockInvestmentAmountTable, [&](const CNoSQLDatabaseResults& rows) {
        return rows.ReadDouble("InvestmentBalance", 0, balance);
    });
}

bool CQuillonDatabaseInterface::UpdateInvestmentBalance(double balance) {
    return m_rows->ChangeSingle(kStockInvestmentAmountTable, [&] {
        return m_database.SetDouble("InvestmentBalance", fields::Finite(balance));
    });
}

}  // namespace quillon
