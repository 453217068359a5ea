#include "import/ofx/QFXImportManager.h"

#include <memory>

#include "foundation/platform/Clock.h"
#include "import/ofx/OfxParser.h"
#include "import/ofx/OfxRewrite.h"
#include "import/text/Charset.h"
#include "import/text/TextScan.h"

namespace quillon {

namespace {

constexpr size_t kHeaderBytes = 2000;

// What the header says of the character set, in capitals: "1252", "ISO-8859-1", "UTF-8".
std::string DeclaredCharset(std::string_view text) {
    const std::string_view header = text.substr(0, kHeaderBytes);
    for (const std::string_view key : {"CHARSET:", "encoding=\"", "encoding='"}) {
        const size_t at = header.find(key);
        if (at == std::string_view::npos) continue;
        std::string declared;
        for (const char c : header.substr(at + key.size(), 20)) {
            if (c == '"' || c == '\'' || static_cast<unsigned char>(c) <= ' ') break;
            declared += UpperAscii(c);
        }
        return declared;
    }
    return {};
}

}  // namespace

bool CQFXImportManager::Survey() {
    m_download.reset();  // of an earlier plan
    return IsPlain() ? SurveyPlain() : SurveyInferred();
}

bool CQFXImportManager::SurveyPlain() {
    auto download = std::make_shared<Download>();
    if (!ReadWholeFile(m_files, PathText(), download->bytes))
        return Fail(ImportRefusalCode::NotReadable);
    const std::vector<uint8_t> normal = NormaliseStatement(download->bytes);
    if (normal != download->bytes) {
        if (IsPreview()) {
            m_download = std::move(download);
        } else {
            const auto note = ReplaceByNormalForm(m_files, PathText(), normal);
            if (note) m_notes.Add(*note, 0);
        }
    }
    download.reset();
    m_lines = std::make_shared<CReadOnlyTextFileManager>(m_files);
    const TextFileStatus status =
        m_lines->LoadBlock(normal.data(), static_cast<int64_t>(normal.size()));
    if (status != TextFileStatus::Ok) return Fail(ImportRefusalCode::NotReadable);
    m_found.dialect.dateOrder = DateOrder::YearMonthDay;
    m_found.dialect.years = YearRule::AsWritten;
    return true;
}

bool CQFXImportManager::SurveyInferred() {
    m_download = std::make_shared<Download>();
    std::vector<uint8_t>& bytes = m_download->bytes;
    if (!LoadFile(bytes)) return false;
    CharsetFinding finding = DetectCharset(bytes);
    if (finding.binary) return Fail(ImportRefusalCode::NotText);
    m_download->converted = ConvertToUtf8(bytes, finding);
    std::string_view& text = m_download->text;
    text = m_download->converted;
    if (!NeedsConversion(finding)) {
        text = {reinterpret_cast<const char*>(bytes.data()) + finding.markLength,
                bytes.size() - finding.markLength};
    }
    const std::string declared = DeclaredCharset(text);
    if (finding.charset == Charset::Windows1252 &&
        (declared == "ISO-8859-1" || declared == "8859-1")) {
        finding.charset = Charset::Latin1;
    }
    m_found.dialect.charset = finding.charset;
    NoteCharset(finding, m_notes, declared);
    m_inferred =
        std::make_unique<CInferredOfx>(text, TodayFileTime(), m_options, m_found.dialect, m_notes);
    m_inferred->Survey();
    m_found.sources = m_inferred->Found().sources;
    return true;
}

bool CQFXImportManager::Prepare() {
    if (IsPlain()) {
        ReadPlainOfx(*m_lines, TodayFileTime(),
                     [this](ImportRecord&) { return ++m_found.read > 0; });
        return true;
    }
    const CInferredOfx::Counts counts = m_inferred->Count(m_found.sources);
    m_found.read = counts.read;
    if (counts.records == 0) return Refuse();
    // A file of which no date can be read was not understood.
    if (counts.dated == 0) return Fail(ImportRefusalCode::NoDates);
    if (m_inferred->Found().unnamedStatements > 1) {
        m_notes.Add(ImportNoteCode::StatementsUnnamed, 0);
    }
    return true;
}

CImportManager::Text CQFXImportManager::TextOfRecords() {
    if (!IsPlain()) return {m_download, m_download->text};
    return {m_lines, TextOf(*m_lines)};
}

void CQFXImportManager::ReadRecords(const RecordSink& sink) {
    if (IsPlain()) {
        ReadPlainOfx(*m_lines, TodayFileTime(), sink);
    } else {
        m_inferred->Read(m_found.sources, sink);
    }
}

// The lines that rows and notes tell are those of the file as it was.
CImportPlan::KeepFile CQFXImportManager::FileKeeper() {
    if (!m_download) return {};
    return [download = m_download, &files = m_files, path = PathText()] {
        return KeepNormalForm(files, path, download->bytes);
    };
}

// Nothing to enter: says what the file is instead.
bool CQFXImportManager::Refuse() {
    const OfxSurvey& found = m_inferred->Found();
    if (!found.hasBody) return Fail(ImportRefusalCode::NotOfx);
    if (m_found.read > 0) return Fail(ImportRefusalCode::OfxNoCompleteLine);
    if (found.report.isError) {
        return Fail(ImportRefusalCode::OfxBankReports, {found.report.code, found.report.message});
    }
    if (found.investmentActions > 0) {
        return Fail(ImportRefusalCode::OfxInvestments, {found.investmentActions});
    }
    return Fail(ImportRefusalCode::OfxNoLines);
}

}  // namespace quillon
