#include "import/ofx/QFXImportManager.h"

#include <memory>

#include "foundation/platform/Clock.h"
#include "import/ofx/OfxParser.h"
#include "import/ofx/OfxRewrite.h"
#include "import/text/Charset.h"

namespace quillon {

namespace {

using Kind = CImportNotes::Kind;

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
            declared += c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
        }
        return declared;
    }
    return {};
}

}  // namespace

bool CQFXImportManager::Survey() {
    return IsPlain() ? SurveyPlain() : SurveyInferred();
}

bool CQFXImportManager::SurveyPlain() {
    std::vector<uint8_t> bytes;
    if (!ReadWholeFile(m_files, PathText(), bytes)) return Fail();
    std::vector<uint8_t> normal = NormaliseStatement(bytes);
    if (normal != bytes) Rewrite(normal);
    bytes = {};
    const TextFileStatus status =
        m_text.LoadBlock(normal.data(), static_cast<int64_t>(normal.size()));
    if (status != TextFileStatus::Ok) return Fail();
    m_result.dialect.dateOrder = DateOrder::YearMonthDay;
    m_result.dialect.years = YearRule::AsWritten;
    return true;
}

bool CQFXImportManager::SurveyInferred() {
    if (!LoadFile(m_bytes)) return false;
    CharsetFinding finding = DetectCharset(m_bytes);
    if (finding.binary) return Fail("It is not a text file.");
    m_converted = ConvertToUtf8(m_bytes, finding);
    std::string_view text = m_converted;
    if (!NeedsConversion(finding)) {
        text = {reinterpret_cast<const char*>(m_bytes.data()) + finding.markLength,
                m_bytes.size() - finding.markLength};
    }
    const std::string declared = DeclaredCharset(text);
    if (finding.charset == Charset::Windows1252 &&
        (declared == "ISO-8859-1" || declared == "8859-1")) {
        finding.charset = Charset::Latin1;
    }
    m_result.dialect.charset = finding.charset;
    NoteCharset(finding, m_notes, declared);
    m_inferred =
        std::make_unique<CInferredOfx>(text, TodayFileTime(), m_options, m_result.dialect, m_notes);
    m_inferred->Survey();
    m_result.sources = m_inferred->Found().sources;
    return true;
}

bool CQFXImportManager::Prepare() {
    if (IsPlain()) {
        ReadPlainOfx(m_text, TodayFileTime(),
                     [this](ImportRecord&) { return ++m_result.read > 0; });
        return true;
    }
    const CInferredOfx::Counts counts = m_inferred->Count(m_result.sources);
    m_result.read = counts.read;
    if (counts.records == 0) return Refuse();
    // A file of which no date can be read was not understood.
    if (counts.dated == 0) return Fail("None of its dates can be read.");
    if (m_inferred->Found().unnamedStatements > 1) {
        m_notes.Add(Kind::File, 0,
                    "Several statements of the file name no account; they count as one.");
    }
    return true;
}

void CQFXImportManager::ReadRecords(const RecordSink& sink) {
    if (IsPlain()) {
        ReadPlainOfx(m_text, TodayFileTime(), sink);
        return;
    }
    const std::vector<uint8_t> normal = NormaliseStatement(m_bytes);
    if (normal != m_bytes) Rewrite(normal);
    m_inferred->Read(m_result.sources, sink);
}

// The lines that notes tell are those of the file as it was, as in a preview.
void CQFXImportManager::Rewrite(std::span<const uint8_t> normal) {
    if (m_options.dryRun || ReplaceWholeFile(m_files, PathText(), normal)) return;
    m_notes.Add(Kind::File, 0,
                "The file could not be rewritten with every element on a line of its own; it was "
                "left as it is.");
}

// Nothing to enter: says what the file is instead.
bool CQFXImportManager::Refuse() {
    const OfxSurvey& found = m_inferred->Found();
    if (!found.hasBody) {
        return Fail("It is not an OFX statement: it holds neither <OFX> nor <STMTTRN>.");
    }
    if (m_result.read > 0) return Fail("No statement line in it is complete.");
    if (!found.problem.empty()) return Fail("The bank sent no statement but " + found.problem);
    if (found.investmentActions > 0) {
        return Fail("It is an investment statement (" + std::to_string(found.investmentActions) +
                    " actions on securities) without bank-style lines.");
    }
    return Fail("Its statements hold no lines.");
}

std::string CQFXImportManager::Report() const {
    return "The QFX data file '" + PathText() + "' was imported successfully." + Counters();
}

std::string CQFXImportManager::FailureMessage() const {
    return "An error occurred importing the QFX data file '" + PathText() + "'.";
}

}  // namespace quillon
