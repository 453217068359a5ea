#include "finance/database/QuillonDatabaseInterface.h"

#include "finance/database/FinanceRows.h"
#include "storage/database/DatabaseFiles.h"

namespace quillon {

CQuillonDatabaseInterface::CQuillonDatabaseInterface(CFileSystem& files)
    : m_database(files),
      m_history(m_database),
      m_rows(std::make_unique<CFinanceRows>(m_database)) {}

CQuillonDatabaseInterface::~CQuillonDatabaseInterface() {
    if (IsOpen()) Close();
}

FinanceOpenResult CQuillonDatabaseInterface::Open(const std::string& folder,
                                                  const CCheckPrintFormat* checkLayout) {
    FinanceOpenResult result;
    bool ran = false;
    m_rows->Run([&] {
        if (IsOpen()) Close();
        result = OpenFolder(folder, checkLayout ? *checkLayout : CCheckPrintFormat());
        ran = true;
        return true;
    });
    // Nothing half known stays open: what ran out of memory may be tried again.
    if (!ran) {
        result = {};
        result.problem = m_database.Problem() == DatabaseProblem::None
                             ? DatabaseProblem::OutOfMemory
                             : m_database.Problem();
        Close();
    }
    return result;
}

FinanceOpenResult CQuillonDatabaseInterface::OpenFolder(const std::string& folder,
                                                        const CCheckPrintFormat& layout) {
    FinanceOpenResult result;
    if (m_database.Open(folder)) {
        // Files do not tell: after a power cut they may still stand in the journal.
        result.created = m_database.Tables().empty();
        result.schema = EnsureFinanceSchema(m_database, layout);
        result.setAsideJournal = m_database.SetAsideJournal();
        result.rebuilt = m_database.RebuiltIndexes();
        // What the schema's making changed is nobody's action.
        const CHistoryFile::OpenResult history = m_history.Open();
        result.historyLost = m_history.WasLost();
        result.opened = result.historyLost || history == CHistoryFile::OpenResult::Ok;
        if (!result.opened) {
            Close();
            result.problem = DatabaseProblem::ReadFailed;
            result.detail = JoinPath(folder, kHistoryName);
            return result;
        }
    }
    result.problem = m_database.Problem();
    result.detail = m_database.ProblemDetail();
    return result;
}

bool CQuillonDatabaseInterface::Close() {
    return m_rows->Run([&] {
        m_rows->ForgetQuery();  // it points into tables that go now
        const bool closed = m_database.Close();
        m_history.Close();
        return closed;
    });
}

BackupCode CQuillonDatabaseInterface::Backup(const std::string& path, BackupReport& report,
                                             const BackupOptions& options) {
    BackupCode code = BackupCode::Other;
    m_rows->Run([&] {
        CKeelString hash;
        if (!ReadPasswordHash(hash)) return false;
        code = m_database.Backup(path, hash.ToUtf8(), report, options);
        return true;
    });
    return code;
}

void CQuillonDatabaseInterface::RunTimers(int64_t nowMs) {
    m_rows->Run([&] {
        m_rows->ForgetQuery();
        m_database.RunTimers(nowMs);
        return true;
    });
}

CReentrantLock& CQuillonDatabaseInterface::Section() {
    return m_rows->Section();
}

bool CQuillonDatabaseInterface::BeginBatch() {
    return m_rows->Run([&] { return m_database.BeginBatch(); });
}

bool CQuillonDatabaseInterface::CommitBatch() {
    return m_rows->Run([&] { return m_database.CommitBatch(); });
}

void CQuillonDatabaseInterface::RollbackBatch() {
    m_rows->Run([&] {
        m_rows->ForgetQuery();
        m_database.RollbackBatch();
        return true;
    });
}

int64_t CQuillonDatabaseInterface::RowCount(std::string_view table) {
    int64_t count = 0;
    m_rows->Run([&] {
        const CTableManager* found = m_database.FindTable(table);
        count = found ? found->RowCount() : 0;
        return true;
    });
    return count;
}

}  // namespace quillon
