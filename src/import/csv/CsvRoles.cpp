#include "import/csv/CsvRoles.h"

#include <algorithm>

#include "import/csv/CsvCells.h"
#include "import/text/CurrencyNames.h"
#include "import/text/TextScan.h"

namespace quillon {

namespace {

using Field = CsvField;

int RankOfDate(CsvWord word) {
    switch (word) {
        case CsvWord::BookingDate:
            return 0;
        case CsvWord::Date:
            return 1;
        case CsvWord::TransactionDate:
            return 2;
        case CsvWord::ValueDate:
            return 4;
        default:
            return 3;
    }
}

int RankOfAmount(CsvWord word) {
    switch (word) {
        case CsvWord::NetAmount:
            return 0;
        case CsvWord::Amount:
            return 1;
        case CsvWord::GrossAmount:
            return 2;
        default:
            return 3;
    }
}

// The code among the words of a heading, in capitals; empty: none.
std::string CurrencyIn(std::string_view heading) {
    const std::string words = UpperAscii(PlainWords(heading));
    for (size_t at = 0; at < words.size();) {
        const size_t end = std::min(words.find(' ', at), words.size());
        std::string word = words.substr(at, end - at);
        if (IsCurrencyCode(word)) return word;
        at = end + 1;
    }
    return {};
}

bool NamesCurrency(std::string_view heading, const std::string& currency) {
    return !currency.empty() && CurrencyIn(heading) == currency;
}

}  // namespace

bool CCsvRoles::IsTaken(int32_t column) const {
    const auto& columns = m_shape.map.columns;
    const auto& dates = m_shape.dates;
    return std::find(columns.begin(), columns.end(), column) != columns.end() ||
           std::find(dates.begin(), dates.end(), column) != dates.end() ||
           column == m_shape.currency || column == m_shape.status;
}

void CCsvRoles::Set(Field field, int32_t column) {
    if (!IsAsked(field)) m_shape.map[field] = column;
}

void CCsvRoles::TakeAsked() {
    for (size_t i = 0; i < kCsvFields; ++i) {
        const auto field = static_cast<Field>(i);
        if (IsAsked(field)) m_shape.map[field] = *m_request[field];
    }
}

// --- dates

void CCsvRoles::ChooseDates() {
    TakeAsked();
    Columns dates = Find([](const CsvColumn& column) { return column.IsDate(); });
    std::stable_sort(dates.begin(), dates.end(), [this](int32_t a, int32_t b) {
        return RankOfDate(At(a).word) < RankOfDate(At(b).word);
    });
    if (IsAsked(Field::Date)) {
        std::erase(dates, m_shape.map[Field::Date]);
        dates.insert(dates.begin(), m_shape.map[Field::Date]);
    }
    if (!dates.empty()) m_shape.map[Field::Date] = dates.front();
    m_shape.dates = std::move(dates);
}

// --- money

std::vector<int32_t> CCsvRoles::AmountColumns() const {
    return Find([](const CsvColumn& column) {
        switch (column.word) {
            case CsvWord::None:
            case CsvWord::Amount:
            case CsvWord::NetAmount:
            case CsvWord::GrossAmount:
            case CsvWord::Debit:
            case CsvWord::Credit:
            case CsvWord::Balance:
                return column.IsAmount();
            default:
                return false;
        }
    });
}

CCsvProof CCsvRoles::Prove(const CsvShape& shape) const {
    CCsvProof proof;
    for (const CsvRow* row : m_sample.TableRows()) {
        const CsvMoney money = ReadCsvMoney(*row, shape);
        if (money.reading == AmountReading::Failed || money.amount == 0.0) continue;
        double balance = 0.0;
        const std::string_view cell = row->Cell(shape.map[Field::Balance]);
        if (ReadAmount(cell, shape.marks, balance) == AmountReading::Failed) {
            proof.Break();
            continue;
        }
        DateParts parts;
        const bool isDate = SplitCsvDate(row->Cell(shape.map[Field::Date]), parts);
        proof.Add(
            {money.amount, balance, isDate ? ReadDate(parts, m_order).value_or(0) : int64_t{0}});
    }
    return proof;
}

// Of the pairs, those that the balances prove.
double CCsvRoles::Share(const CsvShape& shape) const {
    const CCsvProof proof = Prove(shape);
    if (proof.Pairs() == 0) return 0.0;
    return static_cast<double>(proof.Decide().proved) / static_cast<double>(proof.Pairs());
}

void CCsvRoles::ChooseBalance() {
    const Columns found = Find([](const CsvColumn& column) {
        return column.word == CsvWord::Balance && column.IsAmount();
    });
    Set(Field::Balance, found.empty() ? 0 : found.front());
}

void CCsvRoles::ChooseMoney() {
    if (IsAsked(Field::Amount) || IsAsked(Field::Debit) || IsAsked(Field::Credit)) {
        // What was asked for stands alone.
        if (m_request[Field::Amount].value_or(0) != 0) {
            m_shape.map[Field::Debit] = m_shape.map[Field::Credit] = 0;
        }
        return;
    }
    Columns named = Find(
        [](const CsvColumn& column) { return RankOfAmount(column.word) < 3 && column.IsAmount(); });
    std::erase(named, m_shape.map[Field::Balance]);
    const int32_t best = BestAmount(named);
    const bool isSigned = best != 0 && At(best).negatives > 0;
    if (!isSigned && TakeSides()) return;
    if (best != 0) {
        m_shape.map[Field::Amount] = best;
        return;
    }
    Columns unknown = Find(
        [](const CsvColumn& column) { return column.word == CsvWord::None && column.IsAmount(); });
    std::erase(unknown, m_shape.map[Field::Balance]);
    if (unknown.empty()) {
        unknown = Find([](const CsvColumn& column) {
            return (column.word == CsvWord::ForeignAmount || column.word == CsvWord::Fee) &&
                   column.IsAmount();
        });
    }
    ChooseMoneyByContents(std::move(unknown));
}

// Debit and credit, where the heading names them. One of them may be empty all along.
bool CCsvRoles::TakeSides() {
    const auto side = [this](CsvWord word) {
        const Columns found = Find([word](const CsvColumn& column) {
            return column.word == word && (column.IsAmount() || column.filled == 0);
        });
        return found.empty() ? 0 : found.front();
    };
    const int32_t debit = side(CsvWord::Debit);
    const int32_t credit = side(CsvWord::Credit);
    const bool hasAmounts =
        (debit != 0 && At(debit).amounts > 0) || (credit != 0 && At(credit).amounts > 0);
    if (debit == 0 || credit == 0 || !hasAmounts) {
        if (!hasAmounts || m_shape.map[Field::Amount] != 0) return false;
        const Columns amounts = Find([](const CsvColumn& column) {
            return RankOfAmount(column.word) < 3 && column.IsAmount();
        });
        if (!amounts.empty()) return false;
    }
    m_shape.map[Field::Debit] = debit;
    m_shape.map[Field::Credit] = credit;
    return true;
}

// The one that the balances prove, else the net one, else the first.
int32_t CCsvRoles::BestAmount(const Columns& candidates) const {
    int32_t best = 0;
    double bestShare = -1.0;
    const int32_t balance = m_shape.map[Field::Balance];
    std::string currency = m_sample.DeclaredCurrency();
    if (currency.empty() && balance != 0) currency = CurrencyIn(At(balance).heading);
    for (const int32_t column : candidates) {
        CsvShape shape = m_shape;
        shape.map[Field::Amount] = column;
        const double share = shape.map[Field::Balance] != 0 ? Share(shape) : 0.0;
        const auto rank = [&](int32_t c) {
            return RankOfAmount(At(c).word) * 2 - NamesCurrency(At(c).heading, currency);
        };
        const bool isBetter =
            best == 0 || share > bestShare || (share == bestShare && rank(column) < rank(best));
        if (!isBetter) continue;
        best = column;
        bestShare = share;
    }
    return best;
}

// One of two columns has something in each row, and the other nothing or 0.
bool CCsvRoles::AreExclusive(int32_t a, int32_t b) const {
    int64_t ofA = 0;
    int64_t ofB = 0;
    const auto has = [](std::string_view cell) {
        const CsvNumber number = LookAtNumber(cell);
        return number.isAmount && !number.isZero;
    };
    for (const CsvRow* row : m_sample.TableRows()) {
        const bool hasA = has(row->Cell(a));
        if (hasA == has(row->Cell(b))) return false;
        ++(hasA ? ofA : ofB);
    }
    return ofA > 0 && ofB > 0;
}

// Two columns that take turns are debit and credit: which is which tells the balance, else
// debit stands first.
bool CCsvRoles::TakeExclusive(const Columns& candidates) {
    for (size_t i = 0; i < candidates.size(); ++i) {
        for (size_t j = i + 1; j < candidates.size(); ++j) {
            if (!AreExclusive(candidates[i], candidates[j])) continue;
            m_shape.map[Field::Debit] = candidates[i];
            m_shape.map[Field::Credit] = candidates[j];
            double best = 0.0;
            CsvShape found = m_shape;
            for (const int32_t balance : candidates) {
                if (balance == candidates[i] || balance == candidates[j]) continue;
                CsvShape tried = m_shape;
                if (!IsAsked(Field::Balance)) tried.map[Field::Balance] = balance;
                for (int turn = 0; turn < 2; ++turn) {
                    const CCsvProof proof = Prove(tried);
                    const CCsvProof::Finding finding = proof.Decide();
                    const double share = proof.Pairs() == 0 || finding.isInverted
                                             ? 0.0
                                             : static_cast<double>(finding.proved) /
                                                   static_cast<double>(proof.Pairs());
                    if (share > best) {
                        best = share;
                        found = tried;
                    }
                    std::swap(tried.map[Field::Debit], tried.map[Field::Credit]);
                }
            }
            m_shape = found;
            return true;
        }
    }
    return false;
}

// An amount and its balance: the two that prove each other, in more than half of the rows.
void CCsvRoles::TakeProvedPair(const Columns& candidates) {
    double best = 0.5;
    CsvShape found = m_shape;
    for (const int32_t amount : candidates) {
        for (const int32_t balance : candidates) {
            if (amount == balance) continue;
            CsvShape tried = m_shape;
            tried.map[Field::Amount] = amount;
            if (!IsAsked(Field::Balance)) tried.map[Field::Balance] = balance;
            const double share = Share(tried);
            if (share <= best) continue;
            best = share;
            found = tried;
        }
    }
    m_shape = found;
}

void CCsvRoles::ChooseMoneyByContents(Columns candidates) {
    if (candidates.empty()) return;
    if (TakeExclusive(candidates)) return;
    const bool hasMarks = std::any_of(candidates.begin(), candidates.end(),
                                      [this](int32_t column) { return At(column).marked > 0; });
    // Whole numbers beside amounts with cents are something else.
    if (hasMarks) std::erase_if(candidates, [this](int32_t c) { return At(c).marked == 0; });
    const int64_t most =
        At(*std::max_element(candidates.begin(), candidates.end(), [this](int32_t a, int32_t b) {
            return At(a).amounts < At(b).amounts;
        })).amounts;
    std::erase_if(candidates, [&](int32_t c) { return At(c).amounts * 2 < most; });
    if (candidates.size() > 1) TakeProvedPair(candidates);
    if (m_shape.map[Field::Amount] != 0) return;
    const auto isSigned = [this](int32_t column) { return At(column).negatives > 0; };
    const auto found = std::find_if(candidates.begin(), candidates.end(), isSigned);
    m_shape.map[Field::Amount] = found == candidates.end() ? candidates.front() : *found;
}

// Where the balances prove that fees go out beside the amounts.
void CCsvRoles::ChooseFee() {
    if (m_shape.map[Field::Amount] == 0 || m_shape.map[Field::Balance] == 0) return;
    const Columns fees = Find([](const CsvColumn& column) {
        return column.word == CsvWord::Fee && column.IsAmount() && column.zeros < column.amounts;
    });
    for (const int32_t fee : fees) {
        if (IsTaken(fee)) continue;
        CsvShape with = m_shape;
        with.fee = fee;
        if (Share(with) > Share(m_shape)) m_shape.fee = fee;
    }
}

// Only where no amount has a sign of its own.
void CCsvRoles::ChooseSign() {
    const int32_t amount = m_shape.map[Field::Amount];
    if (amount == 0) {
        Set(Field::Sign, 0);
        return;
    }
    if (At(amount).negatives > 0) {
        Set(Field::Sign, 0);
        return;
    }
    Columns found = Find([](const CsvColumn& column) {
        const bool isNamed = column.word == CsvWord::Sign || column.word == CsvWord::Type ||
                             column.word == CsvWord::Debit || column.word == CsvWord::Credit;
        return column.IsSide() && (isNamed || column.word == CsvWord::None);
    });
    std::stable_sort(found.begin(), found.end(), [this](int32_t a, int32_t b) {
        return (At(a).word == CsvWord::Sign) > (At(b).word == CsvWord::Sign);
    });
    Set(Field::Sign, found.empty() ? 0 : found.front());
}

// Money out may be written negative in its own column already.
void CCsvRoles::FindSideSigns() {
    const auto isNegative = [this](Field field) {
        const int32_t column = m_shape.map[field];
        if (column == 0 || static_cast<size_t>(column) > m_sample.Width()) return false;
        const CsvColumn& side = At(column);
        return side.negatives * 2 > side.amounts - side.zeros;
    };
    m_shape.debitIsNegative = isNegative(Field::Debit);
    m_shape.creditIsNegative = isNegative(Field::Credit);
}

// The one that stands nearest to the amount, behind it rather than in front.
void CCsvRoles::ChooseCurrency() {
    const Columns found = Find([](const CsvColumn& column) { return column.IsCurrency(); });
    const int32_t money = std::max(m_shape.map[Field::Amount],
                                   std::max(m_shape.map[Field::Debit], m_shape.map[Field::Credit]));
    const auto distance = [money](int32_t column) {
        return column > money ? (column - money) * 2 - 1 : (money - column) * 2;
    };
    const auto nearest = std::min_element(found.begin(), found.end(), [&](int32_t a, int32_t b) {
        return distance(a) < distance(b);
    });
    m_shape.currency = nearest == found.end() ? 0 : *nearest;
}

void CCsvRoles::ChooseOthers(DateOrder order) {
    m_order = order;
    ChooseBalance();
    ChooseMoney();
    ChooseSign();
    ChooseFee();
    FindSideSigns();
    ChooseCurrency();
    const Columns states = Find([](const CsvColumn& column) {
        return column.word == CsvWord::Status ||
               (column.states > 0 && column.texts > 0 && column.word != CsvWord::Payee &&
                column.word != CsvWord::Description);
    });
    for (const int32_t column : states) {
        if (IsTaken(column) || At(column).texts == 0) continue;
        m_shape.status = column;
        break;
    }
    ChoosePayee();
    ChooseMemo();
    ChooseRest();
}

}  // namespace quillon
