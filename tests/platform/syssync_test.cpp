#include "syssemaphore.h"
#include "sysmutex.h"
#include "systhread.h"

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

// Time limits, the count's bounds, and across threads every give taken
// exactly once by waiters with and without a time limit.
TEST(SysSemaphore, TimeoutsCountLimitsAndEveryGiveTakenOnce)
{
    SysSemaphore sem(SysSemaphore::NOT_AVAILABLE, 3, true);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(sem.take(20), SysSemaphore::TIMED_OUT);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
    for (int i = 0; i < 5; ++i)
        sem.give(); // two beyond the limit are dropped
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(sem.take(0), SysSemaphore::OK) << i;
    EXPECT_EQ(sem.take(0), SysSemaphore::TIMED_OUT);

    const int perThread = 2000;
    SysSemaphore many(SysSemaphore::NOT_AVAILABLE, 1000000, true);
    std::atomic<int> taken{0};
    std::vector<std::thread> threads;
    for (int timeout : {-1, 60000})
        threads.emplace_back([&, timeout] {
            for (int i = 0; i < perThread; ++i)
                taken += many.take(timeout) == SysSemaphore::OK;
        });
    for (int p = 0; p < 2; ++p)
        threads.emplace_back([&] {
            for (int i = 0; i < perThread; ++i)
                many.give();
        });
    for (std::thread& t : threads)
        t.join();
    EXPECT_EQ(taken.load(), 2 * perThread);
    EXPECT_EQ(many.take(0), SysSemaphore::TIMED_OUT);

    // A mutex created locked lets another thread in only after the give.
    SysMutex held(SysMutexLocked);
    std::atomic<bool> given{false};
    bool sawGiven = false;
    std::thread other([&] {
        held.take();
        sawGiven = given.load();
        held.give();
    });
    given = true;
    held.give();
    other.join();
    EXPECT_TRUE(sawGiven);
}

namespace {

class GatedBody : public SysThreadable {
public:
    ~GatedBody() override { waitForThreadCompletion(); }
    void run() override
    {
        // The handle is in place before run() starts: reading it here is
        // no race with spawn() (ThreadSanitizer checks).
        sawRunning = isThreadRunning();
        started.give();
        gate.take(-1);
        ++runs;
        if (selfDone) {
            SysSemaphore* done = selfDone;
            delete this;
            done->give();
        }
    }

    SysSemaphore gate{SysSemaphore::NOT_AVAILABLE, 1, true};
    SysSemaphore started{SysSemaphore::NOT_AVAILABLE, 1, true};
    std::atomic<int> runs{0};
    std::atomic<bool> sawRunning{false};
    SysSemaphore* selfDone = nullptr; // set: run() deletes its own object
};

} // namespace

TEST(SysThreader, SpawnRunsBodyOnceAtATimeAndSelfDeletionIsAllowed)
{
    GatedBody body;
    SysThreadId id = 0;
    {
        SysThreader threader; // may go before the thread
        ASSERT_EQ(threader.spawn(&id, &body, "gated", SysThreadPriorityNormal, 0), 0);
        ASSERT_EQ(body.started.take(-1), SysSemaphore::OK);
        EXPECT_TRUE(body.sawRunning.load());
        // The body's thread is still inside run(): a second spawn is refused.
        EXPECT_EQ(threader.spawn(nullptr, &body, "again", SysThreadPriorityHigh, 0), -1);
    }
    EXPECT_EQ(body.runs.load(), 0);
    body.gate.give();
    body.waitForThreadCompletion();
    EXPECT_EQ(body.runs.load(), 1);
    EXPECT_FALSE(body.isThreadRunning());

    // A body deleting itself on its own thread does not stop the process.
    SysSemaphore done(SysSemaphore::NOT_AVAILABLE, 1, true);
    GatedBody* self = new GatedBody;
    self->selfDone = &done;
    self->gate.give();
    ASSERT_EQ(SysThreader().spawn(nullptr, self, "self", SysThreadPriorityNormal, 0), 0);
    EXPECT_EQ(done.take(-1), SysSemaphore::OK);
}
