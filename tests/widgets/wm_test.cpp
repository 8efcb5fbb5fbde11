// The window manager and the paint event: the active window, clearing,
// focus, stacking with borrowed entries, one flush per paint event; the
// application's show, hide and keys to the active window, and the line it
// prints when there is none.
#include "widget_fixture.h"

// Visibility needs every ancestor and the active window.
TEST_F(WidgetTest, ActiveWindowFollowsRegistrationAndShow)
{
    UWidget* a = new UWidget(nullptr);
    UWidget* b = new UWidget(nullptr);
    UWidget* child = new UWidget(b);
    UWidget* grandchild = new UWidget(child);
    EXPECT_EQ(a, wm->activeWindow());
    EXPECT_TRUE(a->isVisible());
    EXPECT_FALSE(grandchild->isVisible());
    forget();
    grandchild->refresh(); // invisible: nothing posted
    EXPECT_TRUE(paints().empty());
    b->show();
    EXPECT_EQ(b, wm->activeWindow());
    EXPECT_EQ(Targets{b}, paints()); // exactly one, from repaint()
    EXPECT_TRUE(grandchild->isVisible());
    child->setVisible(false);
    EXPECT_FALSE(grandchild->isVisible());
    child->setVisible(true);

    delete a;
    EXPECT_EQ(b, wm->activeWindow());
    b->hide(); // stays the active window, invisible
    EXPECT_EQ(b, wm->activeWindow());
    EXPECT_FALSE(grandchild->isVisible());
    delete b;
    EXPECT_EQ(nullptr, wm->activeWindow());
}

TEST_F(WidgetTest, ClearingTakesWidthAndHeightInPixels)
{
    fillInk(URect(0, 0, 199, 48));
    wm->repaint(); // no window: clears 198 x 30 at the top left
    EXPECT_TRUE(app->posted.empty());
    EXPECT_EQ(199 * 48 - 198 * 30, screen->inkCount());
    EXPECT_EQ(0, screen->pixel(198, 29));

    fillInk(URect(0, 0, 199, 48));
    wm->clearArea(0, 0, 191, 47);
    EXPECT_EQ(199 * 48 - 191 * 47, screen->inkCount());
    EXPECT_EQ(0, screen->pixel(191, 46));
}

TEST_F(WidgetTest, FocusShowsOneChildOfTheActiveWindow)
{
    UWidget win(nullptr);
    UWidget* back = new UWidget(&win);
    UWidget* mid = new UWidget(&win);
    new UObject(&win); // not a widget: ignored
    UWidget* front = new UWidget(&win);
    forget();

    wm->requestFocus(mid);
    EXPECT_TRUE(mid->isVisible());
    EXPECT_FALSE(front->isVisible() || back->isVisible());
    EXPECT_EQ(Targets{mid}, paints()); // hiding posts nothing
    forget();
    wm->releaseFocus();
    EXPECT_EQ((Targets{front, mid, back}), paints());
}

TEST_F(WidgetTest, StackingReordersTheActiveWindowsChildren)
{
    UWidget win(nullptr);
    wm->show(&win);
    UWidget* a = new UWidget(&win);
    UWidget* b = new UWidget(&win);
    UWidget* c = new UWidget(&win);
    forget();
    wm->bringToFront(c);
    wm->pushToBack(a);
    EXPECT_EQ((std::list<UObject*>{a, b, c}), win.getChildren());
    EXPECT_TRUE(app->posted.empty()); // painting follows the list (see the painting test)

    // A window destroyed with a borrowed entry does not destroy it.
    UWidget* holder = new UWidget(nullptr);
    UWidget* owned = new UWidget(holder);
    wm->show(&win);
    wm->bringToFront(owned);
    ASSERT_EQ(owned, win.getChildren().back());
    wm->show(holder);
    wm->bringToFront(a);
    delete holder; // destroys owned, which leaves win's list; a survives
    EXPECT_EQ((std::list<UObject*>{a, b, c}), win.getChildren());
    EXPECT_EQ(&win, a->parentWidget());
}

TEST_F(WidgetTest, EachPaintEventFlushesOnceAndADeadOneNotAtAll)
{
    UWidget w(nullptr);
    UWidget* child = new UWidget(&w);
    UWidget hidden(nullptr);
    forget();
    const int flushes = screen->flushCalls;
    w.refresh();
    w.refresh(); // not merged
    child->refresh();
    EXPECT_EQ(3u, drain());
    EXPECT_EQ(flushes + 3, screen->flushCalls);

    app->postEvent(new UPaintEvent(nullptr));
    child->refresh();
    delete child; // its queued event loses its target
    drain();
    EXPECT_EQ(flushes + 3, screen->flushCalls);
    app->postEvent(new UPaintEvent(&hidden)); // paints nothing, still flushes
    drain();
    EXPECT_EQ(flushes + 4, screen->flushCalls);
}

// Hide, show and keys go to the active window; without one, each is
// reported once.
TEST_F(WidgetTest, ApplicationRoutesToTheActiveWindowOrReportsItsAbsence)
{
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
    EXPECT_FALSE(app->keyEvent(&direct));
    row->consumeKeys = true;
    EXPECT_TRUE(app->keyEvent(&direct));
    EXPECT_EQ("", testing::internal::GetCapturedStdout());
}
