#include "urect.h"

#include <cstdio>

URect::URect() : m_p1(0, 0), m_p2(0, 0) {}

URect::URect(const UPoint& p1, const UPoint& p2) : m_p1(p1), m_p2(p2) {}

URect::URect(const UPoint& p, unsigned short w, unsigned short h)
    : m_p1(p),
      m_p2(static_cast<uint16_t>(p.getX() + w - 1), static_cast<uint16_t>(p.getY() + h - 1))
{
}

URect::URect(unsigned short x, unsigned short y, unsigned short w, unsigned short h)
    : m_p1(x, y), m_p2(static_cast<uint16_t>(x + w - 1), static_cast<uint16_t>(y + h - 1))
{
}

unsigned short URect::getWidth() const
{
    return static_cast<uint16_t>(getRight() - getLeft());
}

unsigned short URect::getHeight() const
{
    return static_cast<uint16_t>(getBottom() - getTop());
}

void URect::translate(unsigned short dx, unsigned short dy)
{
    m_p1.moveBy(dx, dy);
    m_p2.moveBy(dx, dy);
}

bool URect::isInside(unsigned short x, unsigned short y) const
{
    return getLeft() <= x && x <= getRight() && getTop() <= y && y <= getBottom();
}

bool URect::contains(const URect& r) const
{
    return isInside(r.getLeft(), r.getTop()) &&
           isInside(static_cast<uint16_t>(r.getRight() - 1), static_cast<uint16_t>(r.getBottom() - 1));
}

void URect::print() const
{
    std::printf("URect: left = %d, top = %d, width = %d, height = %d \n", getLeft(), getTop(),
                getWidth(), getHeight());
}

void URect::printCoordinates() const
{
    std::printf("Coordinates: left = %d, right = %d, top = %d, bottom = %d \n", getLeft(),
                getRight(), getTop(), getBottom());
}

void URect::printCoordinates(std::string prefix) const
{
    std::printf("%s Coordinates: left = %d, right = %d, top = %d, bottom = %d \n", prefix.c_str(),
                getLeft(), getRight(), getTop(), getBottom());
}
