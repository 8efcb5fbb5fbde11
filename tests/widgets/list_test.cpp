// List widget: rows as children, stepping, removal, list events, the
// registry that keeps destroyed rows out of the sequence, and the arrows
// pixel for pixel.
#include <memory>

#include "list_fixture.h"
#include "ulistwidget.h"
#include "ustandardlistitem.h"

namespace {

// A row that counts its destructions.
class CountedRow : public UListItem {
public:
    explicit CountedRow(int* deaths) : m_deaths(deaths) {}
    ~CountedRow() override { ++*m_deaths; }

private:
    int* m_deaths;
};

bool isChild(UWidget& parent, UWidget* w)
{
    for (UObject* o : parent.getChildren())
        if (o == w)
            return true;
    return false;
}

bool isWindow(UWindowManager* wm, UWidget* w)
{
    return wm->find(w) != wm->windows().end();
}

} // namespace

class ListTest : public PaintedWidgetTest {
protected:
    void SetUp() override
    {
        PaintedWidgetTest::SetUp();
        root.reset(new UWidget(nullptr));
        root->setRect(URect(0, 0, 199, 48));
        list = new UListWidget(root.get());
        list->setRect(URect(0, 0, 199, 20));
        list->setListener(&log);
    }
    void TearDown() override
    {
        root.reset();
        for (UListItem* w : windows)
            delete w;
        PaintedWidgetTest::TearDown();
    }
    // Appends `n` named rows "r0", "r1", ...; all start as the list's
    // children (the stepped-away ones become windows, kept in `windows`
    // for destruction at the end).
    void fill(int n)
    {
        for (int i = 0; i < n; ++i) {
            UListItem* row = new UStandardListItem(UString(("r" + std::to_string(i)).c_str()));
            log.names[row] = "r" + std::to_string(i);
            rows.push_back(row);
            list->appendItem(row);
        }
    }
    // Rows that are windows now are destroyed by TearDown.
    void adoptWindows()
    {
        windows.clear();
        for (UListItem* r : rows)
            if (!r->getParent())
                windows.push_back(r);
    }
    std::string seq()
    {
        std::string s;
        for (unsigned int i = 0; i < list->count(); ++i)
            s += (s.empty() ? "" : ",") + log.names[list->item(i)];
        return s;
    }

    std::unique_ptr<UWidget> root;
    UListWidget* list = nullptr;
    EmitLog log;
    std::vector<UListItem*> rows;
    std::vector<UListItem*> windows;
};

TEST_F(ListTest, AppendingMakesChildrenAndTheFirstRowCurrentWithoutAnEvent)
{
    EXPECT_EQ(list->currentIndex(), UListWidget::NoIndex);
    EXPECT_EQ(list->currentItem(), nullptr);

    UListItem* a = new UStandardListItem("a");
    log.names[a] = "a";
    rows.push_back(a);
    // A new row is a window; showing it makes it active, appending it
    // unregisters it and the first window (root) is active again.
    EXPECT_TRUE(isWindow(wm, a));
    a->show();
    EXPECT_EQ(wm->activeWindow(), a);
    list->appendItem(a);
    EXPECT_FALSE(isWindow(wm, a));
    EXPECT_EQ(wm->activeWindow(), root.get());
    EXPECT_TRUE(isChild(*list, a));
    EXPECT_EQ(a->getRect(), list->getRect());
    EXPECT_EQ(list->currentIndex(), 0u);
    EXPECT_EQ(list->currentItem(), a);

    // The same row again: one entry. Inserting it below the count: two.
    list->appendItem(a);
    EXPECT_EQ(list->count(), 1u);
    list->insertItem(0, a);
    EXPECT_EQ(list->count(), 2u);
    EXPECT_EQ(list->item(0), a);
    EXPECT_EQ(list->item(1), a);
    EXPECT_EQ(list->currentIndex(), 1u); // the current row moved along
    EXPECT_EQ(list->getItemIndex(a), 0);
    EXPECT_EQ(list->getItemIndex(nullptr), -1);
    EXPECT_EQ(list->item(2), nullptr);

    drain();
    EXPECT_TRUE(log.take().empty());
    list->removeItem(a); // every occurrence, index untouched
    EXPECT_EQ(list->count(), 0u);
    EXPECT_EQ(list->currentIndex(), 1u);
    EXPECT_EQ(list->currentItem(), nullptr);
}

TEST_F(ListTest, KeysStepOnReleaseOnlyAndReportEachStep)
{
    fill(3);
    EXPECT_FALSE(key(*list, KEY_UP)); // at the first row
    for (int state : {KEY_PRESSED, KEY_HELD}) {
        EXPECT_FALSE(key(*list, KEY_DOWN, state));
        EXPECT_FALSE(key(*list, KEY_SELECT, state));
    }
    EXPECT_EQ(list->currentIndex(), 0u);

    EXPECT_TRUE(key(*list, KEY_DOWN));
    EXPECT_EQ(list->currentIndex(), 1u);
    // The old row left the children and became a window; the new one is a
    // child at the front.
    EXPECT_EQ(rows[0]->getParent(), nullptr);
    EXPECT_TRUE(isWindow(wm, rows[0]));
    EXPECT_EQ(list->getChildren().front(), rows[1]);
    EXPECT_TRUE(key(*list, KEY_DOWN));
    EXPECT_FALSE(key(*list, KEY_DOWN)); // at the last row
    EXPECT_TRUE(key(*list, KEY_UP));
    EXPECT_TRUE(key(*list, KEY_SELECT));
    EXPECT_FALSE(key(*list, KEY_LEFT));
    EXPECT_FALSE(key(*list, KEY_5));
    drain();
    EXPECT_EQ(log.take(), (std::vector<std::string>{"5:r1:1", "5:r2:2", "5:r1:1", "6:r1:1"}));
    EXPECT_EQ(list->count(), 3u); // stepping never changes the sequence
    adoptWindows();
}

TEST_F(ListTest, KeyPressTravelsFromTheApplicationToTheListAndTheScreen)
{
    fill(3);
    rows[1]->setVisible(false);
    rows[2]->setVisible(false);
    drain();
    app->posted.clear();
    const int flushes = screen->flushCalls;

    postKey(KEY_DOWN, KEY_PRESSED);
    EXPECT_TRUE(log.log.empty());
    EXPECT_EQ(screen->flushCalls, flushes);
    postKey(KEY_DOWN, KEY_RELEASED);
    EXPECT_EQ(log.take(), (std::vector<std::string>{"5:r1:1"}));
    // The list repaints when the old row leaves, the new row when it is
    // shown, the list again when it is added; each paint flushes once.
    EXPECT_EQ(paints(), (std::vector<UAgent*>{list, rows[1], list}));
    EXPECT_EQ(screen->flushCalls, flushes + 3);
    adoptWindows();
}

TEST_F(ListTest, RemovingTheCurrentRowStepsAwayFirst)
{
    fill(3);
    list->setCurrentItem(1);
    EXPECT_EQ(list->removeItem(1), rows[1]);
    EXPECT_EQ(seq(), "r0,r2");
    EXPECT_EQ(list->currentIndex(), 1u);
    EXPECT_EQ(list->currentItem(), rows[2]);
    drain();
    EXPECT_EQ(log.take(), (std::vector<std::string>{"5:r2:2"}));
    // The removed row was stepped away from: no longer a child.
    EXPECT_EQ(rows[1]->getParent(), nullptr);

    // The last row steps back instead.
    EXPECT_EQ(list->removeItem(1), rows[2]);
    EXPECT_EQ(seq(), "r0");
    EXPECT_EQ(list->currentIndex(), 0u);
    drain();
    EXPECT_EQ(log.take(), (std::vector<std::string>{"5:r0:0"}));

    // Out of range: nothing. The only row: taken silently.
    EXPECT_EQ(list->removeItem(1), nullptr);
    EXPECT_EQ(list->removeItem(0u), rows[0]);
    EXPECT_EQ(list->count(), 0u);
    EXPECT_EQ(list->currentIndex(), UListWidget::NoIndex);
    drain();
    EXPECT_TRUE(log.take().empty());
    EXPECT_TRUE(isChild(*list, rows[0])); // still a child, still painted
    adoptWindows();
}

TEST_F(ListTest, RemovingTheLastOfThreeCurrentRowsStepsToThePreviousOne)
{
    fill(3);
    list->setCurrentItem(2);
    EXPECT_EQ(list->removeItem(2), rows[2]);
    EXPECT_EQ(seq(), "r0,r1");
    EXPECT_EQ(list->currentIndex(), 1u);
    drain();
    EXPECT_EQ(log.take(), (std::vector<std::string>{"5:r1:1"}));

    // A row before the current one: the index follows its row, no event.
    UListItem* x = new UStandardListItem("x");
    log.names[x] = "x";
    rows.push_back(x);
    list->insertItem(0, x);
    EXPECT_EQ(list->currentIndex(), 2u);
    EXPECT_EQ(list->removeItem(0u), x);
    EXPECT_EQ(list->currentItem(), rows[1]);
    list->insertItem(99, x); // beyond the end: appended
    EXPECT_EQ(list->replaceItem(0u, rows[2]), rows[0]);
    EXPECT_EQ(seq(), "r2,r1,x");
    EXPECT_EQ(list->currentItem(), rows[1]);
    drain();
    EXPECT_TRUE(log.take().empty());
    adoptWindows(); // none: r0 and x stayed children, r2 became one again
}

TEST_F(ListTest, ClearReportsNoRowButKeepsTheChildren)
{
    fill(2);
    list->clear();
    EXPECT_EQ(list->count(), 0u);
    EXPECT_EQ(list->currentItem(), nullptr);
    EXPECT_EQ(list->currentIndex(), UListWidget::NoIndex);
    EXPECT_TRUE(isChild(*list, rows[0]));
    EXPECT_TRUE(isChild(*list, rows[1]));
    EXPECT_FALSE(key(*list, KEY_UP));
    EXPECT_FALSE(key(*list, KEY_DOWN));
    EXPECT_FALSE(key(*list, KEY_SELECT));
    drain();
    EXPECT_EQ(log.take(), (std::vector<std::string>{"5:null:-1"}));
    EXPECT_EQ(paints(), (std::vector<UAgent*>{list}));
    // The rows are destroyed with the list (root in TearDown).
}

TEST_F(ListTest, ClearAndDeleteItemsDestroysChildrenWindowsAndDuplicatesOnce)
{
    int deaths = 0;
    CountedRow* a = new CountedRow(&deaths);
    CountedRow* b = new CountedRow(&deaths);
    CountedRow* c = new CountedRow(&deaths);
    list->appendItem(a);
    list->appendItem(b);
    list->appendItem(c);
    list->insertItem(0, c); // c twice: c, a, b, c
    EXPECT_TRUE(key(*list, KEY_DOWN)); // a becomes a window
    EXPECT_TRUE(isWindow(wm, a));
    list->clearAndDeleteItems();
    EXPECT_EQ(deaths, 3);
    EXPECT_EQ(list->count(), 0u);
    EXPECT_EQ(list->currentIndex(), UListWidget::NoIndex);
    EXPECT_FALSE(isWindow(wm, a));
    EXPECT_TRUE(list->getChildren().empty());
    drain();
    EXPECT_EQ(log.take(), (std::vector<std::string>{"5:?:2"}));
}

TEST_F(ListTest, DestroyingASteppedAwayRowTakesItOutOfTheSequence)
{
    fill(4);
    EXPECT_TRUE(key(*list, KEY_DOWN));
    EXPECT_TRUE(key(*list, KEY_DOWN)); // r0, r1 are windows; r2 current
    drain();
    log.take();

    delete rows[0]; // a window, not a child of the list
    EXPECT_EQ(seq(), "r1,r2,r3");
    EXPECT_EQ(list->currentIndex(), 1u); // still r2
    EXPECT_EQ(list->currentItem(), rows[2]);
    EXPECT_FALSE(isWindow(wm, rows[0]));

    // Stepping back reaches r1 and no freed memory.
    EXPECT_TRUE(key(*list, KEY_UP));
    EXPECT_TRUE(key(*list, KEY_UP) == false);
    drain();
    EXPECT_EQ(log.take(), (std::vector<std::string>{"5:r1:0"}));

    // setCurrentItem can make a window the current row; destroying it
    // moves the index to the row that followed.
    EXPECT_TRUE(key(*list, KEY_DOWN));
    EXPECT_TRUE(key(*list, KEY_DOWN)); // r1, r2 windows; r3 current
    list->setCurrentItem(1);           // r2, a window
    delete rows[2];
    EXPECT_EQ(seq(), "r1,r3");
    EXPECT_EQ(list->currentItem(), rows[3]);
    delete rows[3]; // the current child, through its parent: index left alone
    EXPECT_EQ(seq(), "r1");
    EXPECT_EQ(list->currentIndex(), 1u);
    EXPECT_EQ(list->currentItem(), nullptr);
    // Stepping back from the stale index still lands on r1.
    EXPECT_TRUE(key(*list, KEY_UP));
    EXPECT_EQ(list->currentItem(), rows[1]);
    EXPECT_TRUE(isChild(*list, rows[1]));
    rows.clear();
}

TEST_F(ListTest, RowsOutliveTheirListAndRowsInTwoListsLeaveBoth)
{
    std::unique_ptr<UListWidget> other(new UListWidget(root.get()));
    fill(2);
    other->appendItem(rows[0]); // now a child of `other`, still in `list`
    EXPECT_TRUE(key(*list, KEY_DOWN));
    EXPECT_EQ(list->count(), 2u);
    delete rows[0];
    EXPECT_EQ(list->count(), 1u);
    EXPECT_EQ(other->count(), 0u);
    EXPECT_EQ(list->currentItem(), rows[1]);

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

// The arrows, pixel by pixel. The list is painted twice, on a light and on
// a dark screen; '#' marks a pixel drawn dark, '.' one cleared to the
// background, ' ' one left alone.
class ListArrowTest : public ListTest {
protected:
    std::string arrows(const URect& r, int rowCount, unsigned int current, int x, int w)
    {
        list->setRect(r);
        for (int i = 0; i < rowCount; ++i)
            list->appendItem(new UListItem()); // rows that paint nothing
        if (rowCount)
            list->setCurrentItem(current);
        const int y = r.getTop();
        const int h = r.getBottom() - r.getTop() + 1;
        screen->clear();
        list->handleUpdate(nullptr);
        const std::string light = screen->art(x, y, w, h);
        inkAll();
        list->handleUpdate(nullptr);
        const std::string dark = screen->art(x, y, w, h);
        std::string out = light;
        for (size_t i = 0; i < out.size(); ++i) {
            if (out[i] == '\n')
                continue;
            out[i] = light[i] == '#' ? '#' : dark[i] == '.' ? '.' : ' ';
        }
        return out;
    }
    static std::string blank(int w, int h)
    {
        std::string out;
        for (int i = 0; i < h; ++i)
            out += std::string(static_cast<size_t>(w), ' ') + "\n";
        return out;
    }
};

TEST_F(ListArrowTest, FullWidthListHasItsArrowsInColumns193To197)
{
    // Left 0, 199 wide (W = 198): the column 193-198 is cleared over the
    // list's height (rows 4-15); both arrows on a middle row. Art columns
    // 180-198.
    EXPECT_EQ(arrows(URect(0, 4, 199, 12), 3, 1, 180, 19),
              "             ......\n"
              "             ......\n"
              "             ......\n"
              "             ..#...\n"
              "             .###..\n"
              "             #####.\n"
              "             ......\n"
              "             #####.\n"
              "             .###..\n"
              "             ..#...\n"
              "             ......\n"
              "             ......\n");
}

TEST_F(ListArrowTest, NarrowListPlacesArrowsFromItsWidthAndClearsTheEmptyBox)
{
    // Right edge 191 (W = 191, so x0 = 192): arrows in columns 187-191. On
    // the first row the up box is cleared and the down arrow drawn over
    // whatever was there; the column 193-198 is cleared although it lies
    // outside the list. Art columns 180-198, rows 10-21.
    EXPECT_EQ(arrows(URect(0, 10, 192, 12), 2, 0, 180, 19),
              "             ......\n"
              "             ......\n"
              "             ......\n"
              "       ..... ......\n"
              "       ..... ......\n"
              "       ..... ......\n"
              "             ......\n"
              "       ##### ......\n"
              "        ###  ......\n"
              "         #   ......\n"
              "             ......\n"
              "             ......\n");
}

TEST_F(ListArrowTest, ArrowsAreMeasuredFromTheWidthNotTheLeftEdge)
{
    // Left 30, right 129: W = 99, so the arrows stand in columns 95-99
    // whatever the left edge. On the last row the down box (rows 5-7) is
    // cleared before the up arrow (rows 3-5) is drawn. Art columns 90-101.
    EXPECT_EQ(arrows(URect(30, 0, 100, 10), 2, 1, 90, 12),
              "            \n"
              "            \n"
              "            \n"
              "       #    \n"
              "      ###   \n"
              "     #####  \n"
              "     .....  \n"
              "     .....  \n"
              "            \n"
              "            \n");
}

TEST_F(ListArrowTest, OneRowDrawsNothingAndArrowsOffOnlyClearTheBoxes)
{
    EXPECT_EQ(arrows(URect(0, 0, 199, 10), 1, 0, 180, 19), blank(19, 10));
    list->clearAndDeleteItems();
    list->setPaintArrowState(false);
    EXPECT_EQ(arrows(URect(0, 0, 199, 10), 2, 1, 180, 19),
              "                   \n"
              "                   \n"
              "                   \n"
              "             ..... \n"
              "             ..... \n"
              "             ..... \n"
              "             ..... \n"
              "             ..... \n"
              "                   \n"
              "                   \n");
}

// A call log of three rows, stepped once so that the middle row shows
// with both arrows; the flags go to the list and to its rows.
class ListGoldenTest : public SceneTest {};

TEST_P(ListGoldenTest, MiddleRowWithBothArrows)
{
    REQUIRE_FONTS();
    UListWidget* list = new UListWidget(panel);
    list->setRect(at(12, 10, 170, 16));
    style(list);
    const struct {
        const char* text;
        unsigned short icon;
    } rows[] = {{"Anna 0301234", ICON_CALL_INCOMING},
                {"Bert 555-77", ICON_CALL_OUTGOING},
                {"Carla", ICON_CALL_MISSED}};
    for (const auto& r : rows) {
        UListItem* row = new UStandardListItem(r.text, r.icon);
        style(row);
        list->appendItem(row);
    }
    list->item(1)->setVisible(false);
    list->item(2)->setVisible(false);
    ASSERT_TRUE(key(*list, KEY_DOWN));
    UListItem* first = list->item(0); // a window now
    EXPECT_TRUE(textart::matchesGolden(picture(), goldenName("list")));
    delete first;
}

INSTANTIATE_TEST_SUITE_P(Flags, ListGoldenTest, ::testing::ValuesIn(goldenCases()), goldenCaseName);
