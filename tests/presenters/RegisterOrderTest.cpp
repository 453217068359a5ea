#include "presenters/register/RegisterOrder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "finance/ledger/Balance.h"

namespace quillon {
namespace {

// The same by sorting all and adding up from the first.
class COrderCheck {
public:
    COrderCheck(uint32_t seed, bool oddAmounts) : m_random(seed), m_odd(oddAmounts) {}

    uint32_t Below(size_t limit) { return static_cast<uint32_t>(m_random() % limit); }

    void SetAny(uint32_t slot) {
        data.dates[slot] = Below(300) * 864'000'000'000;
        double effect = (static_cast<double>(Below(2'000'001)) - 1'000'000) / 100.0;
        if (m_odd && Below(7) == 0) effect += 0.00123;
        if (m_odd && Below(50) == 0) effect *= 1e9;
        data.effects[slot] = effect;
    }
    uint32_t AddSlot() {
        const auto slot = static_cast<uint32_t>(data.ids.size());
        data.ids.push_back(1 + slot);
        data.dates.push_back(0);
        data.effects.push_back(0.0);
        SetAny(slot);
        return slot;
    }
    void Compare(const CRegisterOrder& order) const {
        std::vector<uint32_t> slots(held);
        std::sort(slots.begin(), slots.end(),
                  [this](uint32_t a, uint32_t b) { return data.Before(a, b); });
        ASSERT_EQ(order.Count(), slots.size());
        double balance = 0.0;
        for (size_t i = 0; i < slots.size(); ++i) {
            balance = SettledSum(balance + data.effects[slots[i]]);
            ASSERT_EQ(order.SlotAt(i), slots[i]) << i;
            ASSERT_EQ(order.PositionOf(slots[i]), i);
            ASSERT_EQ(order.BalanceAt(i), balance) << i;
        }
    }

    RegisterData data;
    std::vector<uint32_t> held;

private:
    std::mt19937 m_random;
    bool m_odd;
};

TEST(RegisterOrder, StaysWhatAddingUpFromTheFirstGives) {
    for (const bool odd : {false, true}) {
        SCOPED_TRACE(odd);
        COrderCheck check(odd ? 7 : 5, odd);
        for (int i = 0; i < 3000; ++i) check.held.push_back(check.AddSlot());
        CRegisterOrder order(check.data);
        order.Build();
        check.Compare(order);
        for (int step = 0; step < 3000; ++step) {
            const uint32_t kind = check.Below(5);
            if (kind < 2) {
                const uint32_t slot = check.AddSlot();
                if (kind == 0) check.data.dates[slot] = 0;  // the first blocks fill up and split
                check.held.push_back(slot);
                order.Insert(slot);
                continue;
            }
            const uint32_t place = check.Below(check.held.size());
            const uint32_t slot = check.held[place];
            order.Erase(slot);
            if (kind < 4) {
                check.SetAny(slot);
                order.Insert(slot);
            } else {
                check.held.erase(check.held.begin() + place);
            }
            if (step % 500 == 0) check.Compare(order);
        }
        check.Compare(order);
        while (!check.held.empty()) {
            order.Erase(check.held.back());
            check.held.pop_back();
        }
        check.Compare(order);
        check.held.push_back(0);
        order.Insert(0);
        check.Compare(order);
    }
}

TEST(RegisterOrder, CountsUntilADate) {
    COrderCheck check(3, false);
    CRegisterOrder order(check.data);
    EXPECT_EQ(order.CountUntil(0), 0U);
    for (int i = 0; i < 2000; ++i) check.held.push_back(check.AddSlot());
    order.Build();
    for (int day = -1; day <= 301; day += 7) {
        const int64_t date = day * 864'000'000'000;
        const auto earlier = std::count_if(check.data.dates.begin(), check.data.dates.end(),
                                           [&](int64_t its) { return its <= date; });
        EXPECT_EQ(order.CountUntil(date), static_cast<size_t>(earlier)) << day;
    }
}

}  // namespace
}  // namespace quillon
