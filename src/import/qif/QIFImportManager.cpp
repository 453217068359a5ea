#include "import/qif/QIFImportManager.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

#include "foundation/platform/Clock.h"
#include "import/qif/QifParser.h"
#include "import/text/Charset.h"

namespace quillon {

namespace {

constexpr uint8_t kUtf8Mark[] = {0xEF, 0xBB, 0xBF};

}  // namespace

bool CQIFImportManager::Survey() {
    m_lines = std::make_shared<CReadOnlyTextFileManager>(m_files);
    return IsPlain() ? SurveyPlain() : SurveyInferred();
}

bool CQIFImportManager::SurveyPlain() {
    if (m_lines->Open(m_path) != TextFileStatus::Ok || m_lines->LineCount() == 0) {
        return Fail(ImportRefusalCode::NotReadable);
    }
    m_found.dialect.dateOrder = m_options.dateOrder.value_or(DateOrder::MonthDayYear);
    return true;
}

bool CQIFImportManager::Prepare() {
    if (IsPlain()) {
        ReadPlainQif(*m_lines, TodayFileTime(), m_found.dialect.dateOrder,
                     [this](ImportRecord&) { return ++m_found.read > 0; });
        return true;
    }
    const CInferredQif::Counts counts = m_inferred->Count(m_found.sources);
    m_found.read = counts.read;
    if (counts.records == 0) return Refuse(counts.investments);
    // A file of which no date can be read was not understood.
    return counts.dated > 0 || Fail(ImportRefusalCode::NoDates);
}

CImportManager::Text CQIFImportManager::TextOfRecords() {
    return {m_lines, TextOf(*m_lines)};
}

void CQIFImportManager::ReadRecords(const RecordSink& sink) {
    if (IsPlain()) {
        ReadPlainQif(*m_lines, TodayFileTime(), m_found.dialect.dateOrder, sink);
    } else {
        m_inferred->Read(m_found.sources, sink);
    }
}

bool CQIFImportManager::SurveyInferred() {
    std::vector<uint8_t> bytes;
    if (!LoadFile(bytes)) return false;
    CharsetFinding finding = DetectCharset(bytes);
    if (finding.binary) return Fail(ImportRefusalCode::NotText);
    m_found.dialect.charset = finding.charset;
    // The reader gets UTF-8 with its mark: accents in the first bytes are text then.
    const std::string converted = ConvertToUtf8(bytes, finding);
    const std::span<const uint8_t> behindMark =
        std::span<const uint8_t>(bytes).subspan(finding.markLength);
    const size_t size = NeedsConversion(finding) ? converted.size() : behindMark.size();
    const void* const source = NeedsConversion(finding)
                                   ? static_cast<const void*>(converted.data())
                                   : static_cast<const void*>(behindMark.data());
    auto block = std::make_unique<uint8_t[]>(sizeof kUtf8Mark + size);
    std::memcpy(block.get(), kUtf8Mark, sizeof kUtf8Mark);
    if (size > 0) std::memcpy(block.get() + sizeof kUtf8Mark, source, size);
    bytes = {};
    const std::span<uint8_t> text(block.get() + sizeof kUtf8Mark, size);
    if (BreakAtReturns(text) && finding.line > 0 && finding.markLength == 0) {
        finding.line = std::max<int64_t>(FirstLineBeyondAscii(text), 1);
    }
    NoteCharset(finding, m_notes);
    const TextFileStatus status =
        m_lines->AdoptBlock(std::move(block), static_cast<int64_t>(sizeof kUtf8Mark + size));
    if (status != TextFileStatus::Ok) return Fail(ImportRefusalCode::NoLines);

    m_inferred = std::make_unique<CInferredQif>(*m_lines, TodayFileTime(), m_options,
                                                m_found.dialect, m_notes);
    m_inferred->Survey();
    m_found.sources = m_inferred->Sources();
    return true;
}

// Nothing to enter: says what the file is instead. What it holds is not shown.
bool CQIFImportManager::Refuse(int64_t investments) {
    const QifOutline& outline = m_inferred->Outline();
    const std::string_view text = TextOf(*m_lines);
    if (investments > 0) return Fail(ImportRefusalCode::QifInvestments, {investments});
    const int64_t incomplete = std::max(m_found.read, outline.incomplete);
    if (incomplete > 0) return Fail(ImportRefusalCode::QifIncomplete, {incomplete});
    if (outline.registers > 0) return Fail(ImportRefusalCode::QifNoRecords);
    if (!outline.lists.empty()) {
        std::vector<ImportValue> lists;
        for (const std::string_view list : outline.lists) lists.emplace_back(std::string(list));
        return Fail(ImportRefusalCode::QifOnlyLists, std::move(lists));
    }
    if (outline.hasHeading) return Fail(ImportRefusalCode::QifNoRegister);
    if (Contains(text, "<OFX") || Contains(text, "OFXHEADER") || Contains(text, "<STMTTRN")) {
        return Fail(ImportRefusalCode::QifIsOfx);
    }
    return Fail(ImportRefusalCode::NotQif);
}

}  // namespace quillon
