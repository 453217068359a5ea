// Files in columns: rows and cells, the finding of a shape, reading by it, and imports into
// a ledger.

#include "ImportCheck.h"
#include "foundation/Unicode.h"
#include "foundation/platform/Clock.h"
#include "import/csv/CSVImportManager.h"
#include "import/csv/CsvProfiles.h"
#include "import/text/Charset.h"
#include "import/text/CharsetWords.h"

namespace quillon::fuzz {
namespace {

std::string TextOf(std::span<const uint8_t> bytes) {
    CharsetFinding finding = DetectCharset(bytes);
    if (finding.binary) return {};
    if (finding.charset == Charset::Windows1252) finding.charset = EightBitCharset(bytes);
    if (finding.charset == Charset::Utf8) finding.charset = Charset::Windows1252;
    const std::string converted = ConvertToUtf8(bytes, finding);
    if (NeedsConversion(finding)) return converted;
    const std::span<const uint8_t> text = bytes.subspan(finding.markLength);
    return {text.begin(), text.end()};
}

void CheckRows(std::string_view text) {
    for (const char delimiter : {',', ';', '\t'}) {
        CCsvReader reader(text, delimiter);
        CsvRow row;
        int64_t line = 0;
        size_t bytes = 0;
        while (reader.Next(row)) {
            FUZZ_CHECK(row.line > line, "rows follow each other");
            line = row.line;
            FUZZ_CHECK(!row.cells.empty(), "a row has a cell");
            for (const std::string_view cell : row.cells) {
                Touch(cell);
                bytes += cell.size();
            }
        }
        FUZZ_CHECK(bytes <= text.size(), "cells hold no more than the text");
    }
}

void CheckShape(std::string_view text) {
    for (const bool isCredit : {false, true}) {
        CImportNotes notes;
        Dialect dialect;
        CCsvShapeFinder finder(text, isCredit, notes);
        if (!finder.Find({}, {}, dialect)) {
            FUZZ_CHECK(finder.Failure() != CsvFailure::None, "a failure says why");
            continue;
        }
        const CsvShape& shape = finder.Shape();
        FUZZ_CHECK(shape.HasMoney() && !shape.dates.empty(), "a shape has dates and money");
        for (const int32_t column : shape.map.columns) {
            FUZZ_CHECK(column >= 0 && column <= static_cast<int32_t>(shape.width),
                       "columns lie in the rows");
        }
        // What was found, asked for as a profile, is found again.
        CsvFinding found;
        found.map = shape.map;
        found.delimiter = shape.delimiter;
        found.dialect = dialect;
        found.invert = shape.invert;
        const CsvProfile profile = ProfileOf("fuzz", found, {});
        CCsvShapeFinder again(text, isCredit, notes);
        Dialect same;
        // Rows that have other dates alone are no evidence for the one that is asked for.
        if (!again.Find(profile.request, {}, same)) continue;
        FUZZ_CHECK(again.Shape().map == shape.map && same.dateOrder == dialect.dateOrder,
                   "a profile reads its own file in the same way");
    }
}

void CheckImport(std::span<const uint8_t> bytes) {
    ImportOptions options;
    options.dialect = DialectMode::Auto;
    ImportResult second;
    const ImportResult first = ImportBench().Run<CCSVImportManager>(bytes, options, second);
    FUZZ_CHECK(ImportBench().File() == CopyOf(bytes), "importing leaves the file alone");
    FUZZ_CHECK(second.imported == 0, "rows enter once");
    FUZZ_CHECK(second.payeesCreated == 0 && second.categoriesCreated == 0, "and make no names");
    FUZZ_CHECK(first.read == second.read, "the same file is read the same");
}

}  // namespace
}  // namespace quillon::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const quillon::CStoppedClock clock(133'000'000'000'000'000);
    const std::string text = quillon::fuzz::TextOf({data, size});
    FUZZ_CHECK(text.empty() || quillon::IsValidUtf8(text), "a converted text is UTF-8");
    quillon::fuzz::CheckRows(text);
    quillon::fuzz::CheckShape(text);
    if (!quillon::fuzz::IsSpared({data, size})) quillon::fuzz::CheckImport({data, size});
    return 0;
}
