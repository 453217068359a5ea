#include "import/csv/CSVImportManager.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "foundation/platform/Clock.h"
#include "import/text/Charset.h"
#include "import/text/CharsetWords.h"
#include "import/text/TextScan.h"

namespace quillon {

namespace {

struct Beginning {
    std::string_view bytes;
    const char* what;  // that the file is instead
};
// Told by the first bytes, letters in lower case.
constexpr Beginning kOthers[] = {
    {"pk\x03\x04", "a spreadsheet (or another ZIP archive)"},
    {"\xD0\xCF\x11\xE0", "a spreadsheet (or another office document)"},
    {"%pdf", "a PDF document"},
    {"<!doctype html", "a web page (HTML)"},
    {"<html", "a web page (HTML)"},
    {"<head", "a web page (HTML)"},
    {"<table", "a web page (HTML)"},
    {"{\\rtf", "a text document (RTF)"},
    {"ofxheader", "an OFX statement: import it as QFX"},
    {"<ofx", "an OFX statement: import it as QFX"},
    {"!type:", "a QIF file: import it as QIF"},
    {"!account", "a QIF file: import it as QIF"},
    {"!option:", "a QIF file: import it as QIF"},
    {"{\"", "a JSON document"},
};

std::string_view AsText(std::span<const uint8_t> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// What a file under the wrong name is; nothing for one that may be rows.
const char* OtherKind(std::string_view text) {
    constexpr size_t kBeginning = 2048;
    const std::string start = LowerAscii(TrimBlanksLeft(text.substr(0, kBeginning)));
    for (const Beginning& other : kOthers) {
        if (start.starts_with(other.bytes)) return other.what;
    }
    if (!start.starts_with("<?xml")) return nullptr;
    if (Contains(start, "spreadsheet")) return "a spreadsheet (XML)";
    if (Contains(start, "<ofx")) return "an OFX statement: import it as QFX";
    return Contains(start, "<html") ? "a web page (HTML)" : "an XML document";
}

}  // namespace

bool CCSVImportManager::Survey() {
    m_options.dialect = DialectMode::Auto;
    if (m_options.source.empty()) m_options.allSources = true;
    m_finding = CsvFinding();
    m_records.reset();
    if (!LoadText() || !FindShape()) return false;
    m_records = std::make_unique<CCsvRecords>(*m_text, m_shape, m_found.dialect.dateOrder,
                                              TodayFileTime(), m_notes);
    m_records->Survey(m_found.sources);
    if (m_found.sources.size() < 2) m_found.sources.clear();
    return true;
}

bool CCSVImportManager::LoadText() {
    std::vector<uint8_t> bytes;
    if (!LoadFile(bytes)) return false;
    if (const char* const other = OtherKind(AsText(bytes))) {
        return Fail(ImportRefusalCode::CsvIsOther, {std::string(other)});
    }
    CharsetFinding finding = DetectCharset(bytes);
    if (finding.binary) return Fail(ImportRefusalCode::NotText);
    if (finding.charset == Charset::Windows1252 && finding.markLength == 0) {
        finding.charset = m_request.charset.value_or(EightBitCharset(bytes));
        if (finding.charset == Charset::Utf8) finding.charset = Charset::Windows1252;
    }
    m_found.dialect.charset = finding.charset;
    std::string text;
    if (NeedsConversion(finding)) {
        text = ConvertToUtf8(bytes, finding);
    } else {
        text = AsText(std::span<const uint8_t>(bytes).subspan(finding.markLength));
    }
    bytes = {};
    const std::span<uint8_t> units(reinterpret_cast<uint8_t*>(text.data()), text.size());
    if (BreakAtReturns(units) && finding.line > 0 && finding.markLength == 0) {
        finding.line = std::max<int64_t>(FirstLineBeyondAscii(units), 1);
    }
    if (const char* const other = OtherKind(text)) {
        return Fail(ImportRefusalCode::CsvIsOther, {std::string(other)});
    }
    if (TrimBlanksLeft(text).empty()) return Fail(ImportRefusalCode::Empty);
    NoteCharset(finding, m_notes);
    m_text = std::make_shared<const std::string>(std::move(text));
    return true;
}

bool CCSVImportManager::FindShape() {
    std::vector<CsvKnownHeading> known;
    known.reserve(m_profiles.size());
    for (const CsvProfile& profile : m_profiles) {
        known.push_back({profile.headingWords, profile.request});
    }
    const bool isCredit = m_account.accountType == AccountType::Credit;
    CsvRequest request = m_request;
    if (!request.dateOrder) request.dateOrder = m_options.dateOrder;
    if (!request.decimal) request.decimal = m_options.decimal;
    CCsvShapeFinder finder(*m_text, isCredit, m_notes);
    if (!finder.Find(request, known, m_found.dialect)) return RefuseShape(finder);
    m_shape = finder.Shape();
    m_finding.delimiter = m_shape.delimiter;
    m_finding.headerLine = m_shape.headerLine;
    m_finding.headingWords = m_shape.headingWords;
    m_finding.dialect = m_found.dialect;
    m_finding.map = m_shape.map;
    m_finding.invert = m_shape.invert;
    if (finder.KnownUsed()) {
        m_finding.profile = m_profiles[*finder.KnownUsed()].name;
        m_notes.Add(ImportNoteCode::ProfileUsed, 0, {m_finding.profile});
    }
    return true;
}

bool CCSVImportManager::RefuseShape(const CCsvShapeFinder& finder) {
    switch (finder.Failure()) {
        case CsvFailure::HeadingAlone:
            return Fail(ImportRefusalCode::CsvHeadingAlone);
        case CsvFailure::NoSuchColumn:
            return Fail(ImportRefusalCode::CsvNoSuchColumn);
        default:
            break;
    }
    std::vector<ImportValue> values{std::string()};
    const bool hasColumns = std::any_of(finder.Tries().begin(), finder.Tries().end(),
                                        [](const CsvTry& tried) { return tried.columns > 1; });
    for (const CsvTry& tried : finder.Tries()) {
        if (hasColumns && tried.columns < 2) continue;
        if (!tried.noDate.empty()) values.front() = tried.noDate;
        values.emplace_back(std::string(1, tried.delimiter));
        values.emplace_back(tried.rows);
        values.emplace_back(tried.columns);
        values.emplace_back(int64_t{tried.dateColumn});
        values.emplace_back(int64_t{tried.amountColumn});
    }
    const bool hasAmounts = finder.Failure() == CsvFailure::NoDateColumn;
    return Fail(hasAmounts ? ImportRefusalCode::CsvNoDates : ImportRefusalCode::CsvNoRows,
                std::move(values));
}

bool CCSVImportManager::Prepare() {
    return true;
}

void CCSVImportManager::ReadRecords(const RecordSink& sink) {
    m_records->Read(m_found.sources, sink, m_found.read);
    const CCsvProof& proof = m_records->Proof();
    const CCsvProof::Finding found = proof.Decide();
    m_finding.balanceRows = proof.Pairs();
    if (found.isInverted) return;
    m_finding.balanceProved = found.proved;
    m_finding.balanceDirection = found.direction;
    if (m_finding.balanceRows > 0) {
        m_notes.Add(ImportNoteCode::BalanceProves, 0, {found.proved, m_finding.balanceRows});
    }
}

}  // namespace quillon
