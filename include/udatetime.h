// UDateTime: the wall-clock date and time, as localtime() reports it.
//
// A value points at the C library's one shared broken-down time, so every
// value of the process reports the most recent conversion made anywhere
// (two values from two now() calls both show the later time). now() is
// meant for the main thread. A default-constructed value holds no date:
// its accessors answer 0.
#ifndef UDATETIME_H
#define UDATETIME_H

#include "utkexport.h"

#include <ctime>

class UTK_EXPORT UDateTime {
public:
    UDateTime();
    ~UDateTime();

    static UDateTime now();

    unsigned short year() const;
    unsigned char month() const;
    unsigned char day() const;
    unsigned char hour() const;
    unsigned char minute() const;
    unsigned char second() const;
    time_t time() const { return m_time; }

private:
    time_t m_time;
    struct tm* m_tm;
};

#endif
