// The application hands show and hide requests (types 8 and 7) and keys to
// the active window, and reports when there is none.
#include "widget_fixture.h"

TEST_F(WidgetTest, ApplicationRoutesToTheActiveWindow)
{
    Log log;
    ProbeWidget first(nullptr, "first", &log);
    ProbeWidget win(nullptr, "win", &log);
    ProbeWidget* row = new ProbeWidget(&win, "row", &log);
    win.setCoordinates(0, 0, 9, 9);
    win.enableStyleFlag(UWidget::Border);
    wm->show(&win);
    drain();
    ASSERT_EQ(36, screen->inkCount());
    forget();
    log.clear();
    testing::internal::CaptureStdout();

    app->postEvent(new UEvent(app, UEvent::AppHide));
    drain();
    EXPECT_FALSE(win.isVisible());
    EXPECT_EQ(0, screen->inkCount()); // erased at once
    EXPECT_TRUE(paints().empty());
    app->postEvent(new UEvent(app, 100)); // other types: nothing
    app->postEvent(new UEvent(app, UEvent::AppShow));
    drain();
    EXPECT_EQ(36, screen->inkCount());
    EXPECT_EQ((Targets{&win, &win}), paints()); // setVisible(true), then refresh()
    log.clear();

    app->postEvent(makeKey(app, KEY_DOWN, KEY_PRESSED));
    drain();
    EXPECT_EQ((Log{"win:key4", "row:key4"}), log);
    UKeyEvent direct(app, UEvent::Key);
    EXPECT_FALSE(app->keyEvent(&direct));
    row->consumeKeys = true;
    EXPECT_TRUE(app->keyEvent(&direct));
    EXPECT_EQ("", testing::internal::GetCapturedStdout());
}

TEST_F(WidgetTest, WithoutActiveWindowEveryEventAndKeyIsReportedOnce)
{
    delete new UWidget(nullptr);
    ASSERT_EQ(nullptr, wm->activeWindow());
    testing::internal::CaptureStdout();
    app->postEvent(new UEvent(app, UEvent::AppShow));
    app->postEvent(new UEvent(app, UEvent::AppHide));
    app->postEvent(makeKey(app, KEY_UP, KEY_HELD));
    drain();
    UKeyEvent direct(app, UEvent::Key);
    EXPECT_FALSE(app->keyEvent(&direct));
    EXPECT_EQ("No focused widget found, consuming event\n"
              "No focused widget found, consuming event\n"
              "No focused widget found, consuming keyEvent\n"
              "No focused widget found, consuming keyEvent\n",
              testing::internal::GetCapturedStdout());
    EXPECT_TRUE(paints().empty());
}
