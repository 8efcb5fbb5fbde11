// The application hands show and hide requests (types 8 and 7) and keys to
// the active window, and reports when there is none.
#include "ukeys.h"
#include "widget_fixture.h"

namespace {

using Log = std::vector<std::string>;

UKeyEvent* makeKey(UAgent* target, unsigned short code, int state)
{
    UKeyEvent* k = new UKeyEvent(target, UEvent::Key);
    k->m_key = code;
    k->m_state = state;
    return k;
}

} // namespace

TEST_F(WidgetTest, ApplicationShowsAndHidesTheActiveWindow)
{
    UWidget other(nullptr);
    UWidget win(nullptr);
    win.setCoordinates(0, 0, 9, 9);
    win.enableStyleFlag(UWidget::Border);
    wm->show(&win);
    drain();
    ASSERT_EQ(36, screen->inkCount());
    forget();

    testing::internal::CaptureStdout();
    app->postEvent(new UEvent(app, UEvent::AppHide));
    drain();
    EXPECT_FALSE(win.isVisible());
    EXPECT_EQ(&win, wm->activeWindow());
    EXPECT_EQ(0, screen->inkCount()); // erased at once
    EXPECT_TRUE(paints().empty());

    app->postEvent(new UEvent(app, 100)); // other types: nothing
    drain();
    EXPECT_FALSE(win.isVisible());
    EXPECT_TRUE(paints().empty());

    app->postEvent(new UEvent(app, UEvent::AppShow));
    drain();
    EXPECT_TRUE(win.isVisible());
    EXPECT_EQ(36, screen->inkCount());
    // setVisible(true) posts one, refresh() another.
    EXPECT_EQ((std::vector<UAgent*>{&win, &win}), paints());
    EXPECT_EQ("", testing::internal::GetCapturedStdout());
}

TEST_F(WidgetTest, ApplicationHandsKeysToTheActiveWindowOnly)
{
    Log log;
    ProbeWidget first(nullptr, "first", &log);
    ProbeWidget second(nullptr, "second", &log);
    ProbeWidget* row = new ProbeWidget(&second, "row", &log);
    wm->show(&second);
    forget();
    log.clear();

    testing::internal::CaptureStdout();
    UKeyEvent* down = makeKey(app, KEY_DOWN, KEY_PRESSED);
    app->postEvent(down);
    drain();
    EXPECT_EQ((Log{"second:key4", "row:key4"}), log);

    UKeyEvent direct(app, UEvent::Key);
    direct.m_key = KEY_SELECT;
    direct.m_state = KEY_RELEASED;
    EXPECT_FALSE(app->keyEvent(&direct));
    row->consumeKeys = true;
    EXPECT_TRUE(app->keyEvent(&direct));
    EXPECT_EQ("", testing::internal::GetCapturedStdout());
}

TEST_F(WidgetTest, WithoutActiveWindowEveryEventAndKeyIsReportedOnce)
{
    {
        UWidget gone(nullptr);
    }
    ASSERT_EQ(nullptr, wm->activeWindow());
    testing::internal::CaptureStdout();
    app->postEvent(new UEvent(app, UEvent::AppShow));
    app->postEvent(new UEvent(app, UEvent::AppHide));
    app->postEvent(new UEvent(app, 0));
    app->postEvent(makeKey(app, KEY_UP, KEY_HELD));
    drain();
    UKeyEvent direct(app, UEvent::Key);
    EXPECT_FALSE(app->keyEvent(&direct));
    EXPECT_EQ("No focused widget found, consuming event\n"
              "No focused widget found, consuming event\n"
              "No focused widget found, consuming event\n"
              "No focused widget found, consuming keyEvent\n"
              "No focused widget found, consuming keyEvent\n",
              testing::internal::GetCapturedStdout());
    EXPECT_TRUE(paints().empty());
}
