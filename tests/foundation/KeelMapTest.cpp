#include "foundation/KeelMap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "foundation/Unicode.h"

namespace quillon {
namespace {

using namespace std::string_literals;

TEST(KeelMap, KeysAreBytes) {
    int values[4];
    CKeelMap map;
    EXPECT_EQ(map.Find("a"), nullptr);
    EXPECT_EQ(map.Remove("a"), nullptr);
    EXPECT_EQ(map.Set("a", &values[0]), nullptr);
    EXPECT_EQ(map.Set("A", &values[1]), nullptr);
    EXPECT_EQ(map.Set("", &values[2]), nullptr);
    EXPECT_EQ(map.Set("a\0b"s, nullptr), nullptr);
    EXPECT_EQ(map.Count(), 4);
    EXPECT_EQ(map.Set("a", &values[3]), &values[0]);
    EXPECT_EQ(map.Count(), 4);

    EXPECT_EQ(map.Value("a"), &values[3]);
    EXPECT_EQ(map.Value(""), &values[2]);
    EXPECT_EQ(map.Value("a\0b"s), nullptr);
    EXPECT_TRUE(map.Contains("a\0b"s));
    EXPECT_FALSE(map.Contains("b"));
    EXPECT_EQ(map.First()->Key(), "a");
    map.Clear();
    EXPECT_TRUE(map.IsEmpty());
    EXPECT_FALSE(map.Contains("a"));
    EXPECT_EQ(map.First(), nullptr);
}

// Finds keys without regard to their case.
class CFoldingMap : public CKeelMap {
public:
    void* Set(std::string_view key, void* value) override {
        return CKeelMap::Set(FoldCase(key), value);
    }
    CKeelMapElement* Find(std::string_view key) const override {
        return CKeelMap::Find(FoldCase(key));
    }
    bool IsEmpty() const override { return false; }
};

TEST(KeelMap, OperationsUseTheReplacedOnes) {
    int value = 0;
    CFoldingMap folding;
    folding.Set("PAYEE", &value);
    const CKeelMap& map = folding;
    EXPECT_TRUE(map.Contains("Payee"));
    EXPECT_EQ(map.Value("payee"), &value);
    EXPECT_FALSE(map.IsEmpty());
}

// Against a plain vector in order of insertion.
TEST(KeelMap, BehavesLikeAnOrderedListOfKeys) {
    static int payloads[200];
    std::vector<std::pair<std::string, void*>> model;
    CKeelMap map;
    std::mt19937 random(11);
    for (int step = 0; step < 20000; ++step) {
        const size_t which = random() % 200;
        const std::string key = "key " + std::to_string(which);
        void* const value = &payloads[random() % 200];
        const auto known = std::find_if(model.begin(), model.end(),
                                        [&](const auto& entry) { return entry.first == key; });
        void* const expected = known == model.end() ? nullptr : known->second;
        if (random() % 3 != 0) {
            ASSERT_EQ(map.Set(key, value), expected);
            if (known == model.end()) {
                model.emplace_back(key, value);
            } else {
                known->second = value;
            }
        } else {
            ASSERT_EQ(map.Remove(key), expected);
            if (known != model.end()) model.erase(known);
        }
    }
    ASSERT_EQ(map.Count(), static_cast<int32_t>(model.size()));
    const CKeelMapElement* element = map.First();
    const CKeelMapElement* previous = nullptr;
    for (const auto& [key, value] : model) {
        ASSERT_NE(element, nullptr);
        EXPECT_EQ(element->Key(), key);
        EXPECT_EQ(element->Value(), value);
        EXPECT_EQ(element->Previous(), previous);
        previous = element;
        element = element->Next();
    }
    EXPECT_EQ(element, nullptr);
    EXPECT_EQ(map.Last(), previous);
}

}  // namespace
}  // namespace quillon
