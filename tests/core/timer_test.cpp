// Timers driven tick by tick through the manager, single-shot and restart
// rules, stale timer events, ids, and the real thread's grid.
#include <optional>
#include <thread>

#include "core_fixture.h"
#include "udatetime.h"
#include "utimer.h"
#include "utimermanager.h"

namespace {

// Fires: the tick numbers (1-based) on which the owner received an event.
struct TickProbe : UAgent {
    std::vector<int> fired;
    int tick = 0;
    void timerEvent(UTimerEvent*) override { fired.push_back(tick); }
};

} // namespace

// The manager's thread is paused: time moves only by tick().
class TimerTest : public CoreTest {
protected:
    void SetUp() override
    {
        CoreTest::SetUp();
        UTimerManager::instance()->setPaused(true);
    }
    void TearDown() override
    {
        UTimerManager::instance()->setPaused(false);
        CoreTest::TearDown();
    }
    // Runs manager ticks, delivering the events after each one.
    std::vector<int> runTicks(TickProbe& p, int ticks)
    {
        for (int i = 1; i <= ticks; ++i) {
            p.tick = i;
            UTimerManager::instance()->tick(10);
            drain();
        }
        return p.fired;
    }
};

TEST_F(TimerTest, FiringTicksCarryTheRemainder)
{
    TickProbe p;
    UTimer t(&p, 15);
    t.start();
    EXPECT_EQ((std::vector<int>{2, 3, 5, 6, 8, 9}), runTicks(p, 9));
    t.stop();

    TickProbe q;
    UTimer fast(&q, 3); // below the tick: once per tick, surplus grows
    fast.start();
    EXPECT_EQ((std::vector<int>{1, 2, 3, 4}), runTicks(q, 4));
    EXPECT_EQ(28u, fast.getElapsedTime());
    fast.stop();
}

TEST_F(TimerTest, ZeroIntervalRestartAndSingleShotStates)
{
    TickProbe p;
    UTimer zero(&p, 0);
    zero.start(); // fires at once, stays idle: the event is then dropped
    EXPECT_FALSE(zero.isRunning());
    EXPECT_EQ(1u, app->eventLoop()->pending());
    drain();
    EXPECT_TRUE(p.fired.empty());

    UTimer t(&p, 30);
    t.start();
    runTicks(p, 2);
    t.start(); // restart: period from 0, not registered twice
    EXPECT_EQ(0u, t.getElapsedTime());
    EXPECT_EQ((std::vector<int>{3, 6}), runTicks(p, 6));
    t.stop();

    TickProbe s;
    UTimer single(&s, 20);
    single.setSingleShot(true);
    single.start();
    EXPECT_EQ((std::vector<int>{2}), runTicks(s, 6));
    single.stop();
}

// Queued events of a stopped, a destroyed and a replaced timer never reach
// the owner.
TEST_F(TimerTest, QueuedEventsBelongToOneRunningTimerLifetime)
{
    Log log;
    Recorder owner(&log, "o");
    UTimer a(&owner, 10), b(&owner, 20);
    a.start();
    b.start();
    a.advance(10);
    b.advance(20);
    drain();
    EXPECT_EQ((Log{"o:t" + std::to_string(a.id()), "o:t" + std::to_string(b.id())}), log);

    a.advance(10);
    a.stop();
    UTimer* dying = new UTimer(&owner, 10);
    dying->start();
    dying->advance(10);
    delete dying; // AddressSanitizer would see delivery read the freed timer
    std::optional<UTimer> replaced;
    replaced.emplace(&owner, 10);
    replaced->start();
    replaced->advance(10);
    replaced.emplace(&owner, 10); // same address, new running timer
    replaced->start();
    EXPECT_EQ(3u, app->eventLoop()->pending());
    log.clear();
    drain();
    EXPECT_TRUE(log.empty());
    replaced->stop();
    b.stop();
}

TEST(TimerIds, CountUpAndWrapThroughZero)
{
    unsigned short first = UTimer::generateIDForTheTimer();
    unsigned short prev = first;
    bool sawZero = false;
    for (int i = 0; i < 65536; ++i) {
        unsigned short id = UTimer::generateIDForTheTimer();
        EXPECT_EQ(static_cast<unsigned short>(prev + 1), id);
        sawZero = sawZero || id == 0;
        prev = id;
    }
    EXPECT_TRUE(sawZero);
    EXPECT_EQ(first, static_cast<unsigned short>(prev)); // full cycle plus one
}

// The real thread sleeps between due ticks: firings keep the grid and the
// order of a thread that ran every tick, elapsed times keep counting while
// it sleeps, and it wakes early for a sooner interval.
TEST_F(TimerTest, RealThreadKeepsTheGridWhileSleepingBetweenDueTicks)
{
    UTimerManager* m = UTimerManager::instance();
    Log log;
    struct Owner : Recorder {
        using Recorder::Recorder;
        int left = 10;
        void timerEvent(UTimerEvent* e) override
        {
            Recorder::timerEvent(e);
            if (--left == 0)
                UApplication::instance()->stop();
        }
    } owner(&log, "o");
    UTimer t25(&owner, 25), t40(&owner, 40), slow(&owner, 100000);
    t25.start(); // registered while paused: all start on the same tick
    t40.start();
    slow.start();
    m->setPaused(false);
    app->run();
    // 25 ms: ticks 3 5 8 10 13 15; 40 ms: 4 8 12 16, after 25 ms on a shared
    // tick. A due tick planned one late (on an exact multiple) reorders them.
    const std::string a = "o:t" + std::to_string(t25.id()), b = "o:t" + std::to_string(t40.id());
    EXPECT_EQ((Log{a, b, a, a, b, a, b, a, a, b}), log);
    t25.stop();
    t40.stop();

    unsigned long long elapsed = slow.getElapsedTime();
    std::this_thread::sleep_for(std::chrono::milliseconds(60));
    unsigned long long later = slow.getElapsedTime();
    EXPECT_GE(later, elapsed + 50);
    EXPECT_EQ(0u, later % 10);

    log.clear();
    owner.left = 1;
    slow.setInterval(later + 20); // due in two ticks: the thread must wake
    while (log.empty()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        drain();
    }
    EXPECT_EQ((Log{"o:t" + std::to_string(slow.id())}), log);
    slow.stop();
}

// Month and year are counted from 1 and 0, read from the C library's
// localtime result.
TEST(DateTime, FieldsCountMonthsFromOneAndYearsFromZero)
{
    EXPECT_EQ(0, UDateTime().year()); // no result yet: zeros, no crash
    const time_t t = time(nullptr);
    const UDateTime now = UDateTime::now();
    const struct tm local = *localtime(&t);
    EXPECT_EQ(now.year() * 100 + now.month(), (local.tm_year + 1900) * 100 + local.tm_mon + 1);
}
