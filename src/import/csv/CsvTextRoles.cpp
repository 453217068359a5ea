// The columns of texts: payee, memo and the like.

#include <algorithm>

#include "import/csv/CsvRoles.h"
#include "import/text/TextScan.h"

namespace quillon {

namespace {

using Field = CsvField;

// A digit that ends a heading, as in "Purpose 3", goes.
std::string StemOf(std::string_view heading) {
    while (!heading.empty() && (IsDigit(heading.back()) || heading.back() == ' ')) {
        heading.remove_suffix(1);
    }
    return PlainWords(heading);
}

}  // namespace

bool CCsvRoles::IsTooMuchTheSame(int32_t column) const {
    return m_sample.TableRows().size() > 1 && At(column).values.size() < 2 &&
           At(column).filled == static_cast<int64_t>(m_sample.TableRows().size());
}

// Where no heading tells: many different texts, long ones, near the amount.
double CCsvRoles::TextScore(int32_t column) const {
    const CsvColumn& at = At(column);
    const auto texts = static_cast<double>(std::max<int64_t>(at.texts, 1));
    const double different = static_cast<double>(at.values.size()) / texts;
    const double length = std::min(static_cast<double>(at.length) / texts, 40.0) / 20.0;
    const double words = static_cast<double>(at.blanks) / texts;
    const int32_t amount = std::max(m_shape.map[Field::Amount], m_shape.map[Field::Debit]);
    int32_t nearest = 0;
    for (int32_t c = 1; c < amount; ++c) {
        if (!IsTaken(c) && At(c).IsText() && At(c).blanks > 0) nearest = c;
    }
    return different + length + words + (column == nearest ? 1.0 : 0.0);
}

int32_t CCsvRoles::BestText(bool isPayee) const {
    int32_t best = 0;
    double bestScore = 0.0;
    const Columns found = Find(
        [](const CsvColumn& column) { return column.word == CsvWord::None && column.IsText(); });
    for (const int32_t column : found) {
        if (IsTaken(column) || IsTooMuchTheSame(column)) continue;
        // A code of letters and digits is nobody's name.
        if (!isPayee && At(column).blanks == 0) continue;
        const double score = TextScore(column);
        if (score <= bestScore) continue;
        best = column;
        bestScore = score;
    }
    return best;
}

void CCsvRoles::ChoosePayee() {
    if (IsAsked(Field::Payee)) return;
    for (const CsvWord word : {CsvWord::Payee, CsvWord::Description, CsvWord::Memo}) {
        const Columns found = Find(
            [word](const CsvColumn& column) { return column.word == word && column.texts > 0; });
        int32_t best = 0;
        for (const int32_t column : found) {
            if (IsTaken(column) || IsTooMuchTheSame(column)) continue;
            // Of a payer and a receiver one is the account's owner.
            const bool isBetter = best == 0 || (word == CsvWord::Payee &&
                                                At(column).values.size() > At(best).values.size());
            if (isBetter) best = column;
        }
        if (best == 0) continue;
        m_shape.map[Field::Payee] = best;
        return;
    }
    m_shape.map[Field::Payee] = BestText(true);
    if (m_shape.map[Field::Payee] != 0) return;
    const Columns types = Find(
        [](const CsvColumn& column) { return column.word == CsvWord::Type && column.texts > 0; });
    for (const int32_t column : types) {
        if (!IsTaken(column) && !IsTooMuchTheSame(column)) m_shape.map[Field::Payee] = column;
    }
}

int32_t CCsvRoles::NamedMemo(bool mayBeTheSame) const {
    for (const CsvWord word : {CsvWord::Memo, CsvWord::Description, CsvWord::Payee}) {
        const Columns found = Find(
            [word](const CsvColumn& column) { return column.word == word && column.texts > 0; });
        for (const int32_t column : found) {
            if (!IsTaken(column) && (mayBeTheSame || !IsTooMuchTheSame(column))) return column;
        }
    }
    return 0;
}

void CCsvRoles::ChooseMemo() {
    if (!IsAsked(Field::Memo)) {
        m_shape.map[Field::Memo] = NamedMemo(false);
        if (m_shape.map[Field::Memo] == 0) m_shape.map[Field::Memo] = BestText(false);
        // What is the same in every row is better than nothing.
        if (m_shape.map[Field::Memo] == 0) m_shape.map[Field::Memo] = NamedMemo(true);
    }
    const int32_t memo = m_shape.map[Field::Memo];
    if (memo == 0 || static_cast<size_t>(memo) > m_sample.Width()) return;
    const std::string stem = StemOf(At(memo).heading);
    if (stem.empty()) return;
    for (size_t i = static_cast<size_t>(memo) + 1; i <= m_sample.Width(); ++i) {
        const auto column = static_cast<int32_t>(i);
        if (IsTaken(column) || StemOf(At(column).heading) != stem) continue;
        m_shape.memoMore.push_back(column);
    }
}

// Most rows have one, and most are different: rows that are not booked may have none, and a
// fee that of its transaction. Short numbers count the rows of a file, and the next file
// counts from 1 again.
bool CCsvRoles::IsIdentifier(int32_t column) const {
    constexpr size_t kShort = 5;
    const CsvColumn& at = At(column);
    const auto rows = static_cast<int64_t>(m_sample.TableRows().size());
    const auto different = static_cast<int64_t>(at.values.size());
    return at.filled * 2 >= rows && different * 2 > at.filled &&
           std::any_of(at.values.begin(), at.values.end(), [](std::string_view value) {
               return value.size() >= kShort || !IsDigits(value);
           });
}

void CCsvRoles::ChooseRest() {
    const auto first = [this](CsvWord word, const auto& fits) {
        const Columns found = Find([&](const CsvColumn& column) { return column.word == word; });
        for (const int32_t column : found) {
            if (!IsTaken(column) && fits(column)) return column;
        }
        return 0;
    };
    Set(Field::Category, first(CsvWord::Category, [this](int32_t c) { return At(c).texts > 0; }));
    Set(Field::Check, first(CsvWord::Check, [this](int32_t c) { return At(c).amounts > 0; }));
    const auto isIdentifier = [this](int32_t c) { return IsIdentifier(c); };
    int32_t id = first(CsvWord::Id, isIdentifier);
    if (id == 0) {
        id = first(CsvWord::MaybeId, isIdentifier);
        m_shape.idMayRecur = id != 0 && !IsAsked(Field::Id);
    }
    Set(Field::Id, id);
    m_shape.account = first(CsvWord::OwnAccount, [this](int32_t c) {
        const CsvColumn& at = At(c);
        const size_t rows = m_sample.TableRows().size();
        constexpr size_t kMostAccounts = 20;
        return at.filled == static_cast<int64_t>(rows) && at.values.size() > 1 &&
               at.values.size() < rows && at.values.size() <= kMostAccounts;
    });
}

}  // namespace quillon
