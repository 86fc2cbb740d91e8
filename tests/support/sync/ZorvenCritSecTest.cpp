#include "support/sync/ZorvenCritSec.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

// More threads than processors, so that some sleep: a wake-up that is lost shows as a test that
// does not end, two holders at once as a count that is too small.
TEST(ZorvenCritSec, LetsOneThreadInAtATimeAndWakesTheNext) {
    constexpr int kThreads = 8, kRounds = 20'000;
    ZorvenCritSec lock;
    int count = 0;
    const auto work = [&] {
        for (int i = 0; i < kRounds; ++i) {
            CritSecExitor outer(lock);
            {
                CritSecExitor again(lock);
                ++count;
            }
            ++count;
            if (i % 100 == 0)
                std::this_thread::yield();  // while it is held
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back(work);
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(count, 2 * kThreads * kRounds);
}

#ifdef CERTSTORE_CHECKED
TEST(ZorvenCritSecDeathTest, StopsWhoGuardsNothing) {
    ZorvenCritSec lock;
    EXPECT_DEATH(lock.assertHeld(), "");
    CritSecExitor held(lock);
    lock.assertHeld();
}
#endif

}  // namespace
