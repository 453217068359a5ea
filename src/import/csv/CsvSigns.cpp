#include "import/csv/CsvSigns.h"

#include <algorithm>

#include "import/csv/CsvCells.h"
#include "import/text/CurrencyNames.h"
#include "import/text/TextScan.h"

namespace quillon {

namespace {

using Field = CsvField;
using Note = ImportNoteCode;

// How the amounts of the sample are written, and what the words beside them say.
struct Signs {
    int64_t positive = 0;
    int64_t negative = 0;
    int64_t wordsPositive = 0;  // rows of payments and credits, which come in
    int64_t wordsNegative = 0;
};

Signs CountSigns(const CCsvSample& sample, const CsvShape& shape, bool countsWords) {
    Signs signs;
    for (const CsvRow* row : sample.TableRows()) {
        const double amount = ReadCsvMoney(*row, shape).amount;
        if (amount == 0.0) continue;
        ++(amount > 0.0 ? signs.positive : signs.negative);
        const bool says =
            countsWords &&
            std::any_of(row->cells.begin(), row->cells.end(), [](std::string_view cell) {
                return IsLetter(cell.empty() ? '0' : cell.front()) && SaysPaymentOrCredit(cell);
            });
        if (says) ++(amount > 0.0 ? signs.wordsPositive : signs.wordsNegative);
    }
    return signs;
}

// True: the balances tell, and what was found is set.
bool DecideByBalance(const CCsvRoles& roles, bool isCredit, const Signs& signs, CsvShape& shape,
                     CImportNotes& notes) {
    if (shape.map[Field::Balance] == 0) return false;
    const CCsvProof proof = roles.Prove();
    const bool isUnsigned =
        signs.negative == 0 && shape.map[Field::Amount] != 0 && shape.map[Field::Sign] == 0;
    const CsvDirection direction = isUnsigned ? proof.DecideUnsigned() : CsvDirection::None;
    if (direction != CsvDirection::None) {
        shape.direction = direction;
        shape.signsByBalance = true;
        notes.Add(Note::SignsOfRowsByBalance, 0);
        return true;
    }
    const CCsvProof::Finding found = proof.Decide();
    if (found.proved == 0) return false;
    shape.direction = found.direction;
    if (found.proved * 2 <= proof.Pairs()) return false;
    // A card's balance that grows as money is spent is what is owed; most rows spend.
    const bool isSpending =
        found.isInverted ? signs.negative >= signs.positive : signs.positive > signs.negative;
    shape.balanceIsOwed = isCredit && proof.IsMostlyPositive() && isSpending;
    shape.invert = found.isInverted != shape.balanceIsOwed;
    if (shape.invert) notes.Add(Note::SignsByBalance, 0);
    return true;
}

void DecideByCard(const Signs& signs, CsvShape& shape, CImportNotes& notes) {
    if (signs.positive == 0) return;
    if (signs.wordsNegative != signs.wordsPositive) {
        shape.invert = signs.wordsNegative > signs.wordsPositive;
        if (shape.invert) notes.Add(Note::SignsByWords, 0);
        return;
    }
    shape.invert = signs.positive > signs.negative;
    if (shape.invert) {
        notes.Add(Note::SignsByMajority, 0);
    } else if (signs.positive == signs.negative) {
        notes.Add(Note::SignsUnknown, 0);
    }
}

}  // namespace

void DecideSigns(const CCsvSample& sample, const CCsvRoles& roles, const CsvRequest& request,
                 bool isCreditAccount, CsvShape& shape, CImportNotes& notes) {
    CImportNotes unheard;
    const Signs signs = CountSigns(sample, shape, isCreditAccount);
    const bool byBalance =
        DecideByBalance(roles, isCreditAccount, signs, shape, request.invert ? unheard : notes);
    if (request.invert && !shape.signsByBalance) {
        shape.invert = *request.invert;
    } else if (!byBalance && shape.map[Field::Amount] != 0 && shape.map[Field::Sign] == 0) {
        if (isCreditAccount) {
            DecideByCard(signs, shape, notes);
        } else if (signs.negative == 0) {
            notes.Add(Note::SignsUnknown, 0);
        }
    }
}

std::string CurrencyOfRow(const CsvRow& row, const CsvShape& shape) {
    if (shape.currency != 0) return UpperAscii(row.Cell(shape.currency));
    for (const Field field : {Field::Amount, Field::Debit, Field::Credit}) {
        const std::string_view cell = row.Cell(shape.map[field]);
        if (cell.find_first_not_of("0123456789.,-+ ") == std::string_view::npos) continue;
        std::string currency = CurrencyOf(cell);
        if (!currency.empty()) return currency;
    }
    return {};
}

}  // namespace quillon
