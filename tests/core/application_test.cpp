// The application hub: instance lifecycle, construction checks, names, and
// posting from other threads while applications come and go.
#include <atomic>
#include <thread>

#include "core_fixture.h"
#include "deathstyle.h"
#include "utimer.h"

TEST(Application, InstanceLifecycleModesAndPhoneletNames)
{
    EXPECT_EQ(UString("DesktopPhonelet"), UApplication::getPhoneletName(1));
    EXPECT_TRUE(UApplication::getPhoneletName(8).empty());
    // A byte of 0x81 is a negative number, whatever the signedness of char.
    EXPECT_TRUE(UApplication::getPhoneletName(static_cast<char>(0x81)).empty());

    EXPECT_EQ(nullptr, UApplication::instance());
    {
        UApplication app("A", new MemoryScreen, UApplication::UIMode(7)); // standalone
        EXPECT_EQ(&app, UApplication::instance());
        EXPECT_EQ(nullptr, app.appServer());
        EXPECT_EQ(nullptr, app.appClient());
        app.requestFullScreen(); // no client: ignored
    }
    EXPECT_EQ(nullptr, UApplication::instance());
}

TEST(ApplicationDeathTest, SecondApplicationOrNullScreenStopsTheProcess)
{
    GTEST_FLAG_SET(death_test_style, utkDeathTestStyle());
    EXPECT_DEATH(
        {
            UApplication first("A", new MemoryScreen, UApplication::UIMode(0));
            UApplication second("B", new MemoryScreen, UApplication::UIMode(0));
        },
        "src/uapplication.*UERROR: UApplication is already created");
    EXPECT_DEATH({ UApplication app("A", nullptr, UApplication::UIMode(0)); },
                 "src/uapplication.*UERROR: Screen is NUL");
}

namespace {

// Counts the posts of other threads; on each post of the main thread it
// starts and stops a timer of its own (taking the timer manager's lock).
struct TimerTouchingApp : UApplication {
    std::atomic<int> posts{0}, foreignPosts{0};
    std::thread::id mainThread = std::this_thread::get_id();
    UTimer* own = nullptr;
    TimerTouchingApp() : UApplication("T", new MemoryScreen, UApplication::UIMode(0))
    {
        own = new UTimer(this, 50);
    }
    ~TimerTouchingApp() override { delete own; }
    void postEvent(UEvent* e) override
    {
        ++posts;
        if (std::this_thread::get_id() == mainThread) {
            own->start();
            own->stop();
        } else {
            ++foreignPosts;
        }
        UApplication::postEvent(e);
    }
};

} // namespace

// Main-thread posts reach the override, which takes the timer manager's
// lock, over several ticks of the timer thread posting: a lock order fault
// deadlocks here.
TEST(Application, DerivedPostEventMayDriveTimersWhileTheTimerThreadPosts)
{
    UAgent sink;
    UTimer ticking(&sink, 1); // fires on every tick
    ticking.start();
    for (int round = 0; round < 3; ++round) {
        TimerTouchingApp app;
        UAgent a, b(&a);
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(50);
        while (std::chrono::steady_clock::now() < end) {
            for (int i = 0; i < 100; ++i)
                b.emit(1);
            app.eventLoop()->processPendingEvents();
        }
        EXPECT_GE(app.posts.load(), 100);
    }
    ticking.stop();
}

// Another thread posts without pause while derived applications are built,
// run until one of its posts reached the override, and destroyed: a post
// reaches only a complete event loop (ThreadSanitizer and AddressSanitizer
// watch this).
TEST(Application, PostsFromOtherThreadsNeverReachAHalfBuiltApplication)
{
    std::atomic<bool> done{false};
    std::thread poster([&] {
        while (!done.load())
            UApplication::postThroughInstance(new UEvent(nullptr, 1));
    });
    // Keeps itself queued until another thread's post reached the override
    // (they reach it only in run()), or a deadline passed.
    struct Waiter : UAgent {
        TimerTouchingApp* app = nullptr;
        std::chrono::steady_clock::time_point deadline;
        void event(UEvent*) override
        {
            if (app->foreignPosts.load() > 0 || std::chrono::steady_clock::now() > deadline)
                app->stop();
            else
                emit(1, this);
        }
    } waiter;
    for (int round = 0; round < 100; ++round) {
        TimerTouchingApp app; // every tenth round waits for a foreign post
        const bool wait = round % 10 == 0;
        waiter.app = &app;
        waiter.deadline = std::chrono::steady_clock::now() + std::chrono::seconds(wait ? 2 : 0);
        waiter.emit(1, &waiter);
        app.run();
        if (wait && app.foreignPosts.load() == 0) {
            ADD_FAILURE() << "no other thread's post reached the override in round " << round;
            break;
        }
    }
    done = true;
    poster.join();
}
