// Timers driven tick by tick through the manager (no wall-clock waits),
// single-shot and restart rules, stale timer events, ids.
#include <thread>

#include "core_fixture.h"
#include "udatetime.h"
#include "utimer.h"
#include "utimermanager.h"

using Log = std::vector<std::string>;

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
    std::vector<int> runTicks(UTimer&, TickProbe& p, int ticks)
    {
        for (int i = 1; i <= ticks; ++i) {
            p.tick = i;
            UTimerManager::instance()->tick(10);
            drain();
        }
        return p.fired;
    }
};

TEST_F(TimerTest, FifteenMillisecondsFiresOnTicksTwoThreeFiveSix)
{
    TickProbe p;
    UTimer t(&p, 15);
    t.start();
    EXPECT_EQ((std::vector<int>{2, 3, 5, 6, 8, 9}), runTicks(t, p, 9));
    t.stop();
}

TEST_F(TimerTest, OneSecondFiresEveryHundredTicksAndShortIntervalsOncePerTick)
{
    TickProbe p;
    UTimer t(&p, 1000);
    t.start();
    EXPECT_EQ((std::vector<int>{100, 200, 300}), runTicks(t, p, 300));
    t.stop();

    TickProbe q;
    UTimer fast(&q, 3);
    fast.start();
    EXPECT_EQ((std::vector<int>{1, 2, 3, 4}), runTicks(fast, q, 4));
    EXPECT_EQ(28u, fast.getElapsedTime()); // surplus keeps growing: 4 * (10 - 3)
    fast.stop();
}

TEST_F(TimerTest, ZeroIntervalFiresOnceAtOnceAndStaysIdle)
{
    TickProbe p;
    UTimer t(&p, 0);
    t.start();
    EXPECT_FALSE(t.isRunning());
    EXPECT_EQ(1u, app->eventLoop()->pending());
    // The event is dropped at delivery: its timer is not running.
    drain();
    EXPECT_TRUE(p.fired.empty());
}

TEST_F(TimerTest, RestartClearsThePeriodWithoutSecondRegistration)
{
    TickProbe p;
    UTimer t(&p, 30);
    t.start();
    runTicks(t, p, 2);
    t.start(); // restart: elapsed back to 0
    EXPECT_EQ(0u, t.getElapsedTime());
    p.fired.clear();
    EXPECT_EQ((std::vector<int>{3, 6}), runTicks(t, p, 6));
    // Only one registration even after two starts: one tick, one advance.
    UTimerManager* m = UTimerManager::instance();
    unsigned int before = m->count();
    t.start();
    EXPECT_EQ(before, m->count());
    t.stop();
    EXPECT_EQ(before - 1, m->count());
}

TEST_F(TimerTest, StoppedTimersQueuedEventNeverReachesOwner)
{
    TickProbe p;
    UTimer t(&p, 10);
    t.start();
    t.advance(10);
    EXPECT_EQ(1u, app->eventLoop()->pending());
    t.stop();
    drain();
    EXPECT_TRUE(p.fired.empty());
}

TEST_F(TimerTest, DestroyedTimersQueuedEventIsDroppedWithoutReadingIt)
{
    TickProbe p;
    UTimer* t = new UTimer(&p, 10);
    t->start();
    t->advance(10);
    delete t; // ASan would report a read of the freed timer at delivery
    drain();
    EXPECT_TRUE(p.fired.empty());
}

TEST_F(TimerTest, SingleShotFiresOnceThenIsSpentUntilStopStart)
{
    TickProbe p;
    UTimer t(&p, 20);
    t.setSingleShot(true);
    t.start();
    UTimerManager* m = UTimerManager::instance();
    EXPECT_EQ((std::vector<int>{2}), runTicks(t, p, 6));
    EXPECT_TRUE(t.isRunning()); // spent, but still reports running
    unsigned int registered = m->count();
    t.start(); // alone it does not revive it
    EXPECT_EQ(registered, m->count());
    t.stop();
    t.start();
    EXPECT_EQ(registered + 1, m->count());
    t.stop();
}

TEST_F(TimerTest, OwnerlessTimerNeverDelivers)
{
    UTimer t(nullptr, 10);
    t.start();
    t.advance(10);
    EXPECT_EQ(0u, app->eventLoop()->pending());
    t.setSingleShot(true);
    t.advance(10); // only the self event is posted
    EXPECT_EQ(1u, app->eventLoop()->pending());
    drain();
    t.stop();
}

TEST_F(TimerTest, EventCarriesTheTimerId)
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
    a.stop();
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

TEST_F(TimerTest, RealThreadDeliversAndApplicationCanDieWithTimersRunning)
{
    // The manager thread posts while the main thread tears the application
    // down: no event may reach the destroyed loop (ASan/TSan watch this).
    UTimerManager::instance()->setPaused(false);
    TickProbe p;
    UTimer t(&p, 10);
    t.start();
    unsigned long long start = UTimerManager::instance()->ticks();
    while (UTimerManager::instance()->ticks() < start + 3)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    drain();
    EXPECT_FALSE(p.fired.empty());
    delete app;
    app = nullptr;
    std::this_thread::sleep_for(std::chrono::milliseconds(30)); // fires with no application
    app = new UApplication("again", new MemoryScreen, UApplication::UIMode(0));
    t.stop();
}

TEST(DateTime, DefaultValueIsEmptyAndNowIsSane)
{
    UDateTime empty;
    EXPECT_EQ(0, empty.year());
    EXPECT_EQ(0, empty.month());
    UDateTime a = UDateTime::now();
    EXPECT_GE(a.year(), 2020);
    EXPECT_GE(a.month(), 1);
    EXPECT_LE(a.month(), 12);
    EXPECT_GE(a.day(), 1);
    EXPECT_LE(a.hour(), 23);
}

TEST(DateTime, FieldsComeFromLocaltime)
{
    // 2024-03-05 14:07:09 in the local zone.
    struct tm want = {};
    want.tm_year = 124;
    want.tm_mon = 2;
    want.tm_mday = 5;
    want.tm_hour = 14;
    want.tm_min = 7;
    want.tm_sec = 9;
    want.tm_isdst = -1;
    time_t t = mktime(&want);
    UDateTime first = UDateTime::now();
    // All values share the C library's one result: converting another time
    // shows through every value.
    localtime(&t);
    EXPECT_EQ(2024, first.year());
    EXPECT_EQ(3, first.month());
    EXPECT_EQ(5, first.day());
    EXPECT_EQ(14, first.hour());
    EXPECT_EQ(7, first.minute());
    EXPECT_EQ(9, first.second());
}
