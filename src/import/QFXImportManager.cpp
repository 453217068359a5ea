#include "import/QFXImportManager.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "foundation/platform/Clock.h"
#include "import/Charset.h"
#include "import/OfxRewrite.h"

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

bool CQFXImportManager::ReadRecords(std::vector<ImportRecord>& records) {
    m_contents = OfxContents();
    if (!(IsPlain() ? ReadPlain() : ReadInferred())) return false;
    m_result.read = m_contents.read;
    records = std::move(m_contents.records);
    return true;
}

bool CQFXImportManager::LoadNormal(std::vector<uint8_t>& normal, bool& changed,
                                   CharsetFinding& finding) {
    std::vector<uint8_t> bytes;
    if (!LoadFile(bytes)) return false;
    finding = DetectCharset(bytes);
    normal = NormaliseStatement(bytes);
    changed = normal != bytes;
    if (m_options.dryRun && !IsPlain()) {
        normal = std::move(bytes);
    } else if (changed && finding.line > 0) {
        finding.line = std::max<int64_t>(DetectCharset(normal).line, 1);
    }
    return true;
}

void CQFXImportManager::Rewrite(std::span<const uint8_t> normal) {
    if (m_options.dryRun || ReplaceWholeFile(m_files, PathText(), normal)) return;
    m_notes.Add(Kind::File, 0,
                "The file could not be rewritten with every element on a line of its own; it "
                "was left as it is. Line numbers count the lines it would have.");
}

bool CQFXImportManager::ReadPlain() {
    std::vector<uint8_t> bytes;
    if (!ReadWholeFile(m_files, PathText(), bytes)) return Fail();
    std::vector<uint8_t> normal = NormaliseStatement(bytes);
    if (normal != bytes) Rewrite(normal);
    bytes = {};
    const TextFileStatus status =
        m_text.LoadBlock(normal.data(), static_cast<int64_t>(normal.size()));
    normal = {};
    if (status != TextFileStatus::Ok) return Fail();
    m_result.dialect.dateOrder = DateOrder::YearMonthDay;
    m_result.dialect.years = YearRule::AsWritten;
    ReadPlainOfx(m_text, TodayFileTime(), m_contents);
    return true;
}

bool CQFXImportManager::ReadInferred() {
    bool changed = false;
    CharsetFinding finding;
    if (!LoadNormal(m_bytes, changed, finding)) return false;
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

    ReadInferredOfx(text, TodayFileTime(), m_options, m_result.dialect, m_notes, m_contents);
    if (m_contents.records.empty()) return Refuse();
    if (changed) Rewrite(m_bytes);
    return true;
}

// Nothing to enter: says what the file is instead.
bool CQFXImportManager::Refuse() {
    if (!m_contents.hasBody) {
        return Fail("It is not an OFX statement: it holds neither <OFX> nor <STMTTRN>.");
    }
    if (m_contents.read > 0) return Fail("No statement line in it is complete.");
    if (!m_contents.problem.empty()) {
        return Fail("The bank sent no statement but " + m_contents.problem);
    }
    if (m_contents.investmentActions > 0) {
        return Fail("It is an investment statement (" +
                    std::to_string(m_contents.investmentActions) +
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
