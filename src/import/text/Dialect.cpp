#include "import/text/Dialect.h"

namespace quillon {

const char* NameOf(DateOrder order) {
    switch (order) {
        case DateOrder::DayMonthYear:
            return "dmy";
        case DateOrder::YearMonthDay:
            return "ymd";
        case DateOrder::MonthDayYear:
            break;
    }
    return "mdy";
}

const char* NameOf(YearRule years) {
    return years == YearRule::AsWritten ? "as written" : "two-digit";
}

const char* NameOf(DecimalMark decimal) {
    return decimal == DecimalMark::Comma ? "comma" : "point";
}

const char* NameOf(Charset charset) {
    switch (charset) {
        case Charset::Windows1252:
            return "windows-1252";
        case Charset::Latin1:
            return "iso-8859-1";
        case Charset::Utf16Low:
            return "utf-16le";
        case Charset::Utf16High:
            return "utf-16be";
        case Charset::Utf32Low:
            return "utf-32le";
        case Charset::Utf32High:
            return "utf-32be";
        case Charset::Windows1250:
            return "windows-1250";
        case Charset::Iso8859_2:
            return "iso-8859-2";
        case Charset::Iso8859_9:
            return "iso-8859-9";
        case Charset::Iso8859_15:
            return "iso-8859-15";
        case Charset::ShiftJis:
            return "shift_jis";
        case Charset::Utf8:
            break;
    }
    return "utf-8";
}

}  // namespace quillon
