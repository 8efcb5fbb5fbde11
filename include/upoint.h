// UPoint: a screen position with unsigned 16-bit coordinates.
//
// All arithmetic wraps modulo 65536; a move by a negative amount is written
// as a move by its 16-bit two's complement (moveBy(65535, 0) is one column
// to the left).
#ifndef UPOINT_H
#define UPOINT_H

#include "utkexport.h"

#include <cstdint>

class UTK_EXPORT UPoint {
public:
    UPoint() : m_x(0), m_y(0) {}
    UPoint(unsigned short x, unsigned short y) : m_x(x), m_y(y) {}

    unsigned short getX() const { return m_x; }
    unsigned short getY() const { return m_y; }
    void setX(unsigned short x) { m_x = x; }
    void setY(unsigned short y) { m_y = y; }

    void moveBy(unsigned short dx, unsigned short dy)
    {
        m_x = static_cast<uint16_t>(m_x + dx);
        m_y = static_cast<uint16_t>(m_y + dy);
    }
    void moveBy(const UPoint& d) { moveBy(d.m_x, d.m_y); }

    bool operator==(const UPoint& o) const { return m_x == o.m_x && m_y == o.m_y; }
    bool operator!=(const UPoint& o) const { return !(*this == o); }

private:
    uint16_t m_x;
    uint16_t m_y;
};

#endif
