#include "import/csv/CsvCells.h"

#include <algorithm>
#include <cmath>

#include "import/csv/CsvWords.h"
#include "import/text/AmountScan.h"
#include "import/text/TextScan.h"

namespace quillon {

namespace {

constexpr size_t kLongestDate = 64;  // bytes

// "2018年1月5日" with plain separators, in `buffer`.
std::string_view WithoutIdeographs(std::string_view text, char* buffer) {
    constexpr std::string_view kYear = "\xE5\xB9\xB4";
    constexpr std::string_view kMonth = "\xE6\x9C\x88";
    constexpr std::string_view kDay = "\xE6\x97\xA5";
    if (!Contains(text, kYear)) return text;
    size_t size = 0;
    for (size_t at = 0; at < text.size();) {
        const std::string_view three = text.substr(at, 3);
        if (three == kYear || three == kMonth) {
            buffer[size++] = '-';
            at += 3;
        } else if (three == kDay) {
            at += 3;
        } else {
            buffer[size++] = text[at++];
        }
    }
    return {buffer, size};
}

// Told cheaply: most cells are none.
bool CouldBeDate(std::string_view cell) {
    const char first = cell.front();
    if (!IsDigit(first) && !IsLetter(first) && first != '\'') return false;
    int digits = 0;
    int separators = 0;
    bool hasLetter = false;
    for (const char c : cell) {
        digits += IsDigit(c);
        separators += c == '/' || c == '-' || c == '.' || c == '\'';
        hasLetter = hasLetter || IsLetter(c);
    }
    return digits >= 2 && (separators >= 2 || hasLetter || digits >= 8);
}

bool IsDateInAnyOrder(const DateParts& parts) {
    return ReadDate(parts, DateOrder::DayMonthYear) || ReadDate(parts, DateOrder::MonthDayYear) ||
           ReadDate(parts, DateOrder::YearMonthDay);
}

bool IsLikelyYear(int32_t year) {
    return year >= 1950 && year <= 2100;
}

AmountReading Worse(AmountReading a, AmountReading b) {
    return std::max(a, b);
}

// One of the two sides; what is written there as `isNegative` says counts as positive.
double ReadSide(std::string_view cell, bool isNegative, const CsvShape& shape, CsvMoney& money) {
    if (cell.empty()) return 0.0;
    double amount = 0.0;
    const AmountReading reading = ReadAmount(cell, shape.marks, amount);
    // A dash or a word stands for nothing.
    if (reading == AmountReading::Failed && !HasDigit(cell)) return 0.0;
    money.reading = money.isEmpty ? reading : Worse(money.reading, reading);
    if (money.isEmpty || amount != 0.0) money.text = cell;
    money.isEmpty = false;
    return isNegative ? -amount : amount;
}

}  // namespace

bool SplitCsvDate(std::string_view cell, DateParts& parts) {
    constexpr size_t kShortest = 5;
    if (cell.size() < kShortest || cell.size() > kLongestDate) return false;
    if (!CouldBeDate(cell)) return false;
    char buffer[kLongestDate];
    cell = WithoutIdeographs(cell, buffer);
    if (cell.front() == '\'') cell.remove_prefix(1);
    if (cell.back() == '.') cell.remove_suffix(1);
    // "20091224120000[0:GMT]"
    const size_t zone = cell.find('[');
    if (zone != std::string_view::npos) cell = cell.substr(0, zone);
    if (!SplitDate(cell, parts)) return false;
    const bool isBare = DigitsAtStart(cell) >= 8;
    const int32_t year = parts.YearFirst() ? parts.numbers[0] : parts.numbers[2];
    if (isBare && !IsLikelyYear(year)) return false;
    return IsDateInAnyOrder(parts);
}

bool IsWrittenAsDate(std::string_view cell) {
    constexpr size_t kShortest = 8;
    DateParts parts;
    return cell.size() >= kShortest && DigitsAtStart(cell) < kShortest && SplitDate(cell, parts) &&
           !IsDateInAnyOrder(parts);
}

CsvNumber LookAtNumber(std::string_view cell) {
    constexpr size_t kLongest = 40;
    constexpr size_t kMostDigits = 12;
    CsvNumber look;
    if (cell.empty() || cell.size() > kLongest) return look;
    if (!HasDigit(cell)) return look;
    const CleanedAmount cleaned = CleanAmount(cell);
    const std::string_view number = cleaned.View();
    if (cleaned.isOdd || number.empty()) return look;
    look.hasMark = number.find_first_of(".,") != std::string_view::npos;
    const bool hasCode = !look.hasMark && number.size() > 1 && number.front() == '0';
    const auto digits = static_cast<size_t>(std::count_if(number.begin(), number.end(), IsDigit));
    if (hasCode || digits > kMostDigits) return look;
    DateParts parts;
    if (SplitCsvDate(cell, parts)) return look;
    // "31.02.2024" groups nothing.
    const bool isSingle = number.find_first_of(".,") == number.find_last_of(".,");
    if (!isSingle && EvidenceOfNumber(number) == AmountEvidence::None) return look;
    look.isAmount = true;
    look.isNegative = cleaned.negative;
    look.isZero = number.find_first_of("123456789") == std::string_view::npos;
    return look;
}

CsvMoney ReadCsvMoney(const CsvRow& row, const CsvShape& shape) {
    CsvMoney money;
    const int32_t column = shape.map[CsvField::Amount];
    if (column != 0) {
        money.text = row.Cell(column);
        money.isEmpty = money.text.empty();
        if (!money.isEmpty) money.reading = ReadAmount(money.text, shape.marks, money.amount);
        const int32_t side = shape.map[CsvField::Sign];
        if (side != 0 && SideOfWord(row.Cell(side)) == CsvSide::Out) {
            money.amount = -std::fabs(money.amount);
        }
        double fee = 0.0;
        if (shape.fee != 0) (void)ReadAmount(row.Cell(shape.fee), shape.marks, fee);
        money.amount -= std::fabs(fee);
    } else {
        const double out =
            ReadSide(row.Cell(shape.map[CsvField::Debit]), shape.debitIsNegative, shape, money);
        const double in =
            ReadSide(row.Cell(shape.map[CsvField::Credit]), shape.creditIsNegative, shape, money);
        money.bothSides = out != 0.0 && in != 0.0;
        money.amount = in - out;
    }
    if (shape.invert) money.amount = -money.amount;
    if (money.amount == 0.0) money.amount = 0.0;  // no negative one
    return money;
}

}  // namespace quillon
