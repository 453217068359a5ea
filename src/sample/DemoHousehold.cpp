#include "sample/DemoHousehold.h"

#include <algorithm>
#include <cmath>
#include <span>

#include "sample/DemoHabits.h"

namespace quillon {

namespace {

constexpr uint64_t kSeed = 0x51C7'0E22'90AB'3D17;

// SplitMix64: small, well mixed, the same everywhere.
class CDice {
public:
    explicit CDice(uint64_t seed) : m_state(seed) {}
    // Both ends included.
    int64_t Between(int64_t low, int64_t high) {
        return low + static_cast<int64_t>(Next() % static_cast<uint64_t>(high - low + 1));
    }
    bool Chance(int percent) { return Between(1, 100) <= percent; }
    template <class Item>
    const Item& OneOf(std::span<const Item> items) {
        return items[static_cast<size_t>(Between(0, static_cast<int64_t>(items.size()) - 1))];
    }

private:
    uint64_t Next() {
        uint64_t mixed = m_state += 0x9E37'79B9'7F4A'7C15;
        mixed = (mixed ^ mixed >> 30) * 0xBF58'476D'1CE4'E5B9;
        mixed = (mixed ^ mixed >> 27) * 0x94D0'49BB'1331'11EB;
        return mixed ^ mixed >> 31;
    }
    uint64_t m_state;
};

class CDemoHousehold {
public:
    std::vector<DemoEvent> Live() {
        for (const DemoAccountPlan& plan : kDemoAccounts) Balance(plan.account) = plan.openingCents;
        const int64_t last = FileTimeFromDate(kDemoLastDay);
        for (m_today = FileTimeFromDate(kDemoFirstDay); m_today <= last;
             m_today = AddDays(m_today, 1)) {
            m_day = DateFromFileTime(m_today);
            m_weekend = DayOfWeek(m_today) == 0 || DayOfWeek(m_today) == 6;
            m_monthEnd = m_day.day == DaysInMonth(m_day.year, m_day.month);
            LiveDay();
        }
        return std::move(m_events);
    }

private:
    void LiveDay() {
        Income();
        Rent();
        Bills();
        Shopping();
        Journeys();
        Checks();
        Card();
        CarLoan();
        Saving();
        Investing();
    }

    // --- entering
    int64_t& Balance(DemoAccount account) { return m_balances[static_cast<size_t>(account)]; }

    DemoEvent& Enter(DemoAccount account, TransactionType type, int64_t cents, std::string payee,
                     std::string category, std::string memo = {}) {
        const bool in = type == TransactionType::Deposit ||
                        (type == TransactionType::Payment &&
                         (account == DemoAccount::Card || account == DemoAccount::CarLoan));
        Balance(account) += in ? cents : -cents;
        DemoEvent event;
        event.date = m_today;
        event.account = account;
        event.type = type;
        event.cents = cents;
        event.payee = std::move(payee);
        event.category = std::move(category);
        event.memo = std::move(memo);
        m_events.push_back(std::move(event));
        return m_events.back();
    }

    // Buys with the card or from the checking account.
    DemoEvent& Spend(DemoAccount account, int64_t cents, const char* payee, const char* category,
                     std::string memo = {}) {
        const TransactionType type =
            account == kCard ? TransactionType::Charge : TransactionType::Payment;
        return Enter(account, type, cents, payee, category, std::move(memo));
    }

    void Transfer(DemoAccount from, DemoAccount to, int64_t cents, std::string memo) {
        DemoEvent& event = Enter(from, TransactionType::Transfer, cents, {}, {}, std::move(memo));
        event.to = to;
        Balance(to) += cents;
    }

    // A price of the first year as it is now: three percent more each year.
    int64_t Now(int64_t cents) const {
        const double years = m_day.year - kDemoFirstDay.year;
        return std::llround(static_cast<double>(cents) * std::pow(1.03, years));
    }
    int64_t Price(int64_t low, int64_t high) { return Now(m_dice.Between(low, high)); }
    bool IsMonthlyDay(int day) const { return m_day.day == day; }
    // A payday on a weekend is paid on the Friday before.
    bool IsPayday() const {
        const int weekday = DayOfWeek(m_today);
        if (m_weekend) return false;
        const int reach = weekday == 5 ? 2 : 0;
        const int lastDay = DaysInMonth(m_day.year, m_day.month);
        const auto falls = [&](int day) { return day >= m_day.day && day <= m_day.day + reach; };
        return falls(15) || falls(lastDay);
    }

    // --- what happens
    void Income() {
        if (IsPayday()) {
            // A raise each April, a larger one with the new position in 2019.
            const int raises = m_day.year - kDemoFirstDay.year + (m_day.month >= 4 ? 1 : 0);
            double pay = 264'800.0 * std::pow(1.031, raises);
            if (m_day.year >= 2019) pay *= 1.03;
            Enter(kChecking, TransactionType::Deposit, std::llround(pay),
                  "Harborview Medical Group", "Income", "Payroll")
                .electronic = "EFT";
        }
        if (m_day.month == 12 && IsMonthlyDay(18)) {
            Enter(kChecking, TransactionType::Deposit, Now(85'000), "Harborview Medical Group",
                  "Income", "Year-end bonus")
                .electronic = "EFT";
        }
        if (m_day.month == 3 && IsMonthlyDay(21)) {
            Enter(kChecking, TransactionType::Deposit, m_dice.Between(42'000, 128'000),
                  "U.S. Treasury", "Tax Refund", "Tax year " + std::to_string(m_day.year - 1))
                .electronic = "EFT";
        }
        if (m_day.month == 4 && IsMonthlyDay(12)) {
            WriteCheck(m_dice.Between(6'000, 31'000), "State Revenue Office", "State Taxes",
                       "Tax year " + std::to_string(m_day.year - 1));
        }
    }

    // Brings money over before a large payment, so that the account is not overdrawn.
    void Cover(int64_t cents) {
        constexpr int64_t kLeast = 95'000;
        const int64_t missing = cents + kLeast - Balance(kChecking);
        const int64_t there = Balance(DemoAccount::Savings) / 10'000 * 10'000;
        if (missing <= 0 || there <= 0) return;
        const int64_t rounded = (missing + 9'999) / 10'000 * 10'000;
        Transfer(DemoAccount::Savings, kChecking, std::min(rounded, there), "To checking");
    }

    void WriteCheck(int64_t cents, const char* payee, const char* category, std::string memo) {
        Spend(kChecking, cents, payee, category, std::move(memo)).check = ++m_check;
    }

    void Rent() {
        if (!IsMonthlyDay(1)) return;
        const int64_t rent = 132'500 + 4'500 * (m_day.year - kDemoFirstDay.year);
        Cover(rent);
        WriteCheck(rent, "Alder Court Apartments", "Rent", "14 Alder Ct");
    }

    void Bills() {
        for (const MonthlyBill& bill : kBills) {
            if (!IsMonthlyDay(bill.day) || m_day.year < bill.fromYear) continue;
            Spend(bill.account, Price(bill.lowCents, bill.highCents), bill.payee, bill.category,
                  bill.memo)
                .electronic = bill.electronic;
        }
        for (const YearlyBill& bill : kYearly) {
            if (m_day.month != bill.month || !IsMonthlyDay(bill.day)) continue;
            Spend(bill.account, Now(bill.cents) + m_dice.Between(0, 999), bill.payee, bill.category,
                  bill.memo);
        }
        if (IsMonthlyDay(16)) {
            // Heating in winter, cooling in high summer.
            constexpr int kPercent[] = {185, 170, 140, 105, 80, 85, 120, 125, 85, 90, 130, 175};
            const int64_t use = kPercent[m_day.month - 1];
            Spend(kChecking, Price(5'200, 6'300) * use / 100, "Tidewater Light & Power",
                  "Electricity")
                .electronic = "EFT";
        }
    }

    void Shopping() {
        if (m_away) return;
        for (const Habit& habit : kHabits) {
            if (!m_dice.Chance(m_weekend ? habit.weekendPercent : habit.weekdayPercent)) continue;
            Spend(habit.account, Price(habit.lowCents, habit.highCents),
                  m_dice.OneOf(std::span<const char* const>(habit.payees)), habit.category,
                  habit.memo);
        }
        const int weekday = DayOfWeek(m_today);
        if (weekday == 6) Spend(kCard, Price(5'800, 13'900), "Greenleaf Market", "Groceries");
        if (weekday == 3) Spend(kCard, Price(2'400, 6'200), "Savor Foods", "Groceries");
        if (m_today >= m_nextTank) {
            Spend(kCard, Price(2'600, 4'700), "Crestline Fuel", "Gas");
            m_nextTank = AddDays(m_today, m_dice.Between(5, 8));
        }
        if (weekday == 5 && m_dice.Chance(85)) {
            DemoEvent& cash = Enter(kChecking, TransactionType::Withdrawal,
                                    2'000 * m_dice.Between(1, 4), "Cash", "Miscellaneous");
            cash.electronic = "ATM";
        }
        if (m_day.month == 12 && m_day.day >= 5 && m_day.day <= 22 && m_dice.Chance(45)) {
            Spend(kCard, Price(1'500, 11'000),
                  m_dice.OneOf(std::span<const char* const>(kGiftShops)), "Gifts", "Holidays");
        }
        if (m_dice.Chance(1)) {
            Enter(kCard, TransactionType::Payment, Price(1'200, 7'400), "Parcelwise Online",
                  "Miscellaneous", "Return");
        }
    }

    // Two weeks in July by plane, a long weekend in October by car.
    void Journeys() {
        const bool summer = m_day.month == 7 && m_day.day >= 15 && m_day.day <= 26;
        const bool autumn = m_day.month == 10 && m_day.day >= 10 && m_day.day <= 12;
        m_away = summer || autumn;
        if (m_day.month == 4 && IsMonthlyDay(27)) {
            Spend(kCard, Price(61'000, 94'000), "Meridian Air", "Travel", "Summer flights");
        }
        if (!m_away) return;
        Spend(kCard, Price(1'400, 5'600), m_dice.Chance(50) ? "Seaside Grill" : "Old Town Bistro",
              "Travel", "Meals on the way");
        if (m_dice.Chance(60)) {
            Spend(kCard, Price(900, 6'400), m_dice.Chance(50) ? "Island Tours" : "Gallery Passage",
                  "Travel");
        }
        if ((summer && IsMonthlyDay(26)) || (autumn && IsMonthlyDay(12))) {
            Spend(kCard, Price(summer ? 98'000 : 24'000, summer ? 132'000 : 36'000),
                  summer ? "Hotel Belvedere" : "Lakeview Inn", "Travel",
                  summer ? "Eleven nights" : "Two nights");
        }
    }

    void Checks() {
        if (DayOfWeek(m_today) == 2 && DaysBetween(0, m_today) / 7 % 2 == 0 && !m_away) {
            WriteCheck(Now(4'000), "Margit Olsen", "Entertainment", "Piano lessons, Nora");
        }
        if (m_day.month == 12 && IsMonthlyDay(20)) {
            WriteCheck(Now(5'000), "Grandma Ruth", "Gifts", "Holidays");
        }
        if (m_day.month == 8 && IsMonthlyDay(25)) {
            WriteCheck(Now(18'500), "Hale Street School", "Household", "Books and trips");
        }
    }

    // The statement of the 20th is paid in full on the 28th.
    void Card() {
        if (IsMonthlyDay(20)) m_statement = std::max<int64_t>(0, -Balance(kCard));
        if (!IsMonthlyDay(28) || m_statement == 0) return;
        Cover(m_statement);
        Transfer(kChecking, kCard, m_statement, "Card payment");
        m_statement = 0;
    }

    // The first car is paid off; in 2020 a second one is bought.
    void CarLoan() {
        if (m_day == CivilDate{2020, 9, 12}) {
            Cover(400'000);
            WriteCheck(400'000, "Kestrel Auto Sales", "Auto Expenses", "Down payment");
            Enter(DemoAccount::CarLoan, TransactionType::Principal, 2'160'000,
                  "Kestrel Auto Finance", "Auto Loan", "New car");
        }
        const int64_t owed = -Balance(DemoAccount::CarLoan);
        if (owed <= 0) return;
        if (m_monthEnd) {
            const int64_t interest = std::llround(static_cast<double>(owed) * 0.042 / 12);
            if (interest > 0) {
                Enter(DemoAccount::CarLoan, TransactionType::Charge, interest,
                      "Kestrel Auto Finance", "Interest", "Interest at 4.2%");
            }
        }
        if (IsMonthlyDay(10)) {
            Transfer(kChecking, DemoAccount::CarLoan, std::min<int64_t>(owed, 38'950),
                     "Car payment");
        }
    }

    void Saving() {
        if (IsPayday()) {
            Transfer(kChecking, DemoAccount::Savings, Now(17'500), "Savings plan");
        }
        if (!m_monthEnd) return;
        constexpr double kRates[] = {0.002, 0.002, 0.003, 0.006, 0.009,
                                     0.004, 0.002, 0.011, 0.034, 0.039};
        const double rate = kRates[m_day.year - kDemoFirstDay.year];
        const auto savings = static_cast<double>(Balance(DemoAccount::Savings));
        const int64_t interest = std::llround(savings * rate / 12);
        if (interest > 0) {
            Enter(DemoAccount::Savings, TransactionType::Deposit, interest, "First Marlow Bank",
                  "Interest");
        }
        // What is left over goes to savings; what is missing comes from there.
        const int64_t checking = Balance(kChecking);
        if (checking > 750'000) {
            Transfer(kChecking, DemoAccount::Savings, (checking - 500'000) / 10'000 * 10'000,
                     "Left over");
        }
    }

    void Investing() {
        if (IsMonthlyDay(5)) {
            Transfer(kChecking, DemoAccount::Investment, Now(22'000), "Monthly plan");
        }
        if (m_day.month % 3 == 0 && IsMonthlyDay(15)) {
            for (const char* symbol : kSymbols) {
                Enter(DemoAccount::Investment, TransactionType::Deposit, Price(1'900, 5'400),
                      "Northgate Brokerage", "Dividends", std::string("Dividend ") + symbol);
            }
        }
        if (m_day.month % 3 == 1 && IsMonthlyDay(18)) {
            const char* symbol = m_dice.OneOf(std::span<const char* const>(kSymbols));
            const int64_t price = Price(3'100, 8'900);
            const int64_t shares = Balance(DemoAccount::Investment) * 3 / 4 / price;
            if (shares > 0) {
                Enter(DemoAccount::Investment, TransactionType::Withdrawal, shares * price,
                      "Northgate Brokerage", "Investments",
                      "Bought " + std::to_string(shares) + " " + symbol);
                Enter(DemoAccount::Investment, TransactionType::Withdrawal, 495,
                      "Northgate Brokerage", "Bank Charge", "Commission");
            }
        }
    }

    CDice m_dice{kSeed};
    std::vector<DemoEvent> m_events;
    std::array<int64_t, kDemoAccounts.size()> m_balances{};  // cents
    int64_t m_today = 0;
    CivilDate m_day;
    bool m_weekend = false;
    bool m_monthEnd = false;
    bool m_away = false;
    int64_t m_nextTank = 0;
    int64_t m_statement = 0;  // cents to pay on the card
    int32_t m_check = 1040;
};

}  // namespace

std::vector<DemoEvent> MakeDemoEvents() {
    return CDemoHousehold().Live();
}

}  // namespace quillon
