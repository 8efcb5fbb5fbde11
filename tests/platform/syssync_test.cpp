#include "syssemaphore.h"
#include "sysmutex.h"
#include "systhread.h"

#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

TEST(SysSemaphore, TakeWithoutWaitingAndCountLimits)
{
    SysSemaphore empty(SysSemaphore::NOT_AVAILABLE, 3, true);
    EXPECT_EQ(empty.take(0), SysSemaphore::TIMED_OUT);
    EXPECT_EQ(empty.take(5), SysSemaphore::TIMED_OUT);
    EXPECT_EQ(empty.count(), 0);

    for (int i = 0; i < 5; ++i)
        empty.give();
    EXPECT_EQ(empty.count(), 3);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(empty.take(0), SysSemaphore::OK) << i;
    EXPECT_EQ(empty.take(0), SysSemaphore::TIMED_OUT);

    SysSemaphore clamped(10, 2, false);
    EXPECT_EQ(clamped.count(), 2);
    SysSemaphore negative(-4, 2, false);
    EXPECT_EQ(negative.count(), 0);
    EXPECT_EQ(negative.take(0), SysSemaphore::TIMED_OUT);
}

TEST(SysSemaphore, GiveWakesWaiterInAnotherThread)
{
    // Room for both gives, which may come before either waiter is in take().
    SysSemaphore sem(SysSemaphore::NOT_AVAILABLE, 2, true);
    std::atomic<int> unlimited{-2};
    std::atomic<int> limited{-2};
    std::thread a([&] { unlimited = sem.take(-1); });
    std::thread b([&] { limited = sem.take(60000); });
    sem.give();
    sem.give();
    a.join();
    b.join();
    EXPECT_EQ(unlimited.load(), SysSemaphore::OK);
    EXPECT_EQ(limited.load(), SysSemaphore::OK);
    EXPECT_EQ(sem.count(), 0);
}

TEST(SysSemaphore, EveryGiveIsTakenOnceAcrossThreads)
{
    const int perProducer = 2000;
    SysSemaphore sem(SysSemaphore::NOT_AVAILABLE, 1000000, true);
    std::atomic<int> taken{0};
    std::vector<std::thread> threads;
    for (int c = 0; c < 2; ++c)
        threads.emplace_back([&] {
            for (int i = 0; i < perProducer; ++i)
                if (sem.take(-1) == SysSemaphore::OK)
                    ++taken;
        });
    for (int p = 0; p < 2; ++p)
        threads.emplace_back([&] {
            for (int i = 0; i < perProducer; ++i)
                sem.give();
        });
    for (std::thread& t : threads)
        t.join();
    EXPECT_EQ(taken.load(), 2 * perProducer);
    EXPECT_EQ(sem.take(0), SysSemaphore::TIMED_OUT);
}

TEST(SysMutex, CreatedLockedLetsOthersInOnlyAfterTheGive)
{
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
    GatedBody() : gate(SysSemaphore::NOT_AVAILABLE, 1, true) {}
    ~GatedBody() override { waitForThreadCompletion(); }
    void run() override
    {
        started.give();
        gate.take(-1);
        runThread = std::this_thread::get_id();
        ++runs;
    }

    SysSemaphore gate;
    SysSemaphore started{SysSemaphore::NOT_AVAILABLE, 1, true};
    std::thread::id runThread;
    std::atomic<int> runs{0};
};

} // namespace

TEST(SysThreader, SpawnRunsBodyOnItsOwnThreadAndWaitJoins)
{
    GatedBody body;
    SysThreader threader;
    SysThreadId id = 0;
    ASSERT_EQ(threader.spawn(&id, &body, "gated", SysThreadPriorityNormal, 0), 0);
    EXPECT_EQ(body.started.take(-1), SysSemaphore::OK);
    // The body already has a running thread: a second spawn is refused.
    EXPECT_EQ(threader.spawn(nullptr, &body, "again", SysThreadPriorityHigh, 0), -1);
    EXPECT_EQ(body.runs.load(), 0);

    body.gate.give();
    body.waitForThreadCompletion();
    EXPECT_EQ(body.runs.load(), 1);
    EXPECT_NE(body.runThread, std::this_thread::get_id());
    EXPECT_NE(body.runThread, std::thread::id());
    // Waiting again, or on a body that never ran, returns at once.
    body.waitForThreadCompletion();
    GatedBody idle;
    idle.waitForThreadCompletion();
    EXPECT_EQ(idle.runs.load(), 0);

    EXPECT_EQ(threader.spawn(&id, nullptr, "null", SysThreadPriorityLow, 0), -1);
}

TEST(SysThreader, SpawnerMayGoBeforeTheThread)
{
    GatedBody body;
    {
        SysThreader threader;
        ASSERT_EQ(threader.spawn(nullptr, &body, "orphan", SysThreadPriorityNormal, 0), 0);
    }
    body.gate.give();
    body.waitForThreadCompletion();
    EXPECT_EQ(body.runs.load(), 1);
}
