// QIF files, by the plain rules and by the inferred dialect: both readers, and imports
// into a ledger.

#include "ImportCheck.h"
#include "foundation/platform/Clock.h"
#include "import/qif/QIFImportManager.h"
#include "import/qif/QifParser.h"
#include "import/text/Charset.h"

namespace quillon::fuzz {
namespace {

void CheckPlain(std::span<const uint8_t> bytes) {
    CReadOnlyTextFileManager text;
    if (text.LoadBlock(bytes.data(), static_cast<int64_t>(bytes.size())) != TextFileStatus::Ok) {
        return;
    }
    for (const DateOrder order :
         {DateOrder::MonthDayYear, DateOrder::DayMonthYear, DateOrder::YearMonthDay}) {
        const int64_t lines = text.LineCount();
        ReadPlainQif(text, TodayFileTime(), order, [lines](ImportRecord& record) {
            CheckRecord(record, lines);
            return true;
        });
    }
}

void CheckInferred(std::span<const uint8_t> bytes) {
    const CharsetFinding finding = DetectCharset(bytes);
    if (finding.binary) return;
    FUZZ_CHECK(finding.markLength <= bytes.size(), "a mark lies in the file");
    const std::string converted = ConvertToUtf8(bytes, finding);
    FUZZ_CHECK(converted.size() <= 3 * bytes.size() + 4, "UTF-8 is three times as long at most");
    const Bytes text =
        Join({0xEF, 0xBB, 0xBF},
             NeedsConversion(finding) ? Text(converted) : Slice(CopyOf(bytes), finding.markLength));
    CReadOnlyTextFileManager lines;
    FUZZ_CHECK(
        lines.LoadBlock(text.data(), static_cast<int64_t>(text.size())) == TextFileStatus::Ok,
        "what is marked as UTF-8 is text");
    CImportNotes notes;
    Dialect dialect;
    const ImportOptions options;
    CInferredQif reader(lines, TodayFileTime(), options, dialect, notes);
    reader.Survey();
    std::vector<ImportSource> sources = reader.Sources();
    for (ImportSource& source : sources) source.chosen = true;
    const CInferredQif::Counts counts = reader.Count(sources);
    int64_t records = 0;
    reader.Read(sources, [&](ImportRecord& record) {
        CheckRecord(record, std::max<int64_t>(lines.LineCount(), 1));
        ++records;
        return true;
    });
    FUZZ_CHECK(records == counts.records && records <= counts.read, "every record is counted");
    int64_t line = 0;
    for (const ImportNote& note : notes.Take()) {
        FUZZ_CHECK(note.line >= 0 && note.code < ImportNoteCode::kCount, "notes say something");
        FUZZ_CHECK(note.line >= line || note.line == 0, "notes follow the file");
        line = note.line;
    }
}

void CheckImport(std::span<const uint8_t> bytes) {
    for (const DialectMode mode : {DialectMode::Plain, DialectMode::Auto}) {
        ImportOptions options;
        options.dialect = mode;
        options.allSources = true;
        ImportResult second;
        const ImportResult first = ImportBench().Run<CQIFImportManager>(bytes, options, second);
        FUZZ_CHECK(ImportBench().File() == CopyOf(bytes), "importing leaves the file alone");
        const bool isPlain = mode == DialectMode::Plain;
        FUZZ_CHECK(first.duplicates == 0 && second.imported == (isPlain ? first.imported : 0),
                   "the plain rules enter it again, the others never");
        FUZZ_CHECK(second.payeesCreated == 0 && second.categoriesCreated == 0,
                   "under the same names");
    }
}

}  // namespace
}  // namespace quillon::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const quillon::CStoppedClock clock(133'000'000'000'000'000);
    quillon::fuzz::CheckPlain({data, size});
    quillon::fuzz::CheckInferred({data, size});
    if (!quillon::fuzz::IsSpared({data, size})) quillon::fuzz::CheckImport({data, size});
    return 0;
}
