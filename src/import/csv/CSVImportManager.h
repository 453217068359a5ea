#pragma once

#include <memory>
#include <string>
#include <vector>

#include "import/csv/CsvRecords.h"
#include "import/csv/CsvShape.h"
#include "import/plan/ImportManager.h"

namespace quillon {

// A profile: how the files with a heading are read.
struct CsvProfile {
    std::string name;
    std::string headingWords;  // empty: matches no file by itself
    CsvRequest request;
};

// What was found out of a file.
struct CsvFinding {
    char delimiter = ',';
    int64_t headerLine = 0;    // from 1; 0: none
    std::string headingWords;  // for a profile
    Dialect dialect;
    CsvMapping map;
    bool invert = false;
    std::string profile;  // the one that was used; empty: none
    // Rows whose balance could be compared with that of the row next to them, those where
    // the difference was the amount, and which way; filled by the import or its plan.
    int64_t balanceRows = 0;
    int64_t balanceProved = 0;
    CsvDirection balanceDirection = CsvDirection::None;
};

// Enters the rows of a file in columns into an account. What the columns are is found out
// from the file; categories and payees that it names are made when missing. Rows that have
// no identifier of their own get one, so that a file, or a longer one of the same account,
// enters each row once. There are no plain rules: the dialect is always inferred.
class CCSVImportManager final : public CImportManager {
public:
    using CImportManager::CImportManager;

    // What the user says of the file.
    void SetRequest(const CsvRequest& request) { m_request = request; }
    // Of these, the one whose heading the file has is used. What is asked for goes before.
    void SetProfiles(std::vector<CsvProfile> profiles) { m_profiles = std::move(profiles); }

    // Of the last plan or import that did not fail.
    const CsvFinding& Finding() const { return m_finding; }

protected:
    bool Survey() override;
    bool Prepare() override;
    Text TextOfRecords() override { return {m_text, *m_text}; }
    void ReadRecords(const RecordSink& sink) override;
    ImportFormat Format() const override { return {"CSV", true, true}; }

private:
    bool LoadText();
    bool RefuseOther(std::span<const uint8_t> bytes);
    bool RefuseShape(const CCsvShapeFinder& finder);
    bool FindShape();

    CsvRequest m_request;
    std::vector<CsvProfile> m_profiles;
    std::shared_ptr<const std::string> m_text;
    CsvShape m_shape;
    std::unique_ptr<CCsvRecords> m_records;
    CsvFinding m_finding;
};

}  // namespace quillon
