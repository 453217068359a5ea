#pragma once

#include <memory>

#include "import/plan/ImportManager.h"
#include "import/qif/QifParser.h"

namespace quillon {

// Enters the transactions of a QIF file into an account. Categories and payees named
// there are made when missing. The format has no identifiers: importing a file twice
// enters it twice.
class CQIFImportManager final : public CImportManager {
public:
    using CImportManager::CImportManager;

protected:
    bool Survey() override;
    bool Prepare() override;
    void ReadRecords(const RecordSink& sink) override;
    Identifiers IdentifierUse() const override { return Identifiers::None; }
    std::string Report() const override;
    std::string FailureMessage() const override;

private:
    bool SurveyPlain();
    bool SurveyInferred();
    bool Refuse(int64_t investments);

    CReadOnlyTextFileManager m_text{m_files};
    std::unique_ptr<CInferredQif> m_inferred;
};

}  // namespace quillon
