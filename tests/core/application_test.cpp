// The application hub: instance lifecycle, construction checks, names,
// routing without a window, full-screen requests outside client mode.
#include "core_fixture.h"
#include "deathstyle.h"

TEST(Application, PhoneletNamesByNumber)
{
    EXPECT_EQ(UString("CallLogPhonelet"), UApplication::getPhoneletName(5));
    EXPECT_EQ(UString("DesktopPhonelet"), UApplication::getPhoneletName(1));
    EXPECT_EQ(UString("MessagesPhonelet"), UApplication::getPhoneletName(7));
    EXPECT_TRUE(UApplication::getPhoneletName(0).empty());
    EXPECT_TRUE(UApplication::getPhoneletName(8).empty());
    // A byte of 0x81 is a negative number, whatever the signedness of char.
    EXPECT_TRUE(UApplication::getPhoneletName(static_cast<char>(0x81)).empty());
    EXPECT_TRUE(UApplication::getPhoneletName(static_cast<char>(0xFF)).empty());
}

TEST(Application, InstanceLifecycleAndModes)
{
    EXPECT_EQ(nullptr, UApplication::instance());
    {
        UApplication app("A", new MemoryScreen, UApplication::UIMode(0));
        EXPECT_EQ(&app, UApplication::instance());
        EXPECT_EQ(nullptr, app.appServer());
        EXPECT_EQ(nullptr, app.appClient());
        EXPECT_NE(nullptr, app.eventLoop());
        EXPECT_EQ(UString("A"), app.getAppName());
        EXPECT_FALSE(app.isEnabled());
        EXPECT_EQ(UGlobal::Latin, app.getLocale());
        EXPECT_TRUE(app.getFont().empty());
        app.requestFullScreen(); // standalone: ignored
        app.releaseFullScreen();
    }
    EXPECT_EQ(nullptr, UApplication::instance());
    UApplication again("B", new MemoryScreen, UApplication::UIMode(7));
    EXPECT_EQ(&again, UApplication::instance());
}

TEST(ApplicationDeathTest, SecondApplicationStopsTheProcess)
{
    GTEST_FLAG_SET(death_test_style, utkDeathTestStyle());
    EXPECT_DEATH(
        {
            UApplication first("A", new MemoryScreen, UApplication::UIMode(0));
            UApplication second("B", new MemoryScreen, UApplication::UIMode(0));
        },
        "src/uapplication.*UERROR: UApplication is already created");
}

TEST(ApplicationDeathTest, NullScreenStopsTheProcess)
{
    GTEST_FLAG_SET(death_test_style, utkDeathTestStyle());
    EXPECT_DEATH({ UApplication app("A", nullptr, UApplication::UIMode(0)); },
                 "src/uapplication.*UERROR: Screen is NUL");
}

TEST_F(CoreTest, DerivedApplicationSeesEveryPost)
{
    // postEvent is the one virtual entry all agents post through.
    delete app;
    struct Counting : UApplication {
        int posts = 0;
        Counting() : UApplication("C", new MemoryScreen, UApplication::UIMode(0)) {}
        void postEvent(UEvent* e) override
        {
            ++posts;
            UApplication::postEvent(e);
        }
    };
    Counting* c = new Counting;
    app = c;
    UAgent a, b(&a);
    b.emit(1);
    b.emit(2, &a);
    b.emit(new UEvent);
    EXPECT_EQ(3, c->posts);
    EXPECT_EQ(3u, drain());
}
