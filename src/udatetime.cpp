#include "udatetime.h"

UDateTime::UDateTime() : m_time(0), m_tm(nullptr) {}

UDateTime::~UDateTime() {}

UDateTime UDateTime::now()
{
    UDateTime dt;
    dt.m_time = ::time(nullptr);
    dt.m_tm = ::localtime(&dt.m_time);
    return dt;
}

unsigned short UDateTime::year() const
{
    return m_tm ? static_cast<unsigned short>(m_tm->tm_year + 1900) : 0;
}

unsigned char UDateTime::month() const
{
    return m_tm ? static_cast<unsigned char>(m_tm->tm_mon + 1) : 0;
}

unsigned char UDateTime::day() const
{
    return m_tm ? static_cast<unsigned char>(m_tm->tm_mday) : 0;
}

unsigned char UDateTime::hour() const
{
    return m_tm ? static_cast<unsigned char>(m_tm->tm_hour) : 0;
}

unsigned char UDateTime::minute() const
{
    return m_tm ? static_cast<unsigned char>(m_tm->tm_min) : 0;
}

unsigned char UDateTime::second() const
{
    return m_tm ? static_cast<unsigned char>(m_tm->tm_sec) : 0;
}
