#include "output/RegisterExport.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "foundation/CalendarDate.h"
#include "foundation/CurrencyFormat.h"
#include "foundation/PrintableText.h"
#include "foundation/Unicode.h"

namespace quillon {

namespace {

constexpr int kFirstShortYear = 1951;
constexpr int kLastShortYear = 2050;
// Readers that look at the beginning only take other bytes there for something binary,
// unless the file is marked as UTF-8.
constexpr size_t kExaminedBytes = 100;
constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

// Two decimals where that is the amount, else all it has.
std::string AmountText(double amount) {
    std::string plain = FormatPlainAmount(amount);
    double read = 0.0;
    const char* const end = plain.data() + plain.size();
    if (std::from_chars(plain.data(), end, read).ptr == end && read == amount) return plain;
    char buffer[400];
    const auto result =
        std::to_chars(buffer, buffer + sizeof buffer, amount, std::chars_format::fixed);
    return result.ec == std::errc() ? std::string(buffer, result.ptr) : plain;
}

// --- CSV

std::string CsvField(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
    std::string quoted = "\"";
    for (const char character : text) {
        if (character == '"') quoted += '"';
        quoted += character;
    }
    return quoted + '"';
}

void AppendCsvLine(std::string& csv, const std::vector<std::string>& fields) {
    for (size_t i = 0; i < fields.size(); ++i) {
        if (i > 0) csv += ',';
        csv += CsvField(fields[i]);
    }
    csv += "\r\n";
}

// --- QIF

bool NeedsLongYears(const std::vector<RegisterLine>& lines) {
    return std::any_of(lines.begin(), lines.end(), [](const RegisterLine& line) {
        const int year = DateFromFileTime(line.row.serviceDate).year;
        return year < kFirstShortYear || year > kLastShortYear;
    });
}

std::string QifDate(int64_t date, bool longYears) {
    const CivilDate day = DateFromFileTime(date);
    char text[40];
    if (longYears) {
        std::snprintf(text, sizeof text, "%02d/%02d/%04d", day.month, day.day, day.year);
    } else {
        std::snprintf(text, sizeof text, "%02d/%02d'%02d", day.month, day.day, day.year % 100);
    }
    return text;
}

// The kinds of electronic payment as both ways of reading know them.
std::string QifNumber(const CTransactionEntry& row) {
    if (row.check != 0) return std::to_string(row.check);
    const std::string_view electronic = row.electronicPayment.View();
    if (electronic == kElectronicAtm) return "atm";
    if (electronic == kElectronicEft) return "eft";
    if (electronic == kElectronicTransfer) return "txfr";
    return {};
}

void AppendQifLine(std::string& qif, char letter, const std::string& text) {
    if (text.empty()) return;
    qif += letter;
    qif += Printable(text);
    qif += '\n';
}

}  // namespace

std::string RegisterCsv(const std::vector<RegisterLine>& lines, const CNameTables& names) {
    std::string csv;
    AppendCsvLine(csv, {"Date", "Type", "Check", "Electronic", "Payee", "Category", "Amount",
                        "Balance", "FitId", "Memo"});
    for (const RegisterLine& line : lines) {
        const CTransactionEntry& row = line.row;
        AppendCsvLine(
            csv, {FormatIsoDate(row.serviceDate), KeyOf(row.transactionType),
                  row.check ? std::to_string(row.check) : "", row.electronicPayment.ToUtf8(),
                  names.Payee(row.payeeId), names.Category(row.categoryId), AmountText(line.effect),
                  AmountText(line.balance), row.fitId ? std::to_string(row.fitId) : "",
                  row.memo.ToUtf8()});
    }
    return csv;
}

std::string RegisterQif(const std::vector<RegisterLine>& lines, const CNameTables& names,
                        AccountType type) {
    const bool longYears = NeedsLongYears(lines);
    std::string qif = type == AccountType::Credit ? "!Type:CCard\n" : "!Type:Bank\n";
    for (const RegisterLine& line : lines) {
        const CTransactionEntry& row = line.row;
        AppendQifLine(qif, 'D', QifDate(row.serviceDate, longYears));
        AppendQifLine(qif, 'T', AmountText(line.effect));
        AppendQifLine(qif, 'N', QifNumber(row));
        AppendQifLine(qif, 'P', names.Payee(row.payeeId));
        AppendQifLine(qif, 'M', row.memo.ToUtf8());
        AppendQifLine(qif, 'L', names.Category(row.categoryId));
        qif += "^\n";
    }
    if (!IsAscii(std::string_view(qif).substr(0, kExaminedBytes))) qif.insert(0, kUtf8Mark);
    return qif;
}

}  // namespace quillon
