// Line edit: digits and delete on release, the type-4 event, the cursor's
// place, and the blink timer driven by the paused timer manager's tick().
#include <memory>

#include "list_fixture.h"
#include "ulineedit.h"

class LineEditTest : public PaintedWidgetTest {
protected:
    void SetUp() override
    {
        PaintedWidgetTest::SetUp();
        root.reset(new UWidget(nullptr));
        root->setRect(URect(0, 0, 199, 48));
        edit = new ULineEdit(root.get());
        edit->setRect(URect(0, 0, 60, 20)); // top 0, bottom 19
        drain();
        app->posted.clear();
    }
    void TearDown() override
    {
        root.reset();
        PaintedWidgetTest::TearDown();
    }
    int posted(unsigned short type) const
    {
        int n = 0;
        for (const RecordingApp::Post& p : app->posted)
            n += p.type == type;
        return n;
    }
    // Rows y0..y1 of column x, '#' for ink.
    std::string column(int x, int y0, int y1) const
    {
        std::string s;
        for (int y = y0; y <= y1; ++y)
            s += screen->pixel(static_cast<uint16_t>(x), static_cast<uint16_t>(y)) ? '.' : '#';
        return s;
    }

    std::unique_ptr<UWidget> root;
    ULineEdit* edit = nullptr;
    EmitLog log;
};

TEST_F(LineEditTest, DigitsAppendAndLeftDeletesOnReleaseOnly)
{
    edit->setText("12");
    for (int state : {KEY_PRESSED, KEY_HELD}) {
        EXPECT_FALSE(key(*edit, KEY_5, state));
        EXPECT_FALSE(key(*edit, KEY_LEFT, state));
    }
    EXPECT_EQ(edit->getText(), UString("12"));
    EXPECT_EQ(posted(UEvent::Paint), 0);

    EXPECT_TRUE(key(*edit, KEY_5));
    EXPECT_EQ(edit->getText(), UString("125"));
    EXPECT_TRUE(key(*edit, KEY_0));
    EXPECT_TRUE(key(*edit, KEY_9));
    EXPECT_EQ(edit->getText(), UString("12509"));
    EXPECT_TRUE(key(*edit, KEY_LEFT));
    EXPECT_EQ(edit->getText(), UString("1250"));
    EXPECT_EQ(posted(UEvent::Paint), 4); // one refresh per consumed key

    // Keys around the digits and the other named keys are not consumed.
    const unsigned short others[] = {KEY_NONE, KEY_UP,   KEY_RIGHT,  KEY_DOWN, KEY_SELECT,
                                     KEY_STAR, KEY_HASH, KEY_PERIOD, 47,       58,
                                     0x135 /* 48 + 256 */};
    for (unsigned short k : others)
        EXPECT_FALSE(key(*edit, k)) << k;
    EXPECT_EQ(edit->getText(), UString("1250"));
    EXPECT_EQ(posted(UEvent::Paint), 4);
}

TEST_F(LineEditTest, LeftOnEmptyTextSendsTypeFourToTheListenerOnly)
{
    edit->setText("7");
    EXPECT_TRUE(key(*edit, KEY_LEFT));
    EXPECT_TRUE(edit->getText().isEmpty());
    // No listener: nothing is sent, the key is still consumed.
    EXPECT_TRUE(key(*edit, KEY_LEFT));
    EXPECT_EQ(posted(UEvent::LineEditDelete), 0);

    edit->setListener(&log);
    EXPECT_TRUE(key(*edit, KEY_LEFT));
    EXPECT_TRUE(key(*edit, KEY_LEFT));
    EXPECT_TRUE(edit->getText().isEmpty());
    drain();
    EXPECT_EQ(log.take(), (std::vector<std::string>{"4", "4"}));
}

TEST_F(LineEditTest, CursorStandsAfterTheTextFromRowTwoToHeightMinusTwo)
{
    REQUIRE_FONTS();
    // Empty text: the cursor is column 0.
    edit->timerEvent(nullptr);
    ASSERT_TRUE(edit->isCursorVisible());
    drain();
    EXPECT_EQ(column(0, 0, 19), "..################..");

    edit->setText("14");
    const uint16_t w = UDrawer::textWidth("14", "text");
    ASSERT_GT(w, 0);
    screen->clear();
    root->handleUpdate(nullptr);
    EXPECT_EQ(column(w, 0, 19), "..################..");
    EXPECT_EQ(column(w + 1, 0, 19), "....................");

    // The width is measured in the drawer's font, not the application's.
    edit->setFont("icons");
    const uint16_t wi = UDrawer::textWidth("14", "icons");
    ASSERT_NE(wi, w);
    screen->clear();
    root->handleUpdate(nullptr);
    EXPECT_EQ(column(wi, 0, 19), "..################..");
}

TEST_F(LineEditTest, BlinkTimerTogglesTheCursorEveryFiveHundredMilliseconds)
{
    UTimer* timer = ownTimer(*edit);
    ASSERT_NE(timer, nullptr);
    EXPECT_EQ(timer->getIntervalTime(), 500u);
    EXPECT_TRUE(timer->isRunning());
    EXPECT_FALSE(timer->isSingleShot());
    EXPECT_FALSE(edit->isCursorVisible());

    UTimerManager::instance()->tick(490);
    drain();
    EXPECT_FALSE(edit->isCursorVisible());
    UTimerManager::instance()->tick(10);
    drain();
    EXPECT_TRUE(edit->isCursorVisible());
    EXPECT_EQ(posted(UEvent::Timer), 1);
    EXPECT_EQ(posted(UEvent::Paint), 1);
    UTimerManager::instance()->tick(500);
    drain();
    EXPECT_FALSE(edit->isCursorVisible());

    // While hidden the cursor keeps blinking, without paint events.
    edit->setVisible(false);
    app->posted.clear();
    UTimerManager::instance()->tick(500);
    drain();
    EXPECT_TRUE(edit->isCursorVisible());
    EXPECT_EQ(posted(UEvent::Paint), 0);
}

TEST_F(LineEditTest, DestroyingTheFieldStopsItsTimerAndDropsItsQueuedTick)
{
    const unsigned int timers = UTimerManager::instance()->count();
    ULineEdit* other = new ULineEdit(root.get());
    EXPECT_EQ(UTimerManager::instance()->count(), timers + 1);
    UTimerManager::instance()->tick(500); // a timer event for `other` waits
    delete other;
    EXPECT_EQ(UTimerManager::instance()->count(), timers);
    drain(); // must not reach the destroyed field
    EXPECT_TRUE(edit->isCursorVisible()); // the surviving field ticked
}

class LineEditGoldenTest : public SceneTest {};

TEST_P(LineEditGoldenTest, DigitsWithTheCursorShown)
{
    REQUIRE_FONTS();
    ULineEdit* edit = new ULineEdit(panel);
    edit->setRect(at(40, 14, 120, 18));
    style(edit);
    const unsigned short keys[] = {KEY_0, KEY_3, KEY_0, KEY_1, KEY_2, KEY_3, KEY_4, KEY_4, KEY_LEFT};
    for (unsigned short k : keys)
        ASSERT_TRUE(key(*edit, k));
    edit->timerEvent(nullptr); // cursor on
    EXPECT_TRUE(textart::matchesGolden(picture(), goldenName("lineedit")));
}

INSTANTIATE_TEST_SUITE_P(Flags, LineEditGoldenTest, ::testing::ValuesIn(goldenCases()),
                         goldenCaseName);
