#pragma once

#include "import/Charset.h"
#include "import/ImportManager.h"
#include "import/OfxParser.h"

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
    bool ReadRecords(std::vector<ImportRecord>& records) override;
    Identifiers IdentifierUse() const override { return Identifiers::Kept; }
    std::string Report() const override;
    std::string FailureMessage() const override;

private:
    // The file's normal form in `normal`; true in `changed` when it is not on disk so. The
    // character set is that of the file on disk, so that a preview and an import agree.
    bool LoadNormal(std::vector<uint8_t>& normal, bool& changed, CharsetFinding& finding);
    void Rewrite(std::span<const uint8_t> normal);
    bool ReadPlain();
    bool ReadInferred();
    bool Refuse();

    CReadOnlyTextFileManager m_text{m_files};
    std::vector<uint8_t> m_bytes;  // of an inferred import that need not be converted
    std::string m_converted;       // of one that is
    OfxContents m_contents;
};

}  // namespace quillon
