// UDateTimeLabel: a left-aligned label showing a clock (hours and minutes
// with a flashing separator, 24-hour or 12-hour) or a weekday and a date.
// Obsolete: every construction prints
// "UDateTimeLabel is obsolete, please do not use" on standard output. It
// remains a complete widget.
//
// The label keeps its own time and never reads the system clock. A
// periodic one-second timer, owned by the label from its construction to
// its destruction, calls update() and refresh() on every tick. update()
// advances the time by one second (seconds to 60 carry into minutes, 60
// minutes into hours, 24 hours wrap to 0; the tests are for equality, so
// values set beyond these bounds keep counting up), rewrites the text for
// the mode, and inverts the flash phase in every mode. The date never
// advances. The constructor calls update() once, so a fresh label shows
// "FRI 00.00.00" with the seconds at 1 and the flash phase set.
//
// Texts: ShowTime "HH:MM  " (two trailing spaces) in 24-hour mode, and
// "hh:MMam" / "hh:MMpm" on the 12-hour dial (12 for 0 and 12); the
// separator is ':' on every other tick and a space in between, whatever
// setUseFlash() says (which only affects getFlash()). ShowDate
// "<weekday> DD.MM.YY". Any other mode leaves the text alone. Setters store
// only; the new values show at the next tick.
//
// Weekdays (0 = Sunday): calculateDayOfWeek counts days from a fixed
// origin with the Gregorian leap-year rule; months must be 0 to 13 (they
// index a 14-entry table of days before each month), callers pass 1 to 12.
// setDayLabels takes at least seven labels, Monday first and Sunday last.
//
// Failures: a month above 13 is clamped to the table's last entry rather
// than read past it; a day-label vector with fewer than seven entries is
// ignored (the labels stay as they were).
#ifndef UDATETIMELABEL_H
#define UDATETIMELABEL_H

#include "utkexport.h"

#include <cstdint>
#include <vector>

#include "ulabel.h"
#include "ustring.h"

class UTimer;
class UTimerEvent;

class UTK_EXPORT UDateTimeLabel : public ULabel {
public:
    enum DateTimeMode : int32_t {
        ShowTime = 0,
        ShowDate = 1
    };

    explicit UDateTimeLabel(UWidget* parent);
    ~UDateTimeLabel() override;

    void timerEvent(UTimerEvent* event) override;
    void setIcons(const UString& icons) override;

    void setMode(DateTimeMode mode) { m_mode = mode; }
    DateTimeMode getMode() const { return m_mode; }
    void set24mode(bool on) { m_24h = on; }
    void setUseFlash(bool on) { m_useFlash = on; }
    void setDate(unsigned int day, unsigned int month, unsigned int year);
    void setTime(unsigned int hours, unsigned int minutes, unsigned int seconds);
    void setTimeOffset(unsigned int offset) { m_timeOffset = offset; }
    void setDayLabels(const std::vector<UString>& labels);

    using ULabel::setText;
    void setText(const UString& text);

    UString getDate();
    UString getDayOfWeek();
    UString getHours();
    UString getMinutes();
    UString getAMPM();
    UString getFlash();
    int getDayOfWeekLength();

    unsigned int getSeconds() const { return m_seconds; }
    bool getFlashPhase() const { return m_flashPhase; }

    static unsigned int countOfDateFeb29(unsigned int year);
    static bool isGivenDateLeapYear(unsigned int year);
    static unsigned int calculateDayOfWeek(unsigned int year, unsigned int month, unsigned int day);

    void update();

private:
    UTimer* m_timer;
    DateTimeMode m_mode;
    bool m_flashPhase;
    bool m_useFlash;
    bool m_24h;
    unsigned int m_year;
    unsigned int m_month;
    unsigned int m_day;
    unsigned int m_hours;
    unsigned int m_minutes;
    unsigned int m_seconds;
    unsigned int m_dayOfWeek;
    unsigned int m_timeOffset;
    UString m_dayLabels[7];
};

#endif
