#pragma once

#include <cstdint>

#include "import/csv/CsvShape.h"

namespace quillon {

// Compares the balances of rows that follow each other with their amounts, in every
// direction at once. Nothing fails.
class CCsvProof {
public:
    struct Row {
        double amount = 0.0;   // signed
        double balance = 0.0;  // as written
        int64_t date = 0;
    };
    void Add(const Row& row);
    // The next row follows none: the balance of this one cannot be read.
    void Break() { m_hasLast = false; }

    // What the balances say of all rows.
    struct Finding {
        CsvDirection direction = CsvDirection::None;
        bool isInverted = false;  // they prove the amounts with the other sign
        int64_t proved = 0;
    };
    Finding Decide() const;
    // Of amounts without signs: the direction in which most balances follow, some with the one
    // sign and some with the other.
    CsvDirection DecideUnsigned() const;
    int64_t Pairs() const { return m_pairs; }
    // The last two rows follow each other so; true where there were no two.
    bool Follows(CsvDirection direction) const;
    // Most balances are above 0.
    bool IsMostlyPositive() const { return m_positive > m_negative; }

private:
    // With the difference of two balances, the second minus the first:
    struct Match {
        bool second = false;       // it is the second amount
        bool first = false;        // the first
        bool minusSecond = false;  // the negative second
        bool minusFirst = false;   // the negative first
    };
    Finding DecideOther() const;

    Row m_last;
    bool m_hasLast = false;
    Match m_match;
    bool m_hasMatch = false;
    int64_t m_pairs = 0;
    int64_t m_second = 0;
    int64_t m_first = 0;
    int64_t m_minusSecond = 0;
    int64_t m_minusFirst = 0;
    int64_t m_rises = 0;  // of the dates
    int64_t m_falls = 0;
    int64_t m_positive = 0;
    int64_t m_negative = 0;
};

}  // namespace quillon
