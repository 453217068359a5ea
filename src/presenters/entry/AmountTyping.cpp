#include "presenters/entry/AmountTyping.h"

#include <cstdint>
#include <numeric>

#include "finance/ledger/Balance.h"
#include "foundation/CurrencyFormat.h"

namespace quillon {

namespace {

using enum EntryProblem;

// A fraction in lowest terms; the denominator is above 0.
struct Fraction {
    int64_t above = 0;
    int64_t below = 1;

    void Reduce() {
        const int64_t common = std::gcd(above, below);
        if (common > 1) {
            above /= common;
            below /= common;
        }
    }
};

bool Multiply(int64_t a, int64_t b, int64_t& product) {
    return !__builtin_mul_overflow(a, b, &product) && product != INT64_MIN;
}

// The four operations; false: beyond what the numbers hold.
bool Add(const Fraction& a, const Fraction& b, Fraction& sum) {
    int64_t left = 0;
    int64_t right = 0;
    if (!Multiply(a.above, b.below, left) || !Multiply(b.above, a.below, right) ||
        !Multiply(a.below, b.below, sum.below) || __builtin_add_overflow(left, right, &sum.above) ||
        sum.above == INT64_MIN) {
        return false;
    }
    sum.Reduce();
    return true;
}

bool Multiply(Fraction a, Fraction b, Fraction& product) {
    // Crosswise first, so that the products stay small.
    std::swap(a.above, b.above);
    a.Reduce();
    b.Reduce();
    return Multiply(a.above, b.above, product.above) && Multiply(a.below, b.below, product.below);
}

// Reads a calculation from its start:
//
//     sum     = product { (+|-) product }
//     product = factor { (*|/) factor }
//     factor  = (+|-) factor | ( sum ) | number
class CCalculation {
public:
    explicit CCalculation(std::string_view text) : m_text(text) {}

    EntryProblem Run(Fraction& result) {
        EntryProblem problem = Sum(result);
        if (problem != None) return problem;
        if (Next() == ')') return ParenthesisOpen;
        return Next() == 0 ? None : AmountUnknown;
    }
    bool HasOperators() const { return m_hasOperators; }

private:
    static constexpr int kDeepest = 100;  // parentheses and signs within each other

    // The next character that is no blank, or 0.
    char Next() {
        const size_t place = m_text.find_first_not_of(" \t");
        m_text.remove_prefix(place == std::string_view::npos ? m_text.size() : place);
        return m_text.empty() ? '\0' : m_text[0];
    }
    char Take() {
        const char next = Next();
        m_text.remove_prefix(1);
        return next;
    }
    EntryProblem Sum(Fraction& result);
    EntryProblem Product(Fraction& result);
    EntryProblem Factor(Fraction& result);
    EntryProblem Parenthesis(Fraction& result);
    EntryProblem Number(Fraction& result);

    std::string_view m_text;
    int m_depth = 0;
    bool m_hasOperators = false;
};

EntryProblem CCalculation::Sum(Fraction& result) {
    EntryProblem problem = Product(result);
    while (problem == None && (Next() == '+' || Next() == '-')) {
        m_hasOperators = true;
        const bool minus = Take() == '-';
        Fraction other;
        problem = Product(other);
        if (minus) other.above = -other.above;
        if (problem == None && !Add(Fraction(result), other, result)) problem = AmountTooLarge;
    }
    return problem;
}

EntryProblem CCalculation::Product(Fraction& result) {
    EntryProblem problem = Factor(result);
    while (problem == None && (Next() == '*' || Next() == '/')) {
        m_hasOperators = true;
        const bool divides = Take() == '/';
        Fraction other;
        problem = Factor(other);
        if (problem == None && divides) {
            if (other.above == 0) return DivisionByZero;
            std::swap(other.above, other.below);
            if (other.below < 0) {
                other.above = -other.above;
                other.below = -other.below;
            }
        }
        if (problem == None && !Multiply(result, other, result)) problem = AmountTooLarge;
    }
    return problem;
}

EntryProblem CCalculation::Factor(Fraction& result) {
    const char next = Next();
    const bool nests = next == '(' || next == '-' || next == '+';
    if (!nests) return Number(result);
    if (m_depth >= kDeepest) return AmountUnknown;
    ++m_depth;
    Take();
    EntryProblem problem = next == '(' ? Parenthesis(result) : Factor(result);
    if (next == '-') result.above = -result.above;
    --m_depth;
    return problem;
}

EntryProblem CCalculation::Parenthesis(Fraction& result) {
    m_hasOperators = true;
    const EntryProblem problem = Sum(result);
    if (problem != None) return problem;
    if (Next() == 0) return ParenthesisOpen;
    return Take() == ')' ? None : AmountUnknown;
}

EntryProblem CCalculation::Number(Fraction& result) {
    if (Next() == '$') Take();
    size_t size = m_text.find_first_not_of("0123456789.,");
    if (size == std::string_view::npos) size = m_text.size();
    const std::string_view number = m_text.substr(0, size);
    double value = 0.0;
    if (number.empty() || !ParseAmount(number, value)) return AmountUnknown;
    m_text.remove_prefix(size);
    result = {};
    bool behindPoint = false;
    for (const char character : number) {
        if (character == '.') behindPoint = true;
        if (character < '0' || character > '9') continue;
        if (!Multiply(result.above, 10, result.above)) return AmountTooLarge;
        if (__builtin_add_overflow(result.above, character - '0', &result.above)) {
            return AmountTooLarge;
        }
        if (behindPoint && !Multiply(result.below, 10, result.below)) return AmountTooLarge;
    }
    result.Reduce();
    return None;
}

// Halves away from zero.
bool ToCents(const Fraction& value, int64_t& cents) {
    int64_t scaled = 0;
    if (!Multiply(value.above, 100, scaled)) return false;
    cents = scaled / value.below;
    const int64_t rest = scaled % value.below;
    if (rest >= value.below - rest) ++cents;  // what is negative is refused before
    return true;
}

}  // namespace

EntryProblem ReadTypedAmount(std::string_view text, double& amount) {
    if (text.find_first_not_of(" \t") == std::string_view::npos) return AmountMissing;
    CCalculation calculation(text);
    Fraction value;
    const EntryProblem problem = calculation.Run(value);
    if (problem != None) return problem;
    if (value.above < 0) return AmountNegative;
    int64_t cents = 0;
    if (!ToCents(value, cents)) return AmountTooLarge;
    if (!calculation.HasOperators() && 100 % value.below != 0) return FractionOfCent;
    const double result = static_cast<double>(cents) / 100.0;
    if (result > kLargestAmount) return AmountTooLarge;
    amount = result;
    return None;
}

}  // namespace quillon
