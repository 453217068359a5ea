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
// Carrying out the plan rewrites the download in its normal form first, every element on a
// line of its own, through a new file and a rename; where that fails the file stays as it is
// and the import goes on. Import() by the plain rules does so before it looks at the text.
class CQFXImportManager final : public CImportManager {
public:
    using CImportManager::CImportManager;

protected:
    bool Survey() override;
    bool Prepare() override;
    Text TextOfRecords() override;
    void ReadRecords(const RecordSink& sink) override;
    ImportFormat Format() const override { return {"QFX", true, false}; }
    CImportPlan::KeepFile FileKeeper() override;

private:
    // A download as on disk, and in UTF-8 where that is another text.
    struct Download {
        std::vector<uint8_t> bytes;
        std::string converted;
        std::string_view text;  // in the one or the other
    };

    bool SurveyPlain();
    bool SurveyInferred();
    bool Refuse();

    std::shared_ptr<CReadOnlyTextFileManager> m_lines;  // by the plain rules
    std::shared_ptr<Download> m_download;  // by the inferred dialect, or to be rewritten
    std::unique_ptr<CInferredOfx> m_inferred;
};

}  // namespace quillon
