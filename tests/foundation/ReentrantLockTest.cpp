#include "foundation/ReentrantLock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

namespace quillon {
namespace {

TEST(ReentrantLock, OnlyTheOwnerReleases) {
    CReentrantLock lock;
    lock.Release();  // owned by nobody
    lock.Take();
    lock.Take();
    EXPECT_TRUE(lock.IsOwnedByCaller());

    std::atomic<bool> taken{false};
    std::thread other([&] {
        EXPECT_FALSE(lock.IsOwnedByCaller());
        lock.Release();  // does nothing
        lock.Take();
        taken = true;
        lock.Release();
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_FALSE(taken);
    lock.Release();
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_FALSE(taken);  // still held once
    lock.Release();
    other.join();
    EXPECT_TRUE(taken);
    EXPECT_FALSE(lock.IsOwnedByCaller());
    lock.Release();  // one too many
    lock.Take();
    lock.Release();
}

TEST(ReentrantLock, KeepsThreadsApart) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 20000;
    CReentrantLock lock;
    int64_t plain = 0;  // no atomic: only the lock guards it
    std::atomic<int> inside{0};
    std::atomic<bool> together{false};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < kRounds; ++i) {
                const CLockScope outer(lock);
                const CLockScope inner(lock);
                if (++inside != 1) together = true;
                ++plain;
                --inside;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(plain, int64_t{kThreads} * kRounds);
    EXPECT_FALSE(together);
}

}  // namespace
}  // namespace quillon
