#include "import/csv/CsvShape.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "foundation/Unicode.h"
#include "import/csv/CsvCells.h"
#include "import/csv/CsvRoles.h"
#include "import/csv/CsvSample.h"
#include "import/csv/CsvSigns.h"
#include "import/text/AmountInference.h"
#include "import/text/CurrencyNames.h"
#include "import/text/DateInference.h"
#include "import/text/TextScan.h"

namespace quillon {

namespace {

using Field = CsvField;

constexpr std::string_view kFieldNames[kCsvFields] = {"date",   "payee", "amount", "debit",
                                                      "credit", "sign",  "memo",   "category",
                                                      "check",  "id",    "balance"};
constexpr char kDelimiters[] = {',', ';', '\t', '|'};
constexpr size_t kFewRows = 100;  // enough to tell a delimiter

// The words of English headings for dates and money.
bool IsEnglish(std::string_view heading) {
    constexpr std::string_view kEnglish =
        "|date|amount|balance|transaction|posted|posting|post|booking|value|debit|debits|credit|"
        "credits|withdrawal|withdrawals|deposit|deposits|money|paid|in|out|running|net|gross|"
        "total|started|completed|effective|trans|tran|of|the|and|process|processed|time|purchase|"
        "purchased|account|charge|charged|settlement|settled|entry|billing|billed|local|original|"
        "received|spent|inflow|outflow|ledger|available|current|closing|bal|amt|dr|cr|payment|"
        "payments|day|description|details|type|currency|sum|";
    if (!IsAscii(heading)) return false;
    const std::string words = PlainWords(heading);
    for (size_t at = 0; at < words.size();) {
        const size_t end = std::min(words.find(' ', at), words.size());
        const std::string word = words.substr(at, end - at);
        if (!IsCurrencyCode(word) && !Contains(kEnglish, "|" + word + "|")) return false;
        at = end + 1;
    }
    return true;
}

bool HasForeignHeading(const CCsvSample& sample) {
    for (size_t i = 1; i <= sample.Width(); ++i) {
        const CsvColumn& column = sample.Column(static_cast<int32_t>(i));
        const bool isMoney = column.word == CsvWord::Amount || column.word == CsvWord::Balance ||
                             column.word == CsvWord::Debit || column.word == CsvWord::Credit ||
                             column.IsDate();
        if (isMoney && !column.heading.empty() && !IsEnglish(column.heading)) return true;
    }
    return false;
}

// Infers how dates and amounts are written, from the sample and, where it does not tell,
// from what follows it.
class CCsvDialect {
public:
    CCsvDialect(std::string_view text, const CCsvSample& sample, const CsvRequest& request)
        : m_text(text), m_sample(sample), m_request(request) {}

    AmountMarks Preview(const std::vector<int32_t>& columns) const {
        CAmountInference amounts;
        for (const CsvRow* row : m_sample.TableRows()) {
            for (const int32_t column : columns) amounts.Add(row->Cell(column), row->line);
        }
        Dialect unused;
        CImportNotes unheard;
        return amounts.Decide(m_request.decimal, unused, unheard, false);
    }

    void DecideDates(const CsvShape& shape, DecimalMark decimal, Dialect& dialect,
                     CImportNotes& notes) {
        CDateInference dates;
        for (const int32_t column : shape.dates) {
            dates.StartSequence();
            for (const CsvRow* row : m_sample.TableRows()) AddDate(*row, column, dates);
        }
        if (!m_request.dateOrder && !dates.IsProved() && !shape.dates.empty()) {
            ForRest([&](const CsvRow& row) {
                AddDate(row, shape.dates.front(), dates);
                return !dates.IsProved();
            });
        }
        DateHints hints;
        hints.dotsAreDayFirst = hints.byMajority = true;
        hints.dayFirst = decimal == DecimalMark::Comma || HasForeignHeading(m_sample);
        dates.Decide(m_request.dateOrder, dialect, notes, hints);
    }

    AmountMarks DecideAmounts(const CsvShape& shape, Dialect& dialect, CImportNotes& notes) {
        CAmountInference amounts;
        const auto add = [&](const CsvRow& row) {
            for (const Field field : {Field::Amount, Field::Debit, Field::Credit, Field::Balance}) {
                const std::string_view cell = row.Cell(shape.map[field]);
                // A whole number tells nothing.
                if (cell.find_first_of(".,") != cell.npos) amounts.Add(cell, row.line);
            }
        };
        for (const CsvRow* row : m_sample.TableRows()) add(*row);
        if (!m_request.decimal && !amounts.IsProved()) {
            ForRest([&](const CsvRow& row) {
                add(row);
                return !amounts.IsProved();
            });
        }
        return amounts.Decide(m_request.decimal, dialect, notes, false);
    }

private:
    static void AddDate(const CsvRow& row, int32_t column, CDateInference& dates) {
        DateParts parts;
        const std::string_view cell = row.Cell(column);
        const bool isPlain = cell.size() <= 10 && !cell.empty() && IsDigit(cell.back());
        if (!isPlain && !SplitCsvDate(cell, parts)) return;
        dates.Add(cell.ends_with('.') ? cell.substr(0, cell.size() - 1) : cell, row.line);
    }

    // The rows behind the sample, as long as `take` wants more.
    template <typename Take>
    void ForRest(const Take& take) {
        if (m_sample.TableRows().size() < CCsvSample::kRows / 2) return;
        const int64_t last = m_sample.TableRows().back()->line;
        CCsvReader reader(m_text, m_sample.Delimiter());
        for (CsvRow row; reader.Next(row);) {
            if (row.line > last && !take(row)) return;
        }
    }

    std::string_view m_text;
    const CCsvSample& m_sample;
    const CsvRequest& m_request;
};

void TakeCurrency(const CCsvSample& sample, CsvShape& shape, CImportNotes& notes) {
    std::vector<std::pair<std::string, int64_t>> counts;
    for (const CsvRow* row : sample.TableRows()) {
        const std::string currency = CurrencyOfRow(*row, shape);
        if (currency.empty()) continue;
        const auto found = std::find_if(counts.begin(), counts.end(),
                                        [&](const auto& one) { return one.first == currency; });
        if (found == counts.end()) {
            counts.emplace_back(currency, 1);
        } else {
            ++found->second;
        }
    }
    if (counts.empty()) return;
    const auto most =
        std::max_element(counts.begin(), counts.end(),
                         [](const auto& a, const auto& b) { return a.second < b.second; });
    shape.accountCurrency = most->first;
    const std::string declared = sample.DeclaredCurrency();
    for (const auto& [currency, count] : counts) {
        if (currency == declared) shape.accountCurrency = declared;
    }
    if (counts.size() < 2) return;
    const int32_t column = shape.currency != 0 ? shape.currency : shape.map[Field::Amount];
    notes.Add(ImportNoteCode::CurrencyOfAccount, 0, {shape.accountCurrency, column});
}

}  // namespace

std::string_view NameOf(CsvField field) {
    return kFieldNames[static_cast<size_t>(field)];
}

int32_t CsvShape::LastUsed() const {
    int32_t last = std::max({currency, status, fee});
    for (const int32_t column : map.columns) last = std::max(last, column);
    return last;
}

CsvRequest Merged(CsvRequest request, const CsvRequest& profile) {
    const auto hasMoney = [](const CsvRequest& r) {
        return r[Field::Amount] || r[Field::Debit] || r[Field::Credit];
    };
    const bool ownMoney = hasMoney(request);
    for (size_t i = 0; i < kCsvFields; ++i) {
        const auto field = static_cast<Field>(i);
        const bool isMoney = field == Field::Amount || field == Field::Debit ||
                             field == Field::Credit || field == Field::Sign;
        if (!request.columns[i] && !(isMoney && ownMoney)) request.columns[i] = profile.columns[i];
    }
    const auto take = [](auto& own, const auto& other) {
        if (!own) own = other;
    };
    take(request.delimiter, profile.delimiter);
    take(request.skip, profile.skip);
    take(request.dateOrder, profile.dateOrder);
    take(request.decimal, profile.decimal);
    take(request.charset, profile.charset);
    take(request.invert, profile.invert);
    return request;
}

bool CCsvShapeFinder::Find(const CsvRequest& request, std::span<const CsvKnownHeading> known,
                           Dialect& dialect) {
    CsvRequest merged = request;
    for (size_t i = 0; i < known.size() && !m_known; ++i) {
        const CsvRequest with = Merged(request, known[i].request);
        if (known[i].words.empty()) continue;
        CCsvSample sample(m_text, with.delimiter.value_or(','), with, kFewRows);
        if (sample.DatedRows() == 0) continue;
        sample.FindTable();
        if (sample.HeadingWords() != known[i].words) continue;
        m_known = i;
        merged = with;
    }
    const std::optional<char> delimiter = ChooseDelimiter(merged);
    if (!delimiter) return false;
    CCsvSample sample(m_text, *delimiter, merged, CCsvSample::kRows);
    sample.FindTable();
    for (const std::optional<int32_t>& column : merged.columns) {
        if (column.value_or(0) > static_cast<int32_t>(sample.Width())) {
            return Fail(CsvFailure::NoSuchColumn);
        }
    }
    return TakeShape(sample, merged, dialect);
}

// The one that gives the most rows with a date and an amount.
std::optional<char> CCsvShapeFinder::ChooseDelimiter(const CsvRequest& request) {
    std::string candidates(std::begin(kDelimiters), std::end(kDelimiters));
    const char declared = DeclaredDelimiter(m_text);
    if (request.delimiter || declared != 0) candidates = request.delimiter.value_or(declared);
    char best = 0;
    int64_t most = 0;
    bool isHeadingAlone = false;
    bool hasAmounts = false;
    for (const char delimiter : candidates) {
        const CCsvSample sample(m_text, delimiter, request, kFewRows);
        const CsvTry tried = sample.Tried();
        m_tries.push_back(tried);
        isHeadingAlone = isHeadingAlone || sample.IsHeadingAlone();
        hasAmounts = hasAmounts || (tried.amountColumn != 0 && tried.dateColumn == 0);
        if (sample.DatedRows() <= most) continue;
        most = sample.DatedRows();
        best = delimiter;
    }
    if (best != 0) return best;
    Fail(isHeadingAlone ? CsvFailure::HeadingAlone
         : hasAmounts   ? CsvFailure::NoDateColumn
                        : CsvFailure::NoRows);
    return {};
}

bool CCsvShapeFinder::TakeShape(const CCsvSample& sample, const CsvRequest& request,
                                Dialect& dialect) {
    if (sample.TableRows().empty()) return Fail(CsvFailure::NoRows);
    CsvShape& shape = m_shape;
    shape.delimiter = sample.Delimiter();
    shape.headerLine = sample.HeadingLine();
    shape.dataLine = sample.DataLine();
    shape.width = sample.Width();
    shape.headingWords = sample.HeadingWords();
    CCsvRoles roles(sample, request, shape);
    roles.ChooseDates();
    if (shape.dates.empty()) return Fail(CsvFailure::NoDateColumn);
    CCsvDialect written(m_text, sample, request);
    shape.marks = written.Preview(roles.AmountColumns());
    written.DecideDates(shape, shape.marks.decimal, dialect, m_notes);
    roles.ChooseOthers(dialect.dateOrder);
    if (!shape.HasMoney()) return Fail(CsvFailure::NoRows);
    shape.marks = written.DecideAmounts(shape, dialect, m_notes);
    if (shape.fee != 0) m_notes.Add(ImportNoteCode::FeesByBalance, 0, {shape.fee});
    DecideSigns(sample, roles, request, m_isCredit, shape, m_notes);
    TakeCurrency(sample, shape, m_notes);
    return true;
}

}  // namespace quillon
