#include "foundation/KeelList.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <list>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace quillon {
namespace {

// Numbers stand for payloads; their addresses are what the list holds.
int g_numbers[100];

void* P(int number) {
    return &g_numbers[number];
}

int NumberOf(const void* payload) {
    return static_cast<int>(static_cast<const int*>(payload) - g_numbers);
}

std::vector<int> Forward(CKeelList& list) {
    std::vector<int> numbers;
    CKeelListIterator walk(list);
    for (void* payload = walk.First(); walk.IsValid(); payload = walk.Next()) {
        numbers.push_back(NumberOf(payload));
    }
    return numbers;
}

std::vector<int> Backward(CKeelList& list) {
    std::vector<int> numbers;
    CKeelListIterator walk(list);
    for (void* payload = walk.Last(); walk.IsValid(); payload = walk.Previous()) {
        numbers.push_back(NumberOf(payload));
    }
    std::reverse(numbers.begin(), numbers.end());
    return numbers;
}

void ExpectNumbers(CKeelList& list, const std::vector<int>& expected) {
    EXPECT_EQ(Forward(list), expected);
    EXPECT_EQ(Backward(list), expected);
    EXPECT_EQ(list.Count(), static_cast<int32_t>(expected.size()));
    EXPECT_EQ(list.IsEmpty(), expected.empty());
}

TEST(KeelList, InsertsAndRemovesAtEveryPlace) {
    CKeelList list;
    ExpectNumbers(list, {});
    EXPECT_EQ(list.RemoveHead(), nullptr);
    EXPECT_EQ(list.RemoveTail(), nullptr);
    EXPECT_EQ(list.Remove(nullptr), nullptr);

    CKeelListElement* three = list.AddTail(P(3));
    list.AddHead(P(1));
    list.InsertBefore(three, P(2));
    list.InsertAfter(three, P(5));
    list.InsertAfter(three, P(4));
    list.InsertBefore(list.Head(), P(0));
    ExpectNumbers(list, {0, 1, 2, 3, 4, 5});

    EXPECT_EQ(list.Find(P(3)), three);
    EXPECT_EQ(list.Find(P(9)), nullptr);
    EXPECT_EQ(list.Remove(three), P(3));
    EXPECT_EQ(list.RemoveHead(), P(0));
    EXPECT_EQ(list.RemoveTail(), P(5));
    EXPECT_TRUE(list.RemovePayload(P(2)));
    EXPECT_FALSE(list.RemovePayload(P(2)));
    ExpectNumbers(list, {1, 4});
    list.Clear();
    ExpectNumbers(list, {});
}

// Never gives up its last element. Every removal must come by here.
class CNeverEmptyList : public CKeelList {
public:
    bool IsEmpty() const override { return false; }
    void* Remove(CKeelListElement* element) override {
        return Count() > 1 ? CKeelList::Remove(element) : nullptr;
    }
};

TEST(KeelList, OperationsUseTheReplacedOnes) {
    CNeverEmptyList list;
    for (const int number : {1, 2, 3, 4}) list.AddTail(P(number));
    CKeelListIterator walk(list);
    walk.First();
    EXPECT_EQ(walk.RemoveCurrent(), P(1));
    EXPECT_EQ(list.RemoveTail(), P(4));
    EXPECT_TRUE(list.RemovePayload(P(2)));
    EXPECT_EQ(list.RemoveHead(), nullptr);
    EXPECT_EQ(Forward(list), std::vector<int>{3});
    const CKeelList& base = list;
    EXPECT_FALSE(base.IsEmpty());
}

TEST(KeelList, RemovingWhileWalkingStepsOn) {
    CKeelList list;
    for (int i = 0; i < 6; ++i) list.AddTail(P(i));
    CKeelListIterator walk(list);
    for (walk.First(); walk.IsValid();) {
        if (NumberOf(walk.Current()) % 2 == 0) {
            walk.RemoveCurrent();
        } else {
            walk.Next();
        }
    }
    ExpectNumbers(list, {1, 3, 5});
    EXPECT_EQ(walk.RemoveCurrent(), nullptr);

    CKeelList moved(std::move(list));
    ExpectNumbers(moved, {1, 3, 5});
}

TEST(KeelList, SortIsStableAtEverySize) {
    // Sorted by tens only; the units show whether even payloads kept their order.
    const auto byTens = [](const void* a, const void* b, void* calls) {
        ++*static_cast<int*>(calls);
        return NumberOf(a) / 10 - NumberOf(b) / 10;
    };
    std::mt19937 random(5);
    for (int size = 0; size < 70; ++size) {
        SCOPED_TRACE(size);
        std::vector<int> numbers(static_cast<size_t>(size));
        CKeelList list;
        for (int& number : numbers) {
            number = static_cast<int>(random() % 100);
            list.AddTail(P(number));
        }
        std::stable_sort(numbers.begin(), numbers.end(),
                         [](int a, int b) { return a / 10 < b / 10; });
        int calls = 0;
        list.Sort(byTens, &calls);
        ExpectNumbers(list, numbers);
        EXPECT_LE(calls, size * 7);  // n log n
    }
}

struct Counted {
    explicit Counted(int startValue) : value(startValue) { ++alive; }
    virtual ~Counted() { --alive; }
    int value;
    static inline int alive = 0;
};

struct Derived : Counted {
    using Counted::Counted;
    std::string text = "held by the derived part, longer than any small buffer";
};

std::vector<int> Values(const COwnedList<Counted>& list) {
    std::vector<int> values;
    for (const Counted& entry : list) values.push_back(entry.value);
    return values;
}

TEST(OwnedList, DeletesWhatItStillHolds) {
    {
        COwnedList<Counted> list;
        EXPECT_EQ(list.Front(), nullptr);
        list.Add(std::make_unique<Derived>(1));
        list.Emplace(2).value += 10;
        list.Add(std::make_unique<Counted>(3));
        EXPECT_EQ(Values(list), (std::vector<int>{1, 12, 3}));
        EXPECT_EQ(Counted::alive, 3);

        EXPECT_EQ(list.TakeFront()->value, 1);
        EXPECT_EQ(Counted::alive, 2);
        EXPECT_EQ(list.RemoveIf([](const Counted& c) { return c.value == 12; }), 1U);
        EXPECT_EQ(Counted::alive, 1);

        COwnedList<Counted> other;
        other.Emplace(7);
        other = std::move(list);
        EXPECT_EQ(Counted::alive, 1);
        EXPECT_EQ(Values(other), (std::vector<int>{3}));
        EXPECT_EQ(list.Size(), 0U);  // NOLINT: what moving leaves behind is promised

        COwnedList<Counted> last(std::move(other));
        last.Clear();
        EXPECT_EQ(Counted::alive, 0);
        last.Emplace(8);
        EXPECT_EQ(last.Back()->value, 8);
    }
    EXPECT_EQ(Counted::alive, 0);
}

TEST(OwnedList, SortsAndWalksLikeAContainer) {
    COwnedList<Counted> list;
    for (const int value : {30, 11, 20, 12, 10}) list.Emplace(value);
    int bias = 0;
    list.Sort(
        [bias](const Counted& a, const Counted& b) { return a.value / 10 < b.value / 10 + bias; });
    EXPECT_EQ(Values(list), (std::vector<int>{11, 12, 10, 20, 30}));

    for (Counted& entry : list) entry.value += 1;
    const auto found =
        std::find_if(list.begin(), list.end(), [](const Counted& c) { return c.value == 21; });
    ASSERT_NE(found, list.end());
    EXPECT_EQ(std::prev(list.end())->value, 31);
    EXPECT_EQ(list.Take(found.Element())->value, 21);
    EXPECT_EQ(std::distance(list.begin(), list.end()), 4);
}

}  // namespace
}  // namespace quillon
