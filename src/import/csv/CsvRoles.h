#pragma once

#include <cstdint>
#include <vector>

#include "import/csv/CsvProof.h"
#include "import/csv/CsvSample.h"
#include "import/csv/CsvShape.h"

namespace quillon {

// Decides what each column of a sample is to the import: by what was asked for, by the
// heading's words, by what stands in it, and, for the money, by what the balances prove.
//
//   Errors     std::bad_alloc passes through.
//   Ownership  Borrows all.
class CCsvRoles {
public:
    CCsvRoles(const CCsvSample& sample, const CsvRequest& request, CsvShape& shape)
        : m_sample(sample), m_request(request), m_shape(shape) {}

    // Of the shape: the columns of dates.
    void ChooseDates();
    // With order of dates and decimal mark known: all other columns.
    void ChooseOthers(DateOrder order);

    // The columns that hold amounts by heading and contents.
    std::vector<int32_t> AmountColumns() const;
    // What the balances of the sample prove of the shape as it is.
    CCsvProof Prove() const { return Prove(m_shape); }

private:
    using Columns = std::vector<int32_t>;

    template <typename Fits>
    Columns Find(const Fits& fits) const {
        Columns found;
        for (size_t i = 1; i <= m_sample.Width(); ++i) {
            const auto column = static_cast<int32_t>(i);
            if (fits(At(column))) found.push_back(column);
        }
        return found;
    }
    const CsvColumn& At(int32_t column) const { return m_sample.Column(column); }
    bool IsAsked(CsvField field) const { return m_request[field].has_value(); }
    bool IsTaken(int32_t column) const;
    void Set(CsvField field, int32_t column);
    void TakeAsked();

    void ChooseBalance();
    void ChooseMoney();
    bool TakeSides();
    int32_t BestAmount(const Columns& candidates) const;
    void ChooseMoneyByContents(Columns candidates);
    bool TakeExclusive(const Columns& candidates);
    bool AreExclusive(int32_t a, int32_t b) const;
    void TakeProvedPair(const Columns& candidates);
    void ChooseSign();
    void ChooseFee();
    void FindSideSigns();
    void ChooseCurrency();
    CCsvProof Prove(const CsvShape& shape) const;
    double Share(const CsvShape& shape) const;

    void ChoosePayee();
    int32_t NamedMemo(bool mayBeTheSame) const;
    void ChooseMemo();
    void ChooseRest();
    int32_t BestText(bool isPayee) const;
    double TextScore(int32_t column) const;
    bool IsTooMuchTheSame(int32_t column) const;
    bool IsIdentifier(int32_t column) const;

    const CCsvSample& m_sample;
    const CsvRequest& m_request;
    CsvShape& m_shape;
    DateOrder m_order = DateOrder::MonthDayYear;
};

}  // namespace quillon
