#pragma once

#include <memory>

#include "import/plan/ImportManager.h"
#include "import/qif/QifInferred.h"

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
    Text TextOfRecords() override;
    void ReadRecords(const RecordSink& sink) override;
    ImportFormat Format() const override { return {"QIF", false, true}; }

private:
    bool SurveyPlain();
    bool SurveyInferred();
    bool Refuse(int64_t investments);

    std::shared_ptr<CReadOnlyTextFileManager> m_lines;
    std::unique_ptr<CInferredQif> m_inferred;
};

}  // namespace quillon
