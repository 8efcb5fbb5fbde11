// The application hub: instance lifecycle, construction checks, names, and
// posting from other threads while applications come and go.
#include <atomic>
#include <thread>

#include "core_fixture.h"
#include "deathstyle.h"
#include "utimer.h"

TEST(Application, PhoneletNamesByNumber)
{
    EXPECT_EQ(UString("CallLogPhonelet"), UApplication::getPhoneletName(5));
    EXPECT_EQ(UString("DesktopPhonelet"), UApplication::getPhoneletName(1));
    EXPECT_EQ(UString("MessagesPhonelet"), UApplication::getPhoneletName(7));
    EXPECT_TRUE(UApplication::getPhoneletName(0).empty());
    EXPECT_TRUE(UApplication::getPhoneletName(8).empty());
    // A byte of 0x81 is a negative number, whatever the signedness of char.
    EXPECT_TRUE(UApplication::getPhoneletName(static_cast<char>(0x81)).empty());
}

TEST(Application, InstanceLifecycleAndModes)
{
    EXPECT_EQ(nullptr, UApplication::instance());
    {
        UApplication app("A", new MemoryScreen, UApplication::UIMode(0));
        EXPECT_EQ(&app, UApplication::instance());
        EXPECT_EQ(nullptr, app.appServer());
        EXPECT_EQ(nullptr, app.appClient());
        EXPECT_EQ(UString("A"), app.getAppName());
        EXPECT_FALSE(app.isEnabled());
        app.requestFullScreen(); // standalone: ignored
    }
    EXPECT_EQ(nullptr, UApplication::instance());
    UApplication again("B", new MemoryScreen, UApplication::UIMode(7));
    EXPECT_EQ(&again, UApplication::instance());
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

// Sees every post, and starts and stops a timer of its own on each one from
// the main thread, while the timer thread fires another timer every tick.
struct TimerTouchingApp : UApplication {
    std::atomic<int> posts{0};
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
        }
        UApplication::postEvent(e);
    }
};

} // namespace

TEST(Application, DerivedPostEventMayDriveTimersWhileTheTimerThreadPosts)
{
    UAgent sink;
    UTimer ticking(&sink, 1); // fires on every tick
    ticking.start();
    for (int round = 0; round < 3; ++round) {
        TimerTouchingApp app;
        UAgent a, b(&a);
        // Main-thread posts reach the override, which takes the timer
        // manager's lock, over several ticks of the timer thread posting.
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
// run briefly and destroyed: a post reaches only a complete event
// loop (ThreadSanitizer and AddressSanitizer watch this).
TEST(Application, PostsFromOtherThreadsNeverReachAHalfBuiltApplication)
{
    struct Counting : UApplication {
        std::atomic<int> posts{0};
        Counting() : UApplication("C", new MemoryScreen, UApplication::UIMode(0)) {}
        void postEvent(UEvent* e) override
        {
            ++posts;
            UApplication::postEvent(e);
        }
    };
    std::atomic<bool> done{false};
    std::thread poster([&] {
        while (!done.load())
            UApplication::postThroughInstance(new UEvent(nullptr, 1));
    });
    int seenDuringRun = 0;
    for (int round = 0; round < 100; ++round) {
        Counting app;
        Stopper stopper;
        std::thread([&] { UApplication::postThroughInstance(new UEvent(&stopper, 0)); }).join();
        int before = app.posts.load();
        app.run(); // other threads' posts reach the override only in here
        seenDuringRun += app.posts.load() > before;
    }
    done = true;
    poster.join();
    EXPECT_GT(seenDuringRun, 0);
}
