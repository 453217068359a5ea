#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "import/plan/ImportNotes.h"
#include "import/plan/ImportSource.h"

namespace quillon {

// How a bank file is to be read. Plain is what an importer does when nothing is set;
// Auto infers a dialect once per file, from the whole file.
enum class DialectMode { Plain, Auto };
enum class DateOrder { MonthDayYear, DayMonthYear, YearMonthDay };
enum class YearRule {
    TwoDigits,  // 50 and below are 20xx, everything else has 1900 added
    AsWritten,  // four digits are the year itself; shorter ones as above
};
enum class DecimalMark { Point, Comma };
enum class Charset { Utf8, Windows1252, Latin1, Utf16Low, Utf16High, Utf32Low, Utf32High };

struct Dialect {
    DateOrder dateOrder = DateOrder::MonthDayYear;
    YearRule years = YearRule::TwoDigits;
    DecimalMark decimal = DecimalMark::Point;
    Charset charset = Charset::Utf8;
};

// "mdy", "dmy", "ymd"; "two-digit", "as written"; "point", "comma"; "utf-8",
// "windows-1252", "iso-8859-1", "utf-16le", "utf-16be", "utf-32le", "utf-32be".
const char* NameOf(DateOrder order);
const char* NameOf(YearRule years);
const char* NameOf(DecimalMark decimal);
const char* NameOf(Charset charset);

struct ImportOptions {
    DialectMode dialect = DialectMode::Plain;
    // Set by the user, these win over what the file shows.
    std::optional<DateOrder> dateOrder;
    std::optional<DecimalMark> decimal;
    // Reads and compares, but enters nothing and leaves the file as it is.
    bool dryRun = false;
    // The account of the file whose lines are entered, where it holds several. Empty: the
    // file's only one, or the one that the account carries.
    std::string source;
    bool allSources = false;  // all of them
    // Every note by itself, instead of one for many lines that say the same.
    bool everyNote = false;
    // Fills ImportResult::rows, for a preview.
    bool keepRows = false;
    // Called between batches with the records done and all there are; false stops the
    // import there. What was entered stays.
    std::function<bool(int64_t done, int64_t total)> progress;
};

enum class RowOutcome {
    Entered,    // or would be, in a dry run
    Duplicate,  // the account holds its identifier, or the file says it twice
    Skipped,    // a note tells why
};

struct ImportRow {
    int64_t line = 0;
    int64_t date = 0;     // midnight UTC
    double amount = 0.0;  // signed: negative goes out
    std::string payee;    // as renamed
    std::string category;
    std::string memo;
    RowOutcome outcome = RowOutcome::Entered;
};

struct ImportResult {
    bool failed = false;
    // Why, and what to do; one line, empty unless failed.
    std::string error;
    // The report for the user, in several lines; empty when failed.
    std::string message;
    bool cancelled = false;
    // The file holds several accounts, and which one was meant is not clear: nothing was
    // entered. ImportOptions::source tells, or allSources.
    bool needsSource = false;

    int64_t read = 0;        // records or statement lines in the file
    int64_t imported = 0;    // of these, entered (in a dry run: to be entered)
    int64_t duplicates = 0;  // of these, known already
    int64_t categoriesCreated = 0;
    int64_t payeesCreated = 0;

    Dialect dialect;
    std::vector<ImportSource> sources;  // the accounts of the file; none by the plain rules
    std::vector<ImportNote> notes;      // in file order; those of the whole file first
    std::vector<ImportRow> rows;        // only with ImportOptions::keepRows
};

}  // namespace quillon
