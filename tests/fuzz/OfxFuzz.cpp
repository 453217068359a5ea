// OFX and QFX statements, by the plain rules and by the inferred dialect: both readers,
// the form in which downloads are kept, and imports into a ledger.

#include "ImportCheck.h"
#include "foundation/platform/Clock.h"
#include "import/ofx/OfxInferred.h"
#include "import/ofx/OfxParser.h"
#include "import/ofx/OfxRewrite.h"
#include "import/ofx/OfxTags.h"
#include "import/ofx/OfxValues.h"
#include "import/ofx/QFXImportManager.h"
#include "import/text/Charset.h"

namespace quillon::fuzz {
namespace {

void CheckTags(std::string_view text) {
    COfxTags tags(text);
    size_t end = 0;
    for (OfxTag tag; tags.Next(tag);) {
        FUZZ_CHECK(tag.start >= end && tag.end > tag.start && tag.end <= text.size(),
                   "tags follow one another");
        end = tag.end;
        Touch(tag.name);
        FUZZ_CHECK(text[tag.start] == '<' && text[tag.end - 1] == '>', "with their brackets");
    }
    const std::string decoded = DecodeEntities(text);
    FUZZ_CHECK(decoded.size() <= text.size(), "decoding makes nothing longer");
    (void)StatementId(text.substr(0, 40));
}

void CheckPlain(std::span<const uint8_t> bytes) {
    const Bytes normal = NormaliseStatement(bytes);
    FUZZ_CHECK(normal.size() <= 3 * bytes.size() + 8, "two more bytes a tag");
    CReadOnlyTextFileManager text;
    if (text.LoadBlock(normal.data(), static_cast<int64_t>(normal.size())) != TextFileStatus::Ok) {
        return;
    }
    const int64_t lines = text.LineCount();
    ReadPlainOfx(text, TodayFileTime(), [lines](ImportRecord& record) {
        CheckRecord(record, lines);
        return true;
    });
}

void CheckInferred(std::span<const uint8_t> bytes) {
    const CharsetFinding finding = DetectCharset(bytes);
    if (finding.binary) return;
    const std::string converted = ConvertToUtf8(bytes, finding);
    const Bytes rest = Slice(CopyOf(bytes), finding.markLength);
    const std::string text = NeedsConversion(finding) ? converted : ToString(rest);
    CheckTags(text);
    CImportNotes notes;
    Dialect dialect;
    const ImportOptions options;
    CInferredOfx reader(text, TodayFileTime(), options, dialect, notes);
    reader.Survey();
    std::vector<ImportSource> sources = reader.Found().sources;
    for (ImportSource& source : sources) source.chosen = true;
    const CInferredOfx::Counts counts = reader.Count(sources);
    const int64_t lines = LineAt(text, text.size()) + 1;
    int64_t records = 0;
    reader.Read(sources, [&](ImportRecord& record) {
        CheckRecord(record, lines);
        ++records;
        return true;
    });
    FUZZ_CHECK(records == counts.records && records <= counts.read, "every line is counted");
}

void CheckImport(std::span<const uint8_t> bytes, DialectMode mode) {
    ImportOptions options;
    options.dialect = mode;
    options.allSources = true;
    ImportResult second;
    const ImportResult first = ImportBench().Run<CQFXImportManager>(bytes, options, second);
    const Bytes& file = ImportBench().File();
    if (mode == DialectMode::Plain || first.failed) return;
    FUZZ_CHECK(second.failed == first.failed && second.read == first.read,
               "the download reads the same in its normal form");
    CheckInferred(file);
    FUZZ_CHECK(second.imported == 0, "a second import adds nothing");
}

}  // namespace
}  // namespace quillon::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const quillon::CStoppedClock clock(133'000'000'000'000'000);
    quillon::fuzz::CheckPlain({data, size});
    quillon::fuzz::CheckInferred({data, size});
    if (quillon::fuzz::IsSpared({data, size})) return 0;
    quillon::fuzz::CheckImport({data, size}, quillon::DialectMode::Plain);
    quillon::fuzz::CheckImport({data, size}, quillon::DialectMode::Auto);
    return 0;
}
