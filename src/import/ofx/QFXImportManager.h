#pragma once

#include <memory>
#include <string>
#include <vector>

#include "import/ofx/OfxInferred.h"
#include "import/plan/ImportManager.h"
#include "import/text/TextFileManager.h"

namespace quillon {

// Enters the statement lines of an OFX or QFX download into an account. A line whose
// identifier the account holds is passed over, so a download can be imported twice.
//
// The download itself is rewritten in its normal form, every element on a line of its
// own, through a new file and a rename; where that fails the file stays as it is and the
// import goes on.
class CQFXImportManager final : public CImportManager {
public:
    using CImportManager::CImportManager;

protected:
    bool Survey() override;
    bool Prepare() override;
    void ReadRecords(const RecordSink& sink) override;
    Identifiers IdentifierUse() const override { return Identifiers::Kept; }
    std::string Report() const override;
    std::string FailureMessage() const override;

private:
    bool SurveyPlain();
    bool SurveyInferred();
    void Rewrite(std::span<const uint8_t> normal);
    bool Refuse();

    CReadOnlyTextFileManager m_text{m_files};  // by the plain rules
    std::vector<uint8_t> m_bytes;              // by the inferred dialect: as on disk,
    std::string m_converted;                   // and in UTF-8 where that is another text
    std::unique_ptr<CInferredOfx> m_inferred;
};

}  // namespace quillon
