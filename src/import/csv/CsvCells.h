#pragma once

#include <cstdint>
#include <string_view>

#include "import/csv/CsvRows.h"
#include "import/csv/CsvShape.h"
#include "import/text/DateText.h"

namespace quillon {

// Single cells and rows of a file in columns. Nothing here fails but by its answer, and
// nothing allocates.

// The numbers of a date; those that are a date in no order are none. Eight digits alone are
// one of these and the last century.
[[nodiscard]] bool SplitCsvDate(std::string_view cell, DateParts& parts);
// Year, month and day as a date is written, but of no day that a ledger knows.
bool IsWrittenAsDate(std::string_view cell);

// A number with a sign, marks and a currency at most, as an amount is written; no date, and
// no number that begins with zeros or has so many digits that it is an account's.
struct CsvNumber {
    bool isAmount = false;
    bool hasMark = false;     // a decimal or thousands mark
    bool isNegative = false;  // by its own sign
    bool isZero = false;
};
CsvNumber LookAtNumber(std::string_view cell);

// The money of a row by the columns and signs of its shape.
struct CsvMoney {
    bool isEmpty = true;     // no cell has anything
    bool bothSides = false;  // debit and credit have something but 0
    AmountReading reading = AmountReading::Failed;
    std::string_view text;  // the cell that was read, or that could not be
    double amount = 0.0;    // signed
};
CsvMoney ReadCsvMoney(const CsvRow& row, const CsvShape& shape);

}  // namespace quillon
