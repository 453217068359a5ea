#pragma once

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
enum class Charset {
    Utf8,
    Windows1252,
    Latin1,
    Utf16Low,
    Utf16High,
    Utf32Low,
    Utf32High,
    Windows1250,
    Iso8859_2,
    Iso8859_9,
    Iso8859_15,
    ShiftJis,
};

struct Dialect {
    DateOrder dateOrder = DateOrder::MonthDayYear;
    YearRule years = YearRule::TwoDigits;
    DecimalMark decimal = DecimalMark::Point;
    Charset charset = Charset::Utf8;
};

// "mdy", "dmy", "ymd"; "two-digit", "as written"; "point", "comma"; "utf-8",
// "windows-1252", "iso-8859-1", "utf-16le", "utf-16be", "utf-32le", "utf-32be",
// "windows-1250", "iso-8859-2", "iso-8859-9", "iso-8859-15", "shift_jis".
const char* NameOf(DateOrder order);
const char* NameOf(YearRule years);
const char* NameOf(DecimalMark decimal);
const char* NameOf(Charset charset);

}  // namespace quillon
