// UScreenIfc: the abstract one-bit screen that the drawer paints on.
//
// Pixel values are 8-bit: 0 is ink (dark), any non-zero value background
// (light). begin()/end() bracket a drawer's life, flush() shows the buffer
// on the display, and drawLine() lets a screen draw lines itself (true) or
// leave them to the drawer (false, the default).
//
// fillRect() works the same way for the drawer's filled rectangles: the
// drawer has already applied its limits, clip rectangle and translation and
// hands over the block in screen coordinates (both corners included,
// x1 <= x2 and y1 <= y2, wrap-around already split into separate calls). A
// screen that answers true has set exactly the pixels that setPixel() with
// that value would have set, dropping what lies outside its size. The
// default answers false, and the drawer then calls setPixel() for every
// pixel, row by row, as it always has: a screen written for the drawer
// before this slot existed keeps seeing the same calls. The slot comes
// last, so the order of the earlier slots is unchanged.
#ifndef USCREENIFC_H
#define USCREENIFC_H

#include "utkexport.h"

class UTK_EXPORT UScreenIfc {
public:
    virtual ~UScreenIfc() {}

    virtual unsigned short width() const = 0;
    virtual unsigned short height() const = 0;
    virtual unsigned short stride() const = 0;
    virtual unsigned char* buffer() = 0;
    virtual unsigned char* scanLine(unsigned short y) = 0;
    virtual unsigned char pixel(unsigned short x, unsigned short y) const = 0;
    virtual void setPixel(unsigned short x, unsigned short y, unsigned char value) = 0;
    virtual void begin() {}
    virtual void end() {}
    virtual void flush() {}
    virtual bool fill(unsigned short x, unsigned short y, unsigned char value, int count) = 0;
    virtual bool drawLine(unsigned short x1, unsigned short y1, unsigned short x2,
                          unsigned short y2)
    {
        (void)x1; (void)y1; (void)x2; (void)y2;
        return false;
    }
    virtual bool fillRect(unsigned short x1, unsigned short y1, unsigned short x2,
                          unsigned short y2, unsigned char value)
    {
        (void)x1; (void)y1; (void)x2; (void)y2; (void)value;
        return false;
    }
};

#endif
