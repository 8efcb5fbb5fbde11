// The widget base: painting traversal order and drawer state, pictures in
// both positioning modes, visibility through the ancestors, erase on hide,
// key routing, re-parenting and geometry with 16-bit wrap-around.
#include "textart.h"
#include "widget_fixture.h"

namespace {

using Log = std::vector<std::string>;

} // namespace

TEST_F(WidgetTest, PaintingVisitsTheTreeInOrderWithAFreshDrawerEach)
{
    Log log;
    ProbeWidget root(nullptr, "root", &log);
    root.setFont("RootFont");
    root.enableStyleFlag(UWidget::Inverted);
    ProbeWidget* a = new ProbeWidget(&root, "a", &log);
    ProbeWidget* b = new ProbeWidget(&root, "b", &log);
    ProbeWidget* b1 = new ProbeWidget(b, "b1", &log);
    new UObject(&root); // not a widget: skipped, destroyed with root
    ProbeWidget* hidden = new ProbeWidget(&root, "hidden", &log);
    new ProbeWidget(hidden, "under", &log);
    hidden->setVisible(false);
    app->setFont("AppFont");
    forget();
    const int flushes = screen->flushCalls;

    root.refresh();
    ASSERT_EQ(std::vector<UAgent*>{&root}, paints());
    drain();

    // Newest child first; a child's subtree between its parent's paint and
    // post-paint; hidden subtrees skipped entirely.
    EXPECT_EQ((Log{"root:paint", "b:paint", "b1:paint", "b1:post", "b:post", "a:paint", "a:post",
                   "root:post"}),
              log);
    EXPECT_EQ(flushes + 1, screen->flushCalls);
    EXPECT_EQ(screen->beginCalls, screen->endCalls);

    // Inverted swaps pen and brush for the root only; fonts fall back to the
    // application's, not to the parent's.
    EXPECT_EQ(255, root.seenPen);
    EXPECT_EQ(0, root.seenBrush);
    EXPECT_EQ(UString("RootFont"), root.seenFont);
    EXPECT_EQ(0, a->seenPen);
    EXPECT_EQ(255, a->seenBrush);
    EXPECT_EQ(UString("AppFont"), a->seenFont);
    EXPECT_EQ(UString("AppFont"), b1->seenFont);

    // A changed application font shows at the next paint.
    app->setFont("Other");
    root.refresh();
    drain();
    EXPECT_EQ(UString("Other"), a->seenFont);
    EXPECT_EQ(UString("RootFont"), root.seenFont);
    EXPECT_TRUE(root.getFont() == UString("RootFont"));
    EXPECT_TRUE(a->getFont().empty());
}

TEST_F(WidgetTest, RelativeModeTranslatesByTheAncestorsCorners)
{
    UWidget::setPositioningMode(UWidget::Relative);
    UWidget top(nullptr);
    top.setCoordinates(0, 20, 40, 27);
    UWidget* mid = new UWidget(&top);
    mid->setCoordinates(10, 0, 30, 7);
    UWidget* leaf = new UWidget(mid);
    leaf->setCoordinates(2, 2, 5, 5);
    leaf->enableStyleFlag(UWidget::Border);

    UPoint origin(0, 0);
    leaf->mapToGlobal(origin);
    EXPECT_EQ(UPoint(10, 20), origin);
    UPoint p(1, 1);
    top.mapToGlobal(p); // a window adds nothing
    EXPECT_EQ(UPoint(1, 1), p);

    leaf->refresh();
    drain();
    EXPECT_EQ(0, screen->pixel(12, 22));
    EXPECT_EQ(0, screen->pixel(15, 25));
    EXPECT_EQ(12, screen->inkCount());

    screen->clear();
    UWidget::setPositioningMode(UWidget::Absolute);
    leaf->refresh();
    drain();
    EXPECT_EQ(0, screen->pixel(2, 2));
    EXPECT_EQ(0, screen->pixel(5, 5));
    EXPECT_EQ(12, screen->inkCount());
}

TEST_F(WidgetTest, MapToGlobalWrapsAt16Bits)
{
    UWidget top(nullptr);
    top.setRect(URect(UPoint(65530, 2), UPoint(65535, 3)));
    UWidget* child = new UWidget(&top);
    child->setRect(URect(10, 10, 2, 2));
    UWidget* leaf = new UWidget(child);
    UPoint p(8, 0);
    leaf->mapToGlobal(p);
    EXPECT_EQ(UPoint(12, 12), p); // 8 + 10 + 65530 wraps to 12
}

// A window with two overlapping children and a grandchild, in both modes,
// with every style flag combination that matters.
static void buildStyledTree(UWidget& top)
{
    top.setCoordinates(0, 0, 47, 19);
    top.enableStyleFlag(UWidget::Border);
    UWidget* under = new UWidget(&top); // back of the list: painted last, on top
    under->setCoordinates(3, 3, 20, 12);
    under->enableStyleFlag(UWidget::Background);
    under->enableStyleFlag(UWidget::Border);
    under->enableStyleFlag(UWidget::Inverted);
    UWidget* over = new UWidget(&top);
    over->setCoordinates(14, 6, 40, 16);
    over->enableStyleFlag(UWidget::Border);
    UWidget* grandchild = new UWidget(over);
    grandchild->setCoordinates(22, 1, 25, 2);
    grandchild->enableStyleFlag(UWidget::Background);
    grandchild->enableStyleFlag(UWidget::Inverted);
}

TEST_F(WidgetTest, PictureAbsolute)
{
    UWidget top(nullptr);
    buildStyledTree(top);
    screen->clear();
    top.refresh();
    drain();
    EXPECT_TRUE(textart::matchesGolden(screen->art(0, 0, 52, 22), "widget_absolute"));
}

TEST_F(WidgetTest, PictureRelative)
{
    UWidget::setPositioningMode(UWidget::Relative);
    UWidget top(nullptr);
    buildStyledTree(top);
    top.setCoordinates(4, 2, 51, 21);
    top.refresh();
    drain();
    EXPECT_TRUE(textart::matchesGolden(screen->art(0, 0, 64, 30), "widget_relative"));
}

TEST_F(WidgetTest, VisibilityNeedsEveryAncestorAndTheActiveWindow)
{
    UWidget a(nullptr);
    UWidget b(nullptr);
    UWidget* child = new UWidget(&b);
    UWidget* grandchild = new UWidget(child);
    ASSERT_EQ(&a, wm->activeWindow());
    EXPECT_TRUE(a.isVisible());
    EXPECT_FALSE(b.isVisible());
    EXPECT_FALSE(grandchild->isVisible());

    forget();
    grandchild->refresh(); // invisible: posts nothing
    EXPECT_TRUE(paints().empty());

    b.show();
    EXPECT_TRUE(grandchild->isVisible());
    child->setVisible(false);
    EXPECT_FALSE(grandchild->isVisible());
    child->setVisible(true);
    b.hide(); // stays the active window, invisible
    EXPECT_EQ(&b, wm->activeWindow());
    EXPECT_FALSE(b.isVisible());
    EXPECT_FALSE(grandchild->isVisible());
}

TEST_F(WidgetTest, HidingErasesTheStoredRectangleOnceAndPostsNothing)
{
    UWidget::setPositioningMode(UWidget::Relative);
    UWidget top(nullptr);
    top.setCoordinates(20, 0, 60, 20);
    UWidget* child = new UWidget(&top);
    child->setCoordinates(2, 2, 5, 5);
    child->enableStyleFlag(UWidget::Border);
    top.refresh();
    drain();
    ASSERT_EQ(0, screen->pixel(22, 2)); // the outline, translated
    {
        UDrawer d;
        d.fillRect(URect(0, 0, 10, 10)); // brush: background
        d.setBrush(0);
        d.fillRect(URect(2, 2, 4, 4)); // ink where the stored rectangle is
    }
    forget();

    child->hide();
    EXPECT_TRUE(paints().empty());
    // The erase is untranslated: it clears (2,2)-(5,5), not the outline.
    EXPECT_EQ("......\n"
              "......\n"
              "......\n"
              "......\n",
              screen->art(2, 2, 6, 4));
    EXPECT_EQ(0, screen->pixel(22, 2));

    // Hiding what is already invisible erases nothing.
    {
        UDrawer d;
        d.drawPixel(3, 3);
    }
    child->hide();
    EXPECT_EQ(0, screen->pixel(3, 3));

    // Showing again posts one paint event for the child.
    child->show();
    EXPECT_EQ(std::vector<UAgent*>{child}, paints());
}

TEST_F(WidgetTest, AddAndRemoveWidgetRepaintAndMoveBetweenWindowAndChild)
{
    UWidget parent(nullptr);
    UWidget* w = new UWidget(nullptr);
    ASSERT_NE(wm->find(w), wm->windows().end());
    forget();

    parent.addWidget(w);
    EXPECT_EQ(&parent, w->parentWidget());
    EXPECT_EQ(wm->find(w), wm->windows().end());
    EXPECT_EQ((std::vector<UAgent*>{w, &parent}), paints()); // child first, then parent
    forget();

    wm->show(&parent);
    forget();
    w->setCoordinates(0, 0, 3, 3);
    {
        UDrawer d;
        d.setBrush(0);
        d.fillRect(w->getRect());
    }
    parent.removeWidget(w);
    EXPECT_EQ(nullptr, w->parentWidget());
    EXPECT_NE(wm->find(w), wm->windows().end());
    EXPECT_EQ(&parent, wm->activeWindow()); // the first window again
    EXPECT_EQ(std::vector<UAgent*>{&parent}, paints());
    EXPECT_EQ(0, screen->inkCount()); // w erased itself while it was visible
    delete w;
}

TEST_F(WidgetTest, ReparentingResetsTheActiveWindowOnlyWhenTheWindowListChanges)
{
    UWidget a(nullptr);
    UWidget b(nullptr);
    UWidget* c = new UWidget(&a);
    wm->show(&b);
    ASSERT_EQ(&b, wm->activeWindow());

    c->setParent(&b); // child to child: the list is untouched
    EXPECT_EQ(&b, wm->activeWindow());
    c->setParent(nullptr); // becomes a window at the back
    EXPECT_EQ(&a, wm->activeWindow());
    EXPECT_EQ(c, wm->windows().back());
    wm->show(c);
    c->setParent(&a); // stops being a window
    EXPECT_EQ(&a, wm->activeWindow());
    EXPECT_EQ(2u, wm->windows().size());
    EXPECT_EQ(c, a.getChildren().front());
}

TEST_F(WidgetTest, KeysGoToVisibleChildrenFrontFirstUntilOneConsumes)
{
    Log log;
    ProbeWidget root(nullptr, "root", &log);
    ProbeWidget* first = new ProbeWidget(&root, "first", &log);
    ProbeWidget* hidden = new ProbeWidget(&root, "hidden", &log);
    ProbeWidget* last = new ProbeWidget(&root, "last", &log);
    hidden->setVisible(false);
    hidden->consumeKeys = true;
    first->consumeKeys = true;
    UKeyEvent key(&root, 1);
    key.m_key = 4;

    EXPECT_TRUE(root.keyEvent(&key));
    EXPECT_EQ((Log{"root:key4", "last:key4", "first:key4"}), log);

    log.clear();
    last->consumeKeys = true;
    EXPECT_TRUE(root.keyEvent(&key));
    EXPECT_EQ((Log{"root:key4", "last:key4"}), log);

    log.clear();
    root.setEnabled(false);
    EXPECT_FALSE(root.keyEvent(&key));
    EXPECT_EQ(Log{"root:key4"}, log);
    EXPECT_FALSE(root.isEnabled());

    // A hidden window still gets keys through the application, but its
    // children are invisible with it and are not offered them.
    log.clear();
    root.setEnabled(true);
    root.hide();
    EXPECT_FALSE(app->keyEvent(&key));
    EXPECT_EQ(Log{"root:key4"}, log);
}

TEST_F(WidgetTest, KeyRoutingSurvivesAChildDestroyingItsSibling)
{
    Log log;
    ProbeWidget root(nullptr, "root", &log);
    ProbeWidget* victim = new ProbeWidget(&root, "victim", &log);
    ProbeWidget* killer = new ProbeWidget(&root, "killer", &log);
    victim->consumeKeys = true;
    killer->onKey = [&] { delete victim; };
    UKeyEvent key(&root, 1);
    key.m_key = 13;
    EXPECT_FALSE(root.keyEvent(&key));
    EXPECT_EQ((Log{"root:key13", "killer:key13"}), log);
    EXPECT_EQ(1u, root.getChildren().size());
}

TEST_F(WidgetTest, CoordinatesAndMovesWrapAt16Bits)
{
    UWidget w(nullptr);
    w.setCoordinates(10, 5, 10, 5);
    EXPECT_EQ(URect(UPoint(10, 5), UPoint(10, 5)), w.getRect());
    EXPECT_EQ(0, w.getRect().getWidth());
    w.setCoordinates(0, 0, 255, 255); // 256 pixels: needs more than 8 bits
    EXPECT_EQ(URect(UPoint(0, 0), UPoint(255, 255)), w.getRect());
    w.setCoordinates(10, 7, 5, 3); // reversed corners survive as given
    EXPECT_EQ(URect(UPoint(10, 7), UPoint(5, 3)), w.getRect());

    UWidget* c1 = new UWidget(&w);
    c1->setRect(URect(10, 10, 5, 5));
    UWidget* c2 = new UWidget(&w);
    c2->setRect(URect(1, 0, 1, 1));
    UWidget* g = new UWidget(c1);
    g->setRect(URect(20, 20, 1, 1));
    w.moveChildren(static_cast<unsigned short>(-3), 1);
    EXPECT_EQ(URect(7, 11, 5, 5), c1->getRect());
    EXPECT_EQ(URect(UPoint(65534, 1), UPoint(65534, 1)), c2->getRect());
    EXPECT_EQ(URect(20, 20, 1, 1), g->getRect()); // grandchildren stay
    EXPECT_EQ(URect(UPoint(10, 7), UPoint(5, 3)), w.getRect());
}

TEST_F(WidgetTest, StyleFlagsAreIndependentBits)
{
    UWidget w(nullptr);
    EXPECT_FALSE(w.getStyleFlag(UWidget::Background));
    w.enableStyleFlag(UWidget::Inverted);
    w.enableStyleFlag(UWidget::Border);
    w.disableStyleFlag(UWidget::Inverted);
    EXPECT_TRUE(w.getStyleFlag(UWidget::Border));
    EXPECT_FALSE(w.getStyleFlag(UWidget::Inverted));
    EXPECT_FALSE(w.getStyleFlag(UWidget::Background));
    forget();
    w.enableStyleFlag(UWidget::Background); // setters never repaint
    w.setRect(URect(1, 1, 2, 2));
    w.setEnabled(false);
    w.setFont("X");
    w.setStatusMessageAvailable(true);
    EXPECT_TRUE(app->posted.empty());
}
