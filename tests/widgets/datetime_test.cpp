// Date-time label: the weekday arithmetic against the C library's calendar,
// the clock's ticking and texts, and its one-second timer driven by the
// paused timer manager.
#include <cerrno>
#include <ctime>
#include <memory>

#include "list_fixture.h"
#include "udatetimelabel.h"

namespace {

// Weekday (0 = Sunday) from the days since 1970-01-01 of the proleptic
// Gregorian calendar (a Thursday), by the civil-from-days method.
unsigned int weekdayFromCivil(int y, unsigned m, unsigned d)
{
    y -= m <= 2;
    const int era = (y >= 0 ? y : y - 399) / 400;
    const unsigned yoe = static_cast<unsigned>(y - era * 400);
    const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    const long long days = static_cast<long long>(era) * 146097 + doe - 719468;
    return static_cast<unsigned>(((days % 7) + 7 + 4) % 7);
}

// The C library's weekday for a date, or -1 when its time_t cannot hold
// the date (a 32-bit time_t reaches only 1901-12-13 to 2038-01-19). Noon
// keeps a valid answer away from the error value -1.
int weekdayFromLibc(int y, int m, int d)
{
    struct tm tm = {};
    tm.tm_year = y - 1900;
    tm.tm_mon = m - 1;
    tm.tm_mday = d;
    tm.tm_hour = 12;
    errno = 0;
    const time_t t = timegm(&tm);
    if (t == static_cast<time_t>(-1))
        return -1;
    struct tm back = {};
    if (!gmtime_r(&t, &back) || back.tm_year != y - 1900 || back.tm_mon != m - 1 ||
        back.tm_mday != d)
        return -1; // wrapped around
    return back.tm_wday;
}

std::string utf8(const UString& s)
{
    return s.toUTF8();
}

} // namespace

class DateTimeLabelTest : public PaintedWidgetTest {
protected:
    void SetUp() override
    {
        PaintedWidgetTest::SetUp();
        root.reset(new UWidget(nullptr));
        root->setRect(URect(0, 0, 199, 48));
        ::testing::internal::CaptureStdout();
        label = new UDateTimeLabel(root.get());
        constructionOutput = ::testing::internal::GetCapturedStdout();
        label->setRect(URect(0, 0, 80, 14));
    }
    void TearDown() override
    {
        root.reset();
        PaintedWidgetTest::TearDown();
    }
    std::string text() const { return utf8(label->getText()); }

    std::unique_ptr<UWidget> root;
    UDateTimeLabel* label = nullptr;
    std::string constructionOutput;
};

TEST_F(DateTimeLabelTest, WeekdayMatchesTheCLibraryCalendarFrom1900To2100)
{
    static const unsigned monthDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    long days = 0;
    long checkedByLibc = 0;
    for (unsigned y = 1900; y <= 2100; ++y) {
        for (unsigned m = 1; m <= 12; ++m) {
            const unsigned n =
                monthDays[m - 1] + (m == 2 && UDateTimeLabel::isGivenDateLeapYear(y) ? 1 : 0);
            for (unsigned d = 1; d <= n; ++d, ++days) {
                const unsigned got = UDateTimeLabel::calculateDayOfWeek(y, m, d);
                const unsigned civil = weekdayFromCivil(static_cast<int>(y), m, d);
                const int libc = weekdayFromLibc(static_cast<int>(y), static_cast<int>(m),
                                                 static_cast<int>(d));
                if (libc >= 0) {
                    ++checkedByLibc;
                    // The fallback is itself held to the C library.
                    ASSERT_EQ(civil, static_cast<unsigned>(libc)) << y << "-" << m << "-" << d;
                }
                ASSERT_EQ(got, civil) << y << "-" << m << "-" << d;
            }
        }
    }
    EXPECT_EQ(days, 73414); // 201 years, 48 of them leap years
    // The C library itself must have vouched for at least 1902-2037,
    // whatever the width of time_t.
    EXPECT_GE(checkedByLibc, 49308);
}

TEST_F(DateTimeLabelTest, LeapDaysAndTheZeroDate)
{
    EXPECT_FALSE(UDateTimeLabel::isGivenDateLeapYear(1900));
    EXPECT_TRUE(UDateTimeLabel::isGivenDateLeapYear(2000));
    EXPECT_TRUE(UDateTimeLabel::isGivenDateLeapYear(2024));
    EXPECT_FALSE(UDateTimeLabel::isGivenDateLeapYear(2100));
    EXPECT_EQ(UDateTimeLabel::countOfDateFeb29(0), 0u);
    EXPECT_EQ(UDateTimeLabel::countOfDateFeb29(1), 1u); // year 0 counts
    EXPECT_EQ(UDateTimeLabel::countOfDateFeb29(2024), 491u);
    EXPECT_EQ(UDateTimeLabel::calculateDayOfWeek(2024, 3, 1), 5u); // Friday
    // The zero date of a fresh label.
    EXPECT_EQ(UDateTimeLabel::calculateDayOfWeek(0, 0, 0), 5u);
}

TEST_F(DateTimeLabelTest, FreshLabelShowsTheZeroDateAndSaysItIsObsolete)
{
    EXPECT_EQ(constructionOutput, "UDateTimeLabel is obsolete, please do not use\n");
    EXPECT_EQ(text(), "FRI 00.00.00");
    EXPECT_EQ(label->getSeconds(), 1u);
    EXPECT_TRUE(label->getFlashPhase());
    EXPECT_EQ(utf8(label->getDayOfWeek()), "FRI");
    EXPECT_EQ(label->getAlignment(), ULabel::AlignLeft);

    label->setDate(5, 3, 2024);
    EXPECT_EQ(text(), "FRI 00.00.00"); // setters show at the next tick
    EXPECT_EQ(utf8(label->getDate()), "05.03.24");
    label->update();
    EXPECT_EQ(text(), "TUE 05.03.24");
}

TEST_F(DateTimeLabelTest, ClockWrapsAtMidnightWithAFlashingSeparator)
{
    label->setMode(UDateTimeLabel::ShowTime);
    label->setDate(31, 12, 2023);
    label->setTime(23, 59, 59);
    label->update(); // flash phase set: ':'
    EXPECT_EQ(text(), "00:00  ");
    EXPECT_EQ(utf8(label->getHours()), "00");
    EXPECT_EQ(utf8(label->getMinutes()), "00");
    EXPECT_EQ(utf8(label->getDate()), "31.12.23");
    label->update();
    EXPECT_EQ(text(), "00 00  ");
    for (int i = 0; i < 59; ++i)
        label->update();
    EXPECT_EQ(text(), "00:01  "); // 60 ticks after midnight
    EXPECT_EQ(label->getSeconds(), 0u);

    // Bounds are tested for equality: values beyond them count on.
    label->setTime(30, 59, 59);
    label->update();
    EXPECT_EQ(text(), "31 00  ");
    label->setTime(7, 3, 61);
    label->update();
    EXPECT_EQ(text(), "07:03  ");
    EXPECT_EQ(label->getSeconds(), 62u);
}

TEST_F(DateTimeLabelTest, TwelveHourDial)
{
    label->setMode(UDateTimeLabel::ShowTime);
    label->set24mode(false);
    label->setTime(12, 30, 0);
    label->update();
    EXPECT_EQ(text(), "12:30pm");
    EXPECT_EQ(utf8(label->getHours()), "00");
    EXPECT_EQ(utf8(label->getAMPM()), "pm");
    label->setTime(0, 5, 0);
    label->update();
    EXPECT_EQ(text(), "12 05am");
    EXPECT_EQ(utf8(label->getHours()), "00");
    EXPECT_EQ(utf8(label->getAMPM()), "am");
    label->setTime(23, 59, 59);
    label->update();
    EXPECT_EQ(text(), "12:00am");
    label->setTime(13, 7, 0);
    label->update();
    EXPECT_EQ(text(), "01 07pm");
    label->set24mode(true);
    EXPECT_EQ(utf8(label->getAMPM()), "");
    EXPECT_EQ(utf8(label->getHours()), "13");
}

TEST_F(DateTimeLabelTest, OtherModesFreezeTheTextButNotTheFlash)
{
    label->setMode(static_cast<UDateTimeLabel::DateTimeMode>(2));
    label->setText("frozen");
    EXPECT_EQ(text(), "frozen");
    EXPECT_FALSE(label->getMarker());
    const bool phase = label->getFlashPhase();
    label->update();
    EXPECT_EQ(text(), "frozen");
    EXPECT_NE(label->getFlashPhase(), phase);
    EXPECT_EQ(label->getSeconds(), 2u);

    // getFlash follows the phase only while flashing is on; the clock text
    // alternates either way.
    label->setMode(UDateTimeLabel::ShowTime);
    label->setUseFlash(false);
    std::string seen;
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(utf8(label->getFlash()), ":");
        label->update();
        seen += text()[2];
    }
    EXPECT_EQ(seen, " : :");
    label->setUseFlash(true);
    EXPECT_EQ(utf8(label->getFlash()), " ");
    label->update();
    EXPECT_EQ(utf8(label->getFlash()), ":");
}

TEST_F(DateTimeLabelTest, DayLabelsComeMondayFirst)
{
    label->setDayLabels({"MO", "TU", "WE", "TH", "FR", "SA", "SU"});
    label->setDate(31, 12, 2023);
    label->update();
    EXPECT_EQ(text(), "SU 31.12.23");
    label->setDate(1, 1, 2024);
    label->update();
    EXPECT_EQ(text(), "MO 01.01.24");
    EXPECT_EQ(utf8(label->getDayOfWeek()), "MO");
    label->setDayLabels({"X"}); // too few: ignored
    label->update();
    EXPECT_EQ(text(), "MO 01.01.24");
}

TEST_F(DateTimeLabelTest, WidestDayLabelInTheWidgetsFont)
{
    REQUIRE_FONTS();
    label->setDayLabels({"M", "TUESDAY", "W", "T", "F", "S", "S"});
    EXPECT_EQ(label->getDayOfWeekLength(), UDrawer::textWidth("TUESDAY", "text"));
    EXPECT_GT(label->getDayOfWeekLength(), UDrawer::textWidth("M", "text"));
    label->setFont("no such font");
    EXPECT_EQ(label->getDayOfWeekLength(), 0);
}

TEST_F(DateTimeLabelTest, OneSecondTimerTicksAndRepaints)
{
    UTimer* timer = ownTimer(*label);
    ASSERT_NE(timer, nullptr);
    EXPECT_EQ(timer->getIntervalTime(), 1000u);
    EXPECT_TRUE(timer->isRunning());
    EXPECT_FALSE(timer->isSingleShot());

    label->setMode(UDateTimeLabel::ShowTime);
    label->setTime(9, 4, 58);
    drain();
    app->posted.clear();
    UTimerManager::instance()->tick(990);
    drain();
    EXPECT_EQ(label->getSeconds(), 58u);
    UTimerManager::instance()->tick(10);
    drain();
    EXPECT_EQ(label->getSeconds(), 59u);
    EXPECT_EQ(text(), "09:04  ");
    int paints = 0;
    for (const RecordingApp::Post& p : app->posted)
        paints += p.type == UEvent::Paint && p.target == label;
    EXPECT_EQ(paints, 1);
    UTimerManager::instance()->tick(1000);
    drain();
    EXPECT_EQ(text(), "09 05  ");

    // A tick queued for a label that is then destroyed reaches nothing.
    UTimerManager::instance()->tick(1000);
    delete label;
    drain();
}

// A clock and a date, side by side.
class DateTimeGoldenTest : public SceneTest {};

TEST_P(DateTimeGoldenTest, ClockAndDate)
{
    REQUIRE_FONTS();
    ::testing::internal::CaptureStdout();
    UDateTimeLabel* clock = new UDateTimeLabel(panel);
    UDateTimeLabel* date = new UDateTimeLabel(panel);
    ::testing::internal::GetCapturedStdout();
    clock->setRect(at(20, 12, 60, 16));
    date->setRect(at(90, 12, 90, 16));
    style(clock);
    style(date);
    clock->setMode(UDateTimeLabel::ShowTime);
    clock->setTime(9, 4, 59);
    clock->update(); // 09:05, the separator shown
    date->setDate(29, 2, 2024);
    date->update();
    EXPECT_TRUE(textart::matchesGolden(picture(), goldenName("datetime")));
}

INSTANTIATE_TEST_SUITE_P(Flags, DateTimeGoldenTest, ::testing::ValuesIn(goldenCases()),
                         goldenCaseName);
