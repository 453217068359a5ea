#include "finance/database/FinanceRows.h"
#include "finance/database/QuillonDatabaseInterface.h"

namespace quillon {

// --- open positions

bool CQuillonDatabaseInterface::AddOpenPosition(CStockOpenPositionEntry& position) {
    return m_rows->Add(position);
}

bool CQuillonDatabaseInterface::UpdateOpenPosition(const CStockOpenPositionEntry& position) {
    return m_rows->Update(position);
}

bool CQuillonDatabaseInterface::UpdateOpenPositionLastPrice(int64_t positionId, double lastPrice) {
    return m_rows->Change(kStockOpenPositionsTable, positionId, [&] {
        return m_database.SetDouble("LastPrice", fields::Finite(lastPrice));
    });
}

bool CQuillonDatabaseInterface::DeleteOpenPosition(int64_t positionId) {
    return m_rows->Delete(kStockOpenPositionsTable, positionId);
}

bool CQuillonDatabaseInterface::ListOpenPositions(COwnedList<CStockOpenPositionEntry>& positions) {
    return m_rows->List(positions);
}

// --- closed positions

bool CQuillonDatabaseInterface::AddClosedPosition(CStockClosedPositionEntry& position) {
    return m_rows->Add(position);
}

bool CQuillonDatabaseInterface::UpdateClosedPosition(const CStockClosedPositionEntry& position) {
    return m_rows->Update(position);
}

bool CQuillonDatabaseInterface::DeleteClosedPosition(int64_t positionId) {
    return m_rows->Delete(kStockClosedPositionsTable, positionId);
}

bool CQuillonDatabaseInterface::ListClosedPositions(
    COwnedList<CStockClosedPositionEntry>& positions) {
    return m_rows->List(positions);
}

// --- watch list and sectors

bool CQuillonDatabaseInterface::AddWatchListEntry(CStockWatchListEntry& entry) {
    return m_rows->Add(entry);
}

bool CQuillonDatabaseInterface::UpdateWatchListEntry(const CStockWatchListEntry& entry) {
    return m_rows->Update(entry);
}

bool CQuillonDatabaseInterface::DeleteWatchListEntry(int64_t entryId) {
    return m_rows->Delete(kStockWatchListTable, entryId);
}

bool CQuillonDatabaseInterface::ListWatchList(COwnedList<CStockWatchListEntry>& entries) {
    return m_rows->List(entries);
}

bool CQuillonDatabaseInterface::AddStockSector(CStockSectorEntry& sector) {
    return m_rows->Add(sector);
}

bool CQuillonDatabaseInterface::UpdateStockSector(const CStockSectorEntry& sector) {
    return m_rows->Update(sector);
}

bool CQuillonDatabaseInterface::DeleteStockSector(int64_t sectorId) {
    return m_rows->Delete(kStockSectorsTable, sectorId);
}

bool CQuillonDatabaseInterface::ListStockSectors(COwnedList<CStockSectorEntry>& sectors) {
    return m_rows->List(sectors);
}

// --- the two balances

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
