// URect: a screen rectangle given by two inclusive corners, p1 (left, top)
// and p2 (right, bottom).
//
// The constructors take a width and a height in pixels (a width of 10 covers
// ten columns), while getWidth() and getHeight() return the distance between
// the corners, one less than that count: URect(0, 0, 10, 5).getWidth() is 9.
// Widgets rely on this difference, so it must not be "fixed".
//
// Nothing keeps p1 above and to the left of p2; a width or height of 0 gives
// reversed corners (URect(5, 5, 0, 0) has p2 = (4, 4)). The drawing
// operations order corners themselves. All arithmetic is unsigned 16-bit and
// wraps modulo 65536.
//
// contains(r) tests r's top-left corner and the point one up and to the left
// of r's bottom-right corner, so a one-pixel rectangle at (0, 0) is never
// contained anywhere (its second test point wraps to (65535, 65535)).
#ifndef URECT_H
#define URECT_H

#include "utkexport.h"

#include <string>

#include "upoint.h"

class UTK_EXPORT URect {
public:
    URect();
    URect(const UPoint& p1, const UPoint& p2);
    URect(const UPoint& p, unsigned short w, unsigned short h);
    URect(unsigned short x, unsigned short y, unsigned short w, unsigned short h);

    UPoint getP1() const { return m_p1; }
    UPoint getP2() const { return m_p2; }
    void setP1(const UPoint& p) { m_p1 = p; }
    void setP2(const UPoint& p) { m_p2 = p; }

    unsigned short getLeft() const { return m_p1.getX(); }
    unsigned short getTop() const { return m_p1.getY(); }
    unsigned short getRight() const { return m_p2.getX(); }
    unsigned short getBottom() const { return m_p2.getY(); }
    void setLeft(unsigned short x) { m_p1.setX(x); }
    void setTop(unsigned short y) { m_p1.setY(y); }
    void setRight(unsigned short x) { m_p2.setX(x); }
    void setBottom(unsigned short y) { m_p2.setY(y); }

    // right - left and bottom - top, modulo 65536.
    unsigned short getWidth() const;
    unsigned short getHeight() const;

    void translate(unsigned short dx, unsigned short dy);

    bool isInside(unsigned short x, unsigned short y) const;
    bool contains(const URect& r) const;

    bool operator==(const URect& o) const { return m_p1 == o.m_p1 && m_p2 == o.m_p2; }
    bool operator!=(const URect& o) const { return !(*this == o); }

    void print() const;
    void printCoordinates() const;
    void printCoordinates(std::string prefix) const;

private:
    UPoint m_p1;
    UPoint m_p2;
};

#endif
