// List widget: rows as children, stepping, removal, list events, the
// registry that keeps destroyed rows out of the sequence, and the arrows.
#include <algorithm>

#include "ulistwidget.h"
#include "ustandardlistitem.h"
#include "widget_fixture.h"

namespace {

struct CountedRow : UListItem {
    int* deaths;
    explicit CountedRow(int* d) : deaths(d) {}
    ~CountedRow() override { ++*deaths; }
};

} // namespace

class ListTest : public WidgetTest {
protected:
    void SetUp() override
    {
        WidgetTest::SetUp();
        list = new UListWidget(makeRoot());
        list->setRect(URect(0, 0, 199, 20));
        list->setListener(&log);
    }
    void TearDown() override
    {
        for (UListItem* r : rows) // the stepped-away rows are windows
            if (!r->getParent())
                delete r;
        WidgetTest::TearDown();
    }
    // A new standard row named `name`, destroyed by TearDown if it is a
    // window then (tests that destroy rows themselves clear `rows`).
    UListItem* row(const std::string& name)
    {
        UListItem* r = new UStandardListItem(UString(name.c_str()));
        log.names[r] = name;
        rows.push_back(r);
        return r;
    }
    // Appends rows "r0", "r1", ...
    void fill(int n)
    {
        for (int i = 0; i < n; ++i)
            list->appendItem(row("r" + std::to_string(i)));
    }
    // The rows in order and the current index: "r0,r2@1", "@-1".
    std::string state()
    {
        std::string s;
        for (unsigned int i = 0; i < list->count(); ++i)
            s += (i ? "," : "") + log.names[list->item(i)];
        const unsigned int c = list->currentIndex();
        return s + "@" + (c == UListWidget::NoIndex ? "-1" : std::to_string(c));
    }
    bool isChild(UWidget* w) const
    {
        const std::list<UObject*>& c = list->getChildren();
        return std::find(c.begin(), c.end(), w) != c.end();
    }
    bool isWindow(UWidget* w) const { return wm->find(w) != wm->windows().end(); }

    UListWidget* list = nullptr;
    EmitLog log;
    std::vector<UListItem*> rows;
};

TEST_F(ListTest, AddingMakesChildrenAndMovesTheIndexWithItsRowSilently)
{
    UListItem* a = row("a");
    EXPECT_TRUE(isWindow(a)); // a new row is a window until it is added
    list->appendItem(a);
    EXPECT_FALSE(isWindow(a));
    EXPECT_TRUE(isChild(a));
    list->appendItem(a); // the same row again: one entry
    list->insertItem(0, a); // inserted before the current row: two entries
    EXPECT_EQ(state(), "a,a@1");
    list->insertItem(99, row("b")); // beyond the end: appended
    EXPECT_EQ(list->removeItem(0u), a);
    list->insertItem(1, a);
    EXPECT_EQ(state(), "a,a,b@0");
    list->removeItem(a); // every occurrence, the index untouched
    EXPECT_EQ(state(), "b@0");
    EXPECT_TRUE(emitted(log).empty());
}

TEST_F(ListTest, KeysStepOnReleaseOnlyAndReportEachStep)
{
    fill(3);
    rows[1]->setVisible(false);
    rows[2]->setVisible(false);
    EXPECT_FALSE(key(*list, KEY_UP)); // at the first row
    for (int state : {KEY_PRESSED, KEY_HELD}) {
        EXPECT_FALSE(key(*list, KEY_DOWN, state));
        EXPECT_FALSE(key(*list, KEY_SELECT, state));
    }
    // The first step travels from the application: the list repaints when
    // the old row leaves, the new row when shown, the list again when it is
    // added, one flush each; the old row became a window.
    forget();
    const int flushes = screen->flushCalls;
    app->postEvent(makeKey(app, KEY_DOWN, KEY_PRESSED));
    drain();
    EXPECT_EQ(screen->flushCalls, flushes);
    app->postEvent(makeKey(app, KEY_DOWN, KEY_RELEASED));
    EXPECT_EQ(emitted(log), (Log{"5:r1:1"}));
    EXPECT_EQ(paints(), (Targets{list, rows[1], list}));
    EXPECT_EQ(screen->flushCalls, flushes + 3);
    EXPECT_EQ(rows[0]->getParent(), nullptr);
    EXPECT_TRUE(isWindow(rows[0]));
    EXPECT_EQ(list->getChildren().front(), rows[1]);
    EXPECT_TRUE(key(*list, KEY_DOWN));
    EXPECT_FALSE(key(*list, KEY_DOWN)); // at the last row
    EXPECT_TRUE(key(*list, KEY_UP));
    EXPECT_TRUE(key(*list, KEY_SELECT));
    EXPECT_FALSE(key(*list, KEY_LEFT));
    EXPECT_EQ(emitted(log), (Log{"5:r2:2", "5:r1:1", "6:r1:1"}));
    EXPECT_EQ(state(), "r0,r1,r2@1"); // stepping never changes the sequence
}

TEST_F(ListTest, RemovingTheCurrentRowStepsAwayFirst)
{
    fill(3);
    list->setCurrentItem(1);
    EXPECT_EQ(list->removeItem(1), rows[1]);
    EXPECT_EQ(state(), "r0,r2@1");
    EXPECT_EQ(rows[1]->getParent(), nullptr); // stepped away from
    EXPECT_EQ(list->removeItem(1), rows[2]); // the last row steps back instead
    EXPECT_EQ(state(), "r0@0");
    EXPECT_EQ(emitted(log), (Log{"5:r2:2", "5:r0:0"}));
    EXPECT_EQ(list->removeItem(1), nullptr); // out of range: nothing
}

TEST_F(ListTest, ClearKeepsTheChildrenClearAndDeleteDestroysThemOnce)
{
    // clear() reports no row and keeps the children.
    fill(2);
    forget();
    list->clear();
    EXPECT_EQ(state(), "@-1");
    EXPECT_TRUE(isChild(rows[0]) && isChild(rows[1]));
    EXPECT_EQ(emitted(log), (Log{"5:null:-1"}));
    EXPECT_EQ(paints(), (Targets{list}));
    delete rows[0];
    delete rows[1];
    rows.clear();

    // clearAndDeleteItems() destroys children, windows and duplicates once.
    int deaths = 0;
    CountedRow* a = new CountedRow(&deaths);
    CountedRow* c = new CountedRow(&deaths);
    list->appendItem(a);
    list->appendItem(new CountedRow(&deaths));
    list->appendItem(c);
    list->insertItem(0, c); // c, a, b, c
    EXPECT_TRUE(key(*list, KEY_DOWN)); // a, current at 1, becomes a window
    ASSERT_TRUE(isWindow(a));
    list->clearAndDeleteItems();
    EXPECT_EQ(deaths, 3);
    EXPECT_EQ(state(), "@-1");
    EXPECT_FALSE(isWindow(a));
    EXPECT_TRUE(list->getChildren().empty());
    EXPECT_EQ(emitted(log), (Log{"5:?:2"}));
}

TEST_F(ListTest, DestroyingASteppedAwayRowTakesItOutOfTheSequence)
{
    fill(4);
    EXPECT_TRUE(key(*list, KEY_DOWN));
    EXPECT_TRUE(key(*list, KEY_DOWN)); // r0, r1 are windows; r2 current
    emitted(log);
    delete rows[0]; // a window, not a child of the list
    EXPECT_EQ(state(), "r1,r2,r3@1");
    EXPECT_FALSE(isWindow(rows[0]));
    // Stepping back reaches r1 and no freed memory.
    EXPECT_TRUE(key(*list, KEY_UP));
    EXPECT_FALSE(key(*list, KEY_UP));
    EXPECT_EQ(emitted(log), (Log{"5:r1:0"}));

    // setCurrentItem can make a window the current row; destroying it
    // moves the index to the row that followed.
    EXPECT_TRUE(key(*list, KEY_DOWN));
    EXPECT_TRUE(key(*list, KEY_DOWN)); // r1, r2 windows; r3 current
    list->setCurrentItem(1);           // r2, a window
    delete rows[2];
    EXPECT_EQ(state(), "r1,r3@1");
    delete rows[3]; // the current child, through its parent: index left alone
    EXPECT_EQ(state(), "r1@1");
    EXPECT_EQ(list->currentItem(), nullptr);
    // Stepping back from the stale index still lands on r1.
    EXPECT_TRUE(key(*list, KEY_UP));
    EXPECT_EQ(list->currentItem(), rows[1]);
    EXPECT_TRUE(isChild(rows[1]));
    rows.clear();
}

TEST_F(ListTest, RowsOutliveTheirListAndRowsInTwoListsLeaveBoth)
{
    std::unique_ptr<UListWidget> other(new UListWidget(root.get()));
    fill(2);
    other->appendItem(rows[0]); // now a child of `other`, still in `list`
    EXPECT_TRUE(key(*list, KEY_DOWN));
    delete rows[0];
    EXPECT_EQ(state(), "r1@0");
    EXPECT_EQ(other->count(), 0u);

    // A window left behind by a list that is gone is the application's.
    UListItem* stray = new UStandardListItem("s");
    other->appendItem(stray);
    other->appendItem(new UStandardListItem("t"));
    EXPECT_TRUE(key(*other, KEY_DOWN));
    EXPECT_EQ(stray->getParent(), nullptr);
    other.reset();
    delete stray;
    rows.clear();
}

// The arrows, pixel by pixel, in one golden text: painted on a light and on
// a dark screen, '#' drawn dark, '.' cleared to the background, ' ' left
// alone. The arrows stand in the five columns ending at W = right - left
// whatever the left edge. On the first row the up box is cleared and the
// down arrow drawn; the column 193-198 is cleared even outside the list. On
// the last row the down box is cleared before the up arrow is drawn. One row
// draws nothing; with arrows off only the two boxes are cleared.
TEST_F(ListTest, ArrowsStandAtTheListsWidthAndClearTheirBoxes)
{
    const struct {
        URect r;
        int rows;
        unsigned int current;
        int x, w;
        bool arrows;
    } cases[] = {{URect(0, 10, 192, 12), 2, 0, 180, 19, true},
                 {URect(30, 0, 100, 10), 2, 1, 90, 12, true},
                 {URect(0, 0, 199, 10), 1, 0, 180, 19, true},
                 {URect(0, 0, 199, 10), 2, 1, 180, 19, false}};
    std::string all;
    for (const auto& c : cases) {
        list->clearAndDeleteItems();
        list->setRect(c.r);
        list->setPaintArrowState(c.arrows);
        for (int i = 0; i < c.rows; ++i)
            list->appendItem(new UListItem()); // rows that paint nothing
        list->setCurrentItem(c.current);
        const int y = c.r.getTop(), h = c.r.getBottom() - c.r.getTop() + 1;
        screen->clear();
        list->handleUpdate(nullptr);
        const std::string light = screen->art(c.x, y, c.w, h);
        fillInk(URect(0, 0, 199, 48));
        list->handleUpdate(nullptr);
        const std::string dark = screen->art(c.x, y, c.w, h);
        for (size_t i = 0; i < light.size(); ++i)
            all += light[i] == '\n' ? '\n' : light[i] == '#' ? '#' : dark[i] == '.' ? '.' : ' ';
        all += "--\n";
    }
    EXPECT_TRUE(textart::matchesGolden(all, "list_arrows"));
}

// A call log of three rows, stepped once so that the middle row shows
// with both arrows; the flags go to the list and to its rows.
TEST_P(SceneTest, ListMiddleRowWithBothArrows)
{
    UListWidget* list = place(new UListWidget(panel), 12, 10, 170, 16);
    list->appendItem(new UStandardListItem("Anna 0301234", 0xE106)); // incoming call
    list->appendItem(new UStandardListItem("Bert 555-77", 0xE107));  // outgoing call
    list->appendItem(new UStandardListItem("Carla", 0xE105));        // missed call
    for (unsigned int i = 0; i < 3; ++i) {
        style(list->item(i));
        list->item(i)->setVisible(i == 0);
    }
    ASSERT_TRUE(key(*list, KEY_DOWN));
    std::unique_ptr<UListItem> first(list->item(0)); // a window now
    EXPECT_TRUE(matches("list"));
}
