#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "platform/sync/KoCriticalSection.h"

TEST(Locks, CriticalSectionIsRecursiveAndExcludesOtherThreads) {
    KoCriticalSection cs;
    {
        KoCriticalSectionLock outer(&cs);
        KoCriticalSectionLock inner(&cs);  // the same thread enters again without deadlock
        std::atomic<bool> got{true};
        std::thread([&] { got = cs.enter(false); }).join();
        EXPECT_FALSE(got);  // held by this thread: another cannot enter
    }
    std::atomic<bool> got{false};
    std::thread([&] {
        got = cs.enter(false);
        if (got) cs.leave();
    }).join();
    EXPECT_TRUE(got);                     // released once per enter
    KoCriticalSectionLock none(nullptr);  // a null section holds nothing
}

TEST(Locks, CriticalSectionSerialisesCounters) {
    KoCriticalSection cs;
    long counter = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 10000; ++i) {
                KoCriticalSectionLock lock(&cs);
                ++counter;
            }
        });
    for (auto& t : threads) t.join();
    EXPECT_EQ(counter, 40000);
}
