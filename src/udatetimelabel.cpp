#include "udatetimelabel.h"

#include <cstdio>

#include "uappcomms.h"
#include "uapplication.h"
#include "udrawer.h"
#include "utimer.h"

namespace {

// Days before each month in a common year; index 1 is January, 13 the
// whole year.
const unsigned int kDaysBeforeMonth[14] = {0,   0,   31,  59,  90,  120, 151,
                                           181, 212, 243, 273, 304, 334, 365};

UString format(const char* fmt, int a, int b, int c)
{
    char buf[64];
    std::snprintf(buf, sizeof buf, fmt, a, b, c);
    return UString(buf);
}

} // namespace

UDateTimeLabel::UDateTimeLabel(UWidget* parent)
    : ULabel(parent, AlignLeft), m_timer(new UTimer(this, 1000)), m_mode(ShowDate),
      m_flashPhase(false), m_useFlash(true), m_24h(true), m_year(0), m_month(0), m_day(0),
      m_hours(0), m_minutes(0), m_seconds(0), m_dayOfWeek(0), m_timeOffset(0)
{
    UAppComms::writeLine("UDateTimeLabel is obsolete, please do not use");
    m_timer->start();
    static const char* const defaults[7] = {"SUN", "MON", "TUE", "WED", "THU", "FRI", "SAT"};
    for (int i = 0; i < 7; ++i)
        m_dayLabels[i] = UString(defaults[i]);
    update();
}

UDateTimeLabel::~UDateTimeLabel()
{
    if (m_timer) {
        m_timer->stop();
        delete m_timer;
        m_timer = nullptr;
    }
}

void UDateTimeLabel::timerEvent(UTimerEvent*)
{
    update();
    refresh();
}

void UDateTimeLabel::setIcons(const UString& icons)
{
    ULabel::setIcons(icons);
}

void UDateTimeLabel::setDate(unsigned int day, unsigned int month, unsigned int year)
{
    m_day = day;
    m_month = month;
    m_year = year;
}

void UDateTimeLabel::setTime(unsigned int hours, unsigned int minutes, unsigned int seconds)
{
    m_hours = hours;
    m_minutes = minutes;
    m_seconds = seconds;
}

void UDateTimeLabel::setDayLabels(const std::vector<UString>& labels)
{
    if (labels.size() < 7)
        return;
    for (int i = 0; i < 6; ++i)
        m_dayLabels[i + 1] = labels[static_cast<size_t>(i)];
    m_dayLabels[0] = labels[6];
}

void UDateTimeLabel::setText(const UString& text)
{
    ULabel::setText(text, false);
}

UString UDateTimeLabel::getDate()
{
    return format("%02d.%02d.%02d", static_cast<int>(m_day), static_cast<int>(m_month),
                  static_cast<int>(m_year % 100));
}

UString UDateTimeLabel::getDayOfWeek()
{
    return m_dayLabels[m_dayOfWeek % 7];
}

UString UDateTimeLabel::getHours()
{
    return format("%02d", static_cast<int>(m_24h ? m_hours % 24 : m_hours % 12), 0, 0);
}

UString UDateTimeLabel::getMinutes()
{
    return format("%02d", static_cast<int>(m_minutes), 0, 0);
}

UString UDateTimeLabel::getAMPM()
{
    if (m_24h)
        return UString();
    return UString(m_hours >= 12 && m_hours <= 23 ? "pm" : "am");
}

UString UDateTimeLabel::getFlash()
{
    return UString(!m_useFlash || m_flashPhase ? ":" : " ");
}

int UDateTimeLabel::getDayOfWeekLength()
{
    UString font = getFont();
    if (font.isEmpty())
        font = UApplication::instance()->getFont();
    int widest = 0;
    for (const UString& label : m_dayLabels) {
        const int w = UDrawer::textWidth(label, font);
        if (w > widest)
            widest = w;
    }
    return widest;
}

unsigned int UDateTimeLabel::countOfDateFeb29(unsigned int year)
{
    if (year == 0)
        return 0;
    const unsigned int z = year - 1;
    return z / 400 + z / 4 + 1 - z / 100;
}

bool UDateTimeLabel::isGivenDateLeapYear(unsigned int year)
{
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

unsigned int UDateTimeLabel::calculateDayOfWeek(unsigned int year, unsigned int month,
                                                unsigned int day)
{
    const unsigned int m = month < 14 ? month : 13;
    unsigned int v = kDaysBeforeMonth[m] + 20 + year % 7 + countOfDateFeb29(year) % 7;
    if (m > 2 && isGivenDateLeapYear(year))
        v += 1;
    return (day - 1 + v) % 7;
}

void UDateTimeLabel::update()
{
    if (++m_seconds == 60) {
        m_seconds = 0;
        if (++m_minutes == 60) {
            m_minutes = 0;
            if (++m_hours == 24)
                m_hours = 0;
        }
    }

    if (m_mode == ShowTime) {
        const char separator = m_flashPhase ? ':' : ' ';
        char buf[64];
        if (m_24h) {
            std::snprintf(buf, sizeof buf, "%02d%c%02d  ", static_cast<int>(m_hours),
                          separator, static_cast<int>(m_minutes));
        } else {
            unsigned int dial = m_hours % 12;
            if (dial == 0)
                dial = 12;
            std::snprintf(buf, sizeof buf, "%02d%c%02d%s", static_cast<int>(dial), separator,
                          static_cast<int>(m_minutes), getAMPM().toUTF8().c_str());
        }
        ULabel::setText(UString(buf), false);
    } else if (m_mode == ShowDate) {
        m_dayOfWeek = calculateDayOfWeek(m_year, m_month, m_day);
        UString text = m_dayLabels[m_dayOfWeek];
        text += format(" %02d.%02d.%02d", static_cast<int>(m_day), static_cast<int>(m_month),
                       static_cast<int>(m_year % 100));
        ULabel::setText(text, false);
    }

    m_flashPhase = !m_flashPhase;
}
