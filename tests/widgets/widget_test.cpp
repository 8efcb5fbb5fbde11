// The widget base: traversal order and drawer state, pictures in both
// positioning modes (translation by every ancestor's corner), erase on hide,
// re-parenting, key routing and 16-bit geometry.
#include "widget_fixture.h"

TEST_F(WidgetTest, PaintingVisitsTheTreeInOrderWithAFreshDrawerEach)
{
    Log log;
    ProbeWidget root(nullptr, "root", &log);
    root.setFont("RootFont");
    root.enableStyleFlag(UWidget::Inverted);
    ProbeWidget* a = new ProbeWidget(&root, "a", &log);
    ProbeWidget* b = new ProbeWidget(&root, "b", &log);
    new ProbeWidget(b, "b1", &log);
    new UObject(&root); // not a widget: skipped
    ProbeWidget* hidden = new ProbeWidget(&root, "hidden", &log);
    new ProbeWidget(hidden, "under", &log);
    hidden->setVisible(false);
    app->setFont("AppFont");
    forget();
    log.clear();
    const int flushes = screen->flushCalls;

    root.refresh();
    EXPECT_EQ(Targets{&root}, paints());
    drain();
    EXPECT_EQ((Log{"root:paint", "b:paint", "b1:paint", "b1:post", "b:post", "a:paint", "a:post",
                   "root:post"}),
              log);
    EXPECT_EQ(flushes + 1, screen->flushCalls);
    // Inverted swaps pen and brush of the root's drawer only; a child's font
    // falls back to the application's, not to its parent's.
    EXPECT_EQ(255, root.seenPen);
    EXPECT_EQ(0, root.seenBrush);
    EXPECT_EQ(UString("RootFont"), root.seenFont);
    EXPECT_EQ(0, a->seenPen);
    EXPECT_EQ(UString("AppFont"), a->seenFont);
}

// Two overlapping children (the one added first lies on top) and a
// grandchild, with Background, Border and Inverted.
static void buildStyledTree(UWidget& top)
{
    top.setCoordinates(0, 0, 47, 19);
    top.enableStyleFlag(UWidget::Border);
    UWidget* under = new UWidget(&top);
    under->setCoordinates(3, 3, 20, 12);
    enableFlags(under, UWidget::Background | UWidget::Border | UWidget::Inverted);
    UWidget* over = new UWidget(&top);
    over->setCoordinates(14, 6, 40, 16);
    over->enableStyleFlag(UWidget::Border);
    UWidget* grandchild = new UWidget(over);
    grandchild->setCoordinates(22, 1, 25, 2);
    enableFlags(grandchild, UWidget::Background | UWidget::Inverted);
}

TEST_F(WidgetTest, Pictures)
{
    {
        UWidget top(nullptr);
        buildStyledTree(top);
        paint(top);
        EXPECT_TRUE(textart::matchesGolden(screen->art(0, 0, 52, 22), "widget_absolute"));
    }
    screen->clear();
    UWidget::setPositioningMode(UWidget::Relative);
    UWidget top(nullptr);
    buildStyledTree(top);
    top.setCoordinates(4, 2, 51, 21);
    paint(top);
    EXPECT_TRUE(textart::matchesGolden(screen->art(0, 0, 64, 30), "widget_relative"));
}

TEST_F(WidgetTest, HidingErasesTheStoredRectangleAndPostsNothing)
{
    UWidget::setPositioningMode(UWidget::Relative);
    UWidget top(nullptr);
    top.setCoordinates(20, 0, 60, 20);
    UWidget* child = new UWidget(&top);
    child->setCoordinates(2, 2, 5, 5);
    child->enableStyleFlag(UWidget::Border);
    paint(top);
    ASSERT_EQ(0, screen->pixel(22, 2)); // the outline, translated
    fillInk(URect(2, 2, 3, 3));
    forget();

    child->hide();
    EXPECT_TRUE(paints().empty());
    // The erase is untranslated: it clears (2,2)-(5,5), not the outline.
    EXPECT_EQ("....\n....\n....\n....\n", screen->art(2, 2, 4, 4));
    EXPECT_EQ(0, screen->pixel(22, 2));
    child->show();
    EXPECT_EQ(Targets{child}, paints());
}

TEST_F(WidgetTest, AddRemoveAndReparentMoveWidgetsBetweenWindowsAndChildren)
{
    UWidget parent(nullptr), other(nullptr);
    UWidget* w = new UWidget(nullptr);
    forget();
    parent.addWidget(w);
    EXPECT_EQ(&parent, w->parentWidget());
    EXPECT_EQ(wm->windows().end(), wm->find(w));
    EXPECT_EQ((Targets{w, &parent}), paints()); // the child's first
    forget();

    wm->show(&other);
    w->setParent(&other); // child to child: the window list is untouched
    EXPECT_EQ(&other, wm->activeWindow());
    w->setCoordinates(0, 0, 3, 3);
    fillInk(w->getRect());
    forget();
    other.removeWidget(w);
    EXPECT_EQ(0, screen->inkCount()); // erased while it was still visible
    EXPECT_EQ(w, wm->windows().back());
    EXPECT_EQ(&parent, wm->activeWindow()); // the first window again
    EXPECT_TRUE(paints().empty());          // so other's refresh() posts nothing
    delete w;
}

TEST_F(WidgetTest, KeysGoToVisibleChildrenFrontFirstUntilOneConsumes)
{
    Log log;
    ProbeWidget root(nullptr, "root", &log);
    ProbeWidget* first = new ProbeWidget(&root, "first", &log);
    ProbeWidget* hidden = new ProbeWidget(&root, "hidden", &log);
    ProbeWidget* last = new ProbeWidget(&root, "last", &log);
    hidden->setVisible(false);
    hidden->consumeKeys = first->consumeKeys = true;
    const auto offer = [&](bool consumed, const Log& expected) {
        log.clear();
        EXPECT_EQ(consumed, key(root, KEY_DOWN));
        EXPECT_EQ(expected, log);
    };
    offer(true, {"root:key4", "last:key4", "first:key4"});
    last->consumeKeys = true;
    offer(true, {"root:key4", "last:key4"});
    root.setEnabled(false);
    offer(false, {"root:key4"});
    root.setEnabled(true);
    // A child that destroys a later sibling: the dead one is not offered it.
    last->consumeKeys = false;
    last->onKey = [&] { delete first; };
    offer(false, {"root:key4", "last:key4"});
}

TEST_F(WidgetTest, CoordinatesAndMovesWrapAt16Bits)
{
    UWidget w(nullptr);
    w.setCoordinates(0, 0, 255, 255); // 256 pixels: more than 8 bits
    EXPECT_EQ(URect(UPoint(0, 0), UPoint(255, 255)), w.getRect());
    w.setCoordinates(10, 7, 5, 3); // reversed corners kept as given
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

    // Mapping adds the ancestors' corners and wraps at 16 bits too.
    w.setRect(URect(UPoint(65530, 2), UPoint(65535, 3)));
    UPoint p(8, 0);
    g->mapToGlobal(p);
    EXPECT_EQ(UPoint(8 + 7 + 65530 - 65536, 0 + 11 + 2), p); // through c1 and w
}

// The golden scenes of the list, the line edit and the date-time label.
INSTANTIATE_TEST_SUITE_P(Flags, SceneTest, ::testing::ValuesIn(goldenCases),
                         [](const ::testing::TestParamInfo<GoldenCase>& i) { return std::string(i.param.name); });
