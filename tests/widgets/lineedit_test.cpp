// Line edit: digits and delete on release, the type-4 event, the cursor's
// place, and the blink timer driven by the paused timer manager's tick().
#include <algorithm>

#include "ulineedit.h"
#include "widget_fixture.h"

class LineEditTest : public WidgetTest {
protected:
    void SetUp() override
    {
        WidgetTest::SetUp();
        edit = new ULineEdit(makeRoot());
        edit->setRect(URect(0, 0, 60, 20)); // top 0, bottom 19
        forget();
    }
    // Repaints on a clear screen; rows 0-19 of column x, '#' for ink.
    std::string column(int x)
    {
        screen->clear();
        root->handleUpdate(nullptr);
        std::string art = screen->art(x, 0, 1, 20);
        art.erase(std::remove(art.begin(), art.end(), '\n'), art.end());
        return art;
    }

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
    for (unsigned short k : {KEY_5, KEY_0, KEY_9, KEY_LEFT})
        EXPECT_TRUE(key(*edit, k));
    EXPECT_EQ(edit->getText(), UString("1250"));
    EXPECT_EQ(paints().size(), 4u); // one refresh per consumed key

    // Keys next to the digits and to KEY_LEFT, and 48 + 256, are not consumed.
    for (int k : {int(KEY_NONE), int(KEY_RIGHT), int(KEY_SELECT), 47, 58, 0x130})
        EXPECT_FALSE(key(*edit, static_cast<unsigned short>(k))) << k;
    EXPECT_EQ(edit->getText(), UString("1250"));
    EXPECT_EQ(paints().size(), 4u);
}

TEST_F(LineEditTest, LeftOnEmptyTextSendsTypeFourToTheListenerOnly)
{
    edit->setText("7");
    edit->setListener(&log);
    EXPECT_TRUE(key(*edit, KEY_LEFT));
    EXPECT_TRUE(key(*edit, KEY_LEFT));
    EXPECT_TRUE(key(*edit, KEY_LEFT));
    EXPECT_TRUE(edit->getText().isEmpty());
    EXPECT_EQ(emitted(log), (Log{"4", "4"})); // not for the deleted digit
}

TEST_F(LineEditTest, CursorStandsAfterTheTextFromRowTwoToHeightMinusTwo)
{
    const std::string cursor = "..################..";
    edit->timerEvent(nullptr);
    ASSERT_TRUE(edit->isCursorVisible());
    EXPECT_EQ(column(0), cursor); // empty text: column 0

    // After the text, measured in the drawer's font, not the application's
    // (the default font is in the golden picture).
    edit->setText("14");
    edit->setFont("icons");
    const uint16_t wi = UDrawer::textWidth("14", "icons");
    ASSERT_NE(wi, UDrawer::textWidth("14", "text"));
    EXPECT_EQ(column(wi + 1), std::string(20, '.'));
    EXPECT_EQ(column(wi), cursor);
}

TEST_F(LineEditTest, BlinkTimerTogglesTheCursorEveryFiveHundredMilliseconds)
{
    EXPECT_FALSE(edit->isCursorVisible());

    advance(499);
    EXPECT_FALSE(edit->isCursorVisible());
    advance(1);
    EXPECT_TRUE(edit->isCursorVisible());
    EXPECT_EQ(posts(UEvent::Timer), Targets{edit});
    EXPECT_EQ(paints(), Targets{edit});
    advance(500);
    EXPECT_FALSE(edit->isCursorVisible());

    // While hidden the cursor keeps blinking, without paint events.
    edit->setVisible(false);
    app->posted.clear();
    advance(500);
    EXPECT_TRUE(edit->isCursorVisible());
    EXPECT_TRUE(paints().empty());

    // A field destroyed with its tick queued: the timer goes, the tick
    // reaches nothing.
    ULineEdit* other = new ULineEdit(root.get());
    UTimerManager::instance()->tick(500);
    delete other;
    drain();
    EXPECT_FALSE(edit->isCursorVisible()); // the surviving field ticked
}

TEST_P(SceneTest, LineEditDigitsWithTheCursorShown)
{
    ULineEdit* edit = place(new ULineEdit(panel), 40, 14, 120, 18);
    for (unsigned short k : {KEY_0, KEY_3, KEY_0, KEY_1, KEY_2, KEY_3, KEY_4, KEY_4, KEY_LEFT})
        ASSERT_TRUE(key(*edit, k));
    edit->timerEvent(nullptr); // cursor on
    EXPECT_TRUE(matches("lineedit"));
}
