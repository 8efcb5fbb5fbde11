#include "syssemaphore.h"
#include "sysmutex.h"
#include "systhread.h"

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

TEST(SysSemaphore, TimeoutsAndCountLimits)
{
    SysSemaphore sem(SysSemaphore::NOT_AVAILABLE, 3, true);
    EXPECT_EQ(sem.take(0), SysSemaphore::TIMED_OUT);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(sem.take(20), SysSemaphore::TIMED_OUT);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));

    for (int i = 0; i < 5; ++i)
        sem.give(); // two beyond the limit are dropped
    EXPECT_EQ(sem.count(), 3);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(sem.take(0), SysSemaphore::OK) << i;
    EXPECT_EQ(sem.take(0), SysSemaphore::TIMED_OUT);

    EXPECT_EQ(SysSemaphore(10, 2, false).count(), 2);
    EXPECT_EQ(SysSemaphore(-4, 2, false).count(), 0);
}

// Waiters with and without a time limit; every give is taken exactly once.
TEST(SysSemaphore, EveryGiveWakesOneTakerAcrossThreads)
{
    const int perThread = 2000;
    SysSemaphore sem(SysSemaphore::NOT_AVAILABLE, 1000000, true);
    std::atomic<int> taken{0};
    std::vector<std::thread> threads;
    for (int timeout : {-1, 60000})
        threads.emplace_back([&, timeout] {
            for (int i = 0; i < perThread; ++i)
                taken += sem.take(timeout) == SysSemaphore::OK;
        });
    for (int p = 0; p < 2; ++p)
        threads.emplace_back([&] {
            for (int i = 0; i < perThread; ++i)
                sem.give();
        });
    for (std::thread& t : threads)
        t.join();
    EXPECT_EQ(taken.load(), 2 * perThread);
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
    ~GatedBody() override { waitForThreadCompletion(); }
    void run() override
    {
        // The handle is in place before run() starts: reading it here is
        // no race with spawn() (ThreadSanitizer checks).
        sawRunning = isThreadRunning();
        started.give();
        gate.take(-1);
        runThread = std::this_thread::get_id();
        ++runs;
    }

    SysSemaphore gate{SysSemaphore::NOT_AVAILABLE, 1, true};
    SysSemaphore started{SysSemaphore::NOT_AVAILABLE, 1, true};
    std::thread::id runThread;
    std::atomic<int> runs{0};
    std::atomic<bool> sawRunning{false};
};

// Deletes its own object from its own thread.
class SelfDeleting : public SysThreadable {
public:
    explicit SelfDeleting(SysSemaphore* done) : m_done(done) {}
    void run() override
    {
        SysSemaphore* done = m_done;
        delete this;
        done->give();
    }
    SysSemaphore* m_done;
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
        EXPECT_EQ(threader.spawn(&id, nullptr, "null", SysThreadPriorityLow, 0), -1);
    }
    EXPECT_EQ(body.runs.load(), 0);
    body.gate.give();
    body.waitForThreadCompletion();
    EXPECT_EQ(body.runs.load(), 1);
    EXPECT_NE(body.runThread, std::this_thread::get_id());
    EXPECT_FALSE(body.isThreadRunning());
    body.waitForThreadCompletion(); // again, and on a body that never ran
    GatedBody idle;
    idle.waitForThreadCompletion();

    // A body deleting itself on its own thread does not stop the process.
    SysSemaphore done(SysSemaphore::NOT_AVAILABLE, 1, true);
    SysThreader threader;
    ASSERT_EQ(threader.spawn(nullptr, new SelfDeleting(&done), "self", SysThreadPriorityNormal, 0), 0);
    EXPECT_EQ(done.take(-1), SysSemaphore::OK);
}
