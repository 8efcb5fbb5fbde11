// Date-time label: the weekday arithmetic over two centuries, the clock's
// ticking and texts, and its one-second timer driven by the paused timer
// manager.
#include "udatetimelabel.h"
#include "widget_fixture.h"

class DateTimeLabelTest : public WidgetTest {
protected:
    void SetUp() override
    {
        WidgetTest::SetUp();
        ::testing::internal::CaptureStdout();
        label = new UDateTimeLabel(makeRoot());
        constructionOutput = ::testing::internal::GetCapturedStdout();
        label->setRect(URect(0, 0, 80, 14));
    }
    std::string text() const { return label->getText().toUTF8(); }
    // One tick of the clock; the text it leaves.
    std::string next() { label->update(); return text(); }
    std::string clockAt(int h, int m, int s) { label->setTime(h, m, s); return next(); }

    UDateTimeLabel* label = nullptr;
    std::string constructionOutput;
};

TEST_F(DateTimeLabelTest, WeekdayAndLeapYearForEveryDayFrom1900To2100)
{
    // The expected weekday (0 = Sunday) is counted on day by day from
    // Monday 1900-01-01. (Year 0, whose leap days must not wrap, is the
    // clock test's zero date.)
    static const unsigned monthDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    unsigned weekday = 1;
    for (unsigned y = 1900; y <= 2100; ++y) {
        const bool leap = (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
        ASSERT_EQ(UDateTimeLabel::isGivenDateLeapYear(y), leap) << y;
        for (unsigned m = 1; m <= 12; ++m) {
            for (unsigned d = 1; d <= monthDays[m - 1] + (m == 2 && leap); ++d) {
                ASSERT_EQ(UDateTimeLabel::calculateDayOfWeek(y, m, d), weekday)
                    << y << "-" << m << "-" << d;
                weekday = (weekday + 1) % 7;
            }
        }
    }
}

TEST_F(DateTimeLabelTest, ClockWrapsAtMidnightWithAFlashingSeparatorOnBothDials)
{
    // A fresh label shows the zero date (a Friday) and says it is obsolete;
    // setters show at the next tick.
    EXPECT_EQ(constructionOutput, "UDateTimeLabel is obsolete, please do not use\n");
    EXPECT_EQ(text(), "FRI 00.00.00");
    label->setDate(31, 12, 2023);
    EXPECT_EQ(text(), "FRI 00.00.00");

    label->setMode(UDateTimeLabel::ShowTime);
    EXPECT_EQ(clockAt(23, 59, 59), "00:00  "); // flash phase set: ':'
    EXPECT_EQ(next(), "00 00  ");
    for (int i = 0; i < 58; ++i)
        label->update();
    EXPECT_EQ(next(), "00:01  "); // 60 ticks after midnight
    label->setMode(UDateTimeLabel::ShowDate); // the date stays
    EXPECT_EQ(next(), "SUN 31.12.23");

    label->setMode(UDateTimeLabel::ShowTime); // the twelve-hour dial
    label->set24mode(false);
    EXPECT_EQ(clockAt(12, 30, 0), "12:30pm");
    EXPECT_EQ(clockAt(0, 5, 0), "12 05am");
    EXPECT_EQ(clockAt(13, 7, 0), "01:07pm");
}

TEST_F(DateTimeLabelTest, DayLabelsComeMondayFirst)
{
    label->setDayLabels({"MO", "TU", "WE", "TH", "FR", "SA", "SU"});
    label->setDate(31, 12, 2023);
    EXPECT_EQ(next(), "SU 31.12.23");
    label->setDate(1, 1, 2024);
    EXPECT_EQ(next(), "MO 01.01.24");
}

TEST_F(DateTimeLabelTest, OneSecondTimerTicksAndRepaints)
{
    label->setMode(UDateTimeLabel::ShowTime);
    label->setTime(9, 4, 58);
    forget();
    advance(999);
    EXPECT_EQ(label->getSeconds(), 58u);
    advance(1);
    EXPECT_EQ(text(), "09:04  ");
    EXPECT_EQ(paints(), Targets{label}); // one tick, one paint
    advance(1000);
    EXPECT_EQ(text(), "09 05  ");

    // A tick queued for a label that is then destroyed reaches nothing.
    UTimerManager::instance()->tick(1000);
    delete label;
    drain();
}

// A clock and a date, side by side.
TEST_P(SceneTest, DateTimeClockAndDate)
{
    ::testing::internal::CaptureStdout();
    UDateTimeLabel* clock = place(new UDateTimeLabel(panel), 20, 12, 60, 16);
    UDateTimeLabel* date = place(new UDateTimeLabel(panel), 90, 12, 90, 16);
    ::testing::internal::GetCapturedStdout();
    clock->setMode(UDateTimeLabel::ShowTime);
    clock->setTime(9, 4, 59);
    clock->update(); // 09:05, the separator shown
    date->setDate(29, 2, 2024);
    date->update();
    EXPECT_TRUE(matches("datetime"));
}
