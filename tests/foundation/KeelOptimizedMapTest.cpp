#include "foundation/KeelOptimizedMap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <utility>
#include <vector>

namespace quillon {
namespace {

constexpr int64_t Key(uint32_t high, uint32_t low) {
    return static_cast<int64_t>(uint64_t{high} << 32 | low);
}

std::vector<int64_t> KeysOf(const CKeelOptimizedMap& map) {
    std::vector<int64_t> keys;
    for (const auto entry : map) keys.push_back(entry.key);
    return keys;
}

TEST(KeelOptimizedMap, BucketIsTheMagnitudeOfTheLowHalf) {
    CKeelOptimizedMap map;
    EXPECT_EQ(map.BucketOf(3), -1);
    EXPECT_FALSE(map.Initialise(1));
    EXPECT_FALSE(map.Initialise(0));
    EXPECT_FALSE(map.Initialise(-7));
    ASSERT_TRUE(map.Initialise(7));
    const struct {
        int64_t key;
        int32_t bucket;
    } rows[] = {
        {0, 0},
        {3, 3},
        {-3, 3},
        {10, 3},
        {Key(1, 3), 3},
        {Key(0xFFFFFFFF, 3), 3},
        {Key(0, 0x7FFFFFFF), 1},
        {Key(0, 0x80000000), 2},  // the magnitude 2147483648 has no signed 32-bit form
        {INT64_MIN, 0},
        {INT64_MAX, 1},  // low half -1
    };
    for (const auto& row : rows) EXPECT_EQ(map.BucketOf(row.key), row.bucket) << row.key;
}

TEST(KeelOptimizedMap, NextPrimeIsTheOneOfTheLongSearch) {
    const auto longSearch = [](int32_t n) {
        for (int32_t v = n + 1;; ++v) {
            if (v % 2 == 0) continue;
            if (v <= 4) return v;
            bool divided = false;
            for (int32_t d = 3; d <= v - 2 && !divided; ++d) divided = v % d == 0;
            if (!divided) return v;
        }
    };
    for (int32_t n = 0; n < 3000; ++n) {
        ASSERT_EQ(CKeelOptimizedMap::NextPrimeAbove(n), longSearch(n)) << n;
    }
    EXPECT_EQ(CKeelOptimizedMap::NextPrimeAbove(2147483646), 2147483647);
    EXPECT_EQ(CKeelOptimizedMap::NextPrimeAbove(2147483647), 0);
    EXPECT_EQ(CKeelOptimizedMap::NextPrimeAbove(-1), 0);
}

TEST(KeelOptimizedMap, SizingNeedsAnEmptyMap) {
    const struct {
        int32_t expected;
        int32_t buckets;
    } rows[] = {{0, 1}, {1, 3}, {2, 5}, {3, 5}, {7, 11}, {10, 17}, {1000, 1511}};
    for (const auto& row : rows) {
        CKeelOptimizedMap map;
        EXPECT_TRUE(map.SizeFor(row.expected));
        EXPECT_EQ(map.BucketCount(), row.buckets) << row.expected;
        EXPECT_TRUE(map.Insert32(5, 50));
        EXPECT_FALSE(map.SizeFor(row.expected));
        EXPECT_TRUE(map.Contains(5));
    }
    CKeelOptimizedMap map;
    EXPECT_FALSE(map.SizeFor(-1));
    EXPECT_FALSE(map.SizeFor(INT32_MAX));
}

TEST(KeelOptimizedMap, ValuesOfFourAndEightBytes) {
    CKeelOptimizedMap map;
    ASSERT_TRUE(map.Insert64(1, 0x123456789ABCDEF0));
    EXPECT_TRUE(map.HasWideValues());
    ASSERT_TRUE(map.Insert32(2, -5));
    EXPECT_FALSE(map.HasWideValues());

    int64_t eight = 0;
    int32_t four = 0;
    EXPECT_TRUE(map.Find64(1, eight));
    EXPECT_EQ(eight, 0x123456789ABCDEF0);
    EXPECT_TRUE(map.Find32(2, four));
    EXPECT_EQ(four, -5);
    // Read in the other size it is a number, not somebody else's memory.
    EXPECT_TRUE(map.Find64(2, eight));
    EXPECT_EQ(eight, 0xFFFFFFFB);
    EXPECT_FALSE(map.Find32(3, four));
    EXPECT_EQ(four, -5);

    ASSERT_TRUE(map.Insert64(2, 77));  // replaced, in its place
    EXPECT_EQ(KeysOf(map), (std::vector<int64_t>{1, 2}));
    EXPECT_EQ(map.Count(), 2);
    EXPECT_TRUE(map.Find64(2, eight));
    EXPECT_EQ(eight, 77);
}

TEST(KeelOptimizedMap, PoolNodesAreUsedUpNotReused) {
    CKeelOptimizedMap map;
    ASSERT_TRUE(map.MakeNodePool(2));
    EXPECT_FALSE(map.MakeNodePool(2));
    for (int round = 0; round < 3; ++round) {
        // The first two nodes come from the pool, the others from the heap.
        for (int64_t key = 0; key < 5; ++key) ASSERT_TRUE(map.Insert64(key, key));
        EXPECT_TRUE(map.Remove(0));
        EXPECT_TRUE(map.Remove(4));
        EXPECT_FALSE(map.Remove(4));
        EXPECT_EQ(map.Count(), 3);
        EXPECT_EQ(KeysOf(map), (std::vector<int64_t>{1, 2, 3}));
        ASSERT_TRUE(map.Insert64(0, 9));
        EXPECT_EQ(KeysOf(map), (std::vector<int64_t>{1, 2, 3, 0}));
        map.Clear();
        EXPECT_TRUE(map.IsEmpty());
        EXPECT_FALSE(map.Contains(1));
        ASSERT_TRUE(map.MakeNodePool(3));
        EXPECT_FALSE(map.MakeNodePool(0));
        map.Clear();
    }
}

TEST(KeelOptimizedMap, RemovingUnderTheCursorStepsOn) {
    CKeelOptimizedMap map;
    EXPECT_FALSE(map.First());
    EXPECT_TRUE(map.AtEnd());
    for (int64_t key = 10; key < 16; ++key) ASSERT_TRUE(map.Insert32(key, 1));
    for (map.First(); !map.AtEnd();) {
        const int64_t key = map.Current().key;
        if (key % 2 == 0) {
            EXPECT_TRUE(map.Remove(key));
        } else {
            map.Next();
        }
    }
    EXPECT_EQ(KeysOf(map), (std::vector<int64_t>{11, 13, 15}));
    EXPECT_FALSE(map.Next());
}

// Against a plain vector in order of insertion, through several growths.
TEST(KeelOptimizedMap, BehavesLikeAnOrderedListOfKeys) {
    std::vector<std::pair<int64_t, int64_t>> model;
    CKeelOptimizedMap map;
    ASSERT_TRUE(map.Initialise(2));
    ASSERT_TRUE(map.MakeNodePool(50));
    std::mt19937_64 random(3);
    for (int step = 0; step < 30000; ++step) {
        const int64_t key =
            Key(random() % 2 ? 0 : 0xFFFFFFFF, static_cast<uint32_t>(random() % 150));
        const auto value = static_cast<int64_t>(random());
        const auto known = std::find_if(model.begin(), model.end(),
                                        [&](const auto& entry) { return entry.first == key; });
        if (random() % 3 != 0) {
            ASSERT_TRUE(map.Insert64(key, value));
            if (known == model.end()) {
                model.emplace_back(key, value);
            } else {
                known->second = value;
            }
        } else {
            ASSERT_EQ(map.Remove(key), known != model.end());
            if (known != model.end()) model.erase(known);
        }
    }
    std::vector<std::pair<int64_t, int64_t>> held;
    for (const auto entry : map) held.emplace_back(entry.key, entry.Value64());
    EXPECT_EQ(held, model);
    for (const auto& [key, value] : model) {
        int64_t found = 0;
        ASSERT_TRUE(map.Find64(key, found));
        EXPECT_EQ(found, value);
    }
}

TEST(KeelOptimizedMap, GrowsWithoutBeingTold) {
    CKeelOptimizedMap map;
    for (int64_t key = 0; key < 10'000; ++key) {
        ASSERT_TRUE(map.Insert64(key * 17, key));
        ASSERT_LE(map.Count(), map.BucketCount() * CKeelOptimizedMap::kMaximumLoad);
    }
    for (int64_t key = 0; key < 10'000; ++key) ASSERT_TRUE(map.Contains(key * 17));
}

}  // namespace
}  // namespace quillon
