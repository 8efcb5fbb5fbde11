// The window manager and the paint event: which window is active after each
// registration, what each operation posts, focus and stacking among the
// active window's children, clearing, and one flush per paint event.
#include "widget_fixture.h"

namespace {

using Log = std::vector<std::string>;

} // namespace

TEST_F(WidgetTest, ActiveWindowFollowsRegistrationAndShow)
{
    EXPECT_EQ(nullptr, wm->activeWindow());
    UWidget* a = new UWidget(nullptr);
    UWidget* b = new UWidget(nullptr);
    EXPECT_EQ(a, wm->activeWindow());
    forget();

    b->show();
    EXPECT_EQ(b, wm->activeWindow());
    EXPECT_EQ(std::vector<UAgent*>{b}, paints()); // exactly one, from repaint()
    forget();

    UWidget* c = new UWidget(nullptr);
    EXPECT_EQ(a, wm->activeWindow());
    EXPECT_FALSE(b->isVisible());
    EXPECT_TRUE(paints().empty());

    wm->addWindow(c); // already there: not added twice, still resets
    EXPECT_EQ(3u, wm->windows().size());

    UWidget* child = new UWidget(c);
    wm->show(child); // not a window: nothing
    EXPECT_EQ(a, wm->activeWindow());
    EXPECT_TRUE(paints().empty());

    delete a;
    EXPECT_EQ(b, wm->activeWindow());
    delete c;
    delete b;
    EXPECT_EQ(nullptr, wm->activeWindow());
    EXPECT_TRUE(wm->windows().empty());
}

TEST_F(WidgetTest, RepaintWithoutWindowClearsTheTopArea)
{
    {
        UDrawer d;
        d.setBrush(0);
        d.fillRect(URect(0, 0, 199, 48));
    }
    forget();
    wm->repaint();
    EXPECT_TRUE(app->posted.empty());
    // Columns 0..197 and rows 0..29 are cleared; column 198 and row 30 stay.
    EXPECT_EQ(48 + 198 * 18, screen->inkCount());
    EXPECT_EQ(255, screen->pixel(197, 29));
    EXPECT_EQ(0, screen->pixel(198, 29));
    EXPECT_EQ(0, screen->pixel(197, 30));

    UWidget w(nullptr);
    wm->repaint();
    EXPECT_EQ(std::vector<UAgent*>{&w}, paints());
}

TEST_F(WidgetTest, ClearAreaTakesAWidthAndHeightInPixels)
{
    {
        UDrawer d;
        d.setBrush(0);
        d.fillRect(URect(0, 0, 199, 48));
    }
    wm->clearArea(0, 0, 191, 47);
    EXPECT_EQ(255, screen->pixel(190, 46));
    EXPECT_EQ(0, screen->pixel(191, 46));
    EXPECT_EQ(0, screen->pixel(190, 47));
    EXPECT_EQ(199 * 48 - 191 * 47, screen->inkCount());
}

TEST_F(WidgetTest, FocusShowsOneChildOfTheActiveWindow)
{
    Log log;
    ProbeWidget win(nullptr, "win", nullptr);
    ProbeWidget* back = new ProbeWidget(&win, "back", &log);
    ProbeWidget* mid = new ProbeWidget(&win, "mid", &log);
    new UObject(&win); // not a widget: ignored
    ProbeWidget* front = new ProbeWidget(&win, "front", &log);
    UWidget other(nullptr);
    forget();

    wm->requestFocus(mid);
    EXPECT_TRUE(mid->isVisible());
    EXPECT_FALSE(front->isVisible());
    EXPECT_FALSE(back->isVisible());
    EXPECT_EQ(std::vector<UAgent*>{mid}, paints()); // the hidden ones post nothing
    forget();

    // Not a child: every child is hidden, then the back of the list shown.
    wm->requestFocus(&other);
    EXPECT_TRUE(back->isVisible());
    EXPECT_FALSE(mid->isVisible());
    EXPECT_FALSE(front->isVisible());
    EXPECT_EQ(std::vector<UAgent*>{back}, paints());
    forget();

    wm->releaseFocus();
    EXPECT_TRUE(front->isVisible());
    EXPECT_TRUE(mid->isVisible());
    EXPECT_EQ((std::vector<UAgent*>{front, mid, back}), paints());
}

TEST_F(WidgetTest, StackingReordersTheActiveWindowsChildren)
{
    Log log;
    ProbeWidget win(nullptr, "win", &log);
    UWidget empty(nullptr);
    UWidget* stranger = new UWidget(nullptr);

    wm->show(&empty);
    wm->bringToFront(stranger); // no children: nothing
    EXPECT_TRUE(empty.getChildren().empty());
    wm->bringToFront(&empty); // never into its own list
    wm->pushToBack(&empty);
    EXPECT_TRUE(empty.getChildren().empty());
    wm->pushToBack(stranger); // inserted even into an empty list
    EXPECT_EQ(std::list<UObject*>{stranger}, empty.getChildren());
    EXPECT_EQ(nullptr, stranger->getParent());

    wm->show(&win);
    ProbeWidget* a = new ProbeWidget(&win, "a", &log);
    ProbeWidget* b = new ProbeWidget(&win, "b", &log);
    ProbeWidget* c = new ProbeWidget(&win, "c", &log);
    forget();
    wm->bringToFront(c);
    EXPECT_EQ((std::list<UObject*>{b, a, c}), win.getChildren());
    wm->pushToBack(a);
    EXPECT_EQ((std::list<UObject*>{a, b, c}), win.getChildren());
    EXPECT_TRUE(app->posted.empty()); // stacking repaints nothing

    log.clear();
    win.refresh();
    drain();
    EXPECT_EQ((Log{"win:paint", "a:paint", "a:post", "b:paint", "b:post", "c:paint", "c:post",
                   "win:post"}),
              log);

    // A borrowed entry neither dangles nor is destroyed twice.
    delete stranger;
    EXPECT_TRUE(empty.getChildren().empty());
    UWidget* borrowed = new UWidget(nullptr);
    wm->show(&win);
    wm->bringToFront(borrowed);
    EXPECT_EQ(borrowed, win.getChildren().back());
    EXPECT_EQ(nullptr, borrowed->getParent());
    delete borrowed;
    EXPECT_EQ((std::list<UObject*>{a, b, c}), win.getChildren());
}

TEST_F(WidgetTest, DestroyingAWindowDropsBorrowedChildrenWithoutDestroyingThem)
{
    UWidget* holder = new UWidget(nullptr);
    UWidget* owner = new UWidget(nullptr);
    UWidget* child = new UWidget(owner);
    wm->pushToBack(child); // holder is active
    ASSERT_EQ(std::list<UObject*>{child}, holder->getChildren());
    delete holder;
    EXPECT_EQ(owner, child->parentWidget());
    EXPECT_EQ(std::list<UObject*>{child}, owner->getChildren());
    delete owner;
}

TEST_F(WidgetTest, EachPaintEventFlushesOnceAndADeadOneNotAtAll)
{
    UWidget w(nullptr);
    UWidget* child = new UWidget(&w);
    forget();
    const int flushes = screen->flushCalls;

    w.refresh();
    w.refresh(); // not merged
    child->refresh();
    EXPECT_EQ(3u, paints().size());
    EXPECT_EQ(3u, drain());
    EXPECT_EQ(flushes + 3, screen->flushCalls);

    app->postEvent(new UPaintEvent(nullptr));
    child->refresh();
    delete child; // its queued paint event loses its target
    drain();
    EXPECT_EQ(flushes + 3, screen->flushCalls);

    // An invisible target paints nothing, but the event still flushes.
    UWidget hiddenWindow(nullptr);
    hiddenWindow.enableStyleFlag(UWidget::Border);
    app->postEvent(new UPaintEvent(&hiddenWindow));
    drain();
    EXPECT_EQ(flushes + 4, screen->flushCalls);
    EXPECT_EQ(0, screen->inkCount());
}

TEST_F(WidgetTest, PaintEventNeverReachesTheTargetsEventHandler)
{
    struct Spy : UWidget {
        Spy() : UWidget(nullptr) {}
        void event(UEvent*) override { ++events; }
        int events = 0;
    } spy;
    UPaintEvent e(&spy);
    EXPECT_EQ(UEvent::Paint, e.getType());
    EXPECT_EQ(&spy, e.getTarget());
    EXPECT_EQ(nullptr, e.getSource());
    e.process();
    EXPECT_EQ(0, spy.events);
}
