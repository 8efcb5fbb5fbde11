// UScreenIfc: the abstract one-bit screen that the drawer paints on.
//
// Pixel values are 8-bit: 0 is ink (dark), any non-zero value background
// (light). begin()/end() bracket a drawer's life, flush() shows the buffer
// on the display, and drawLine() lets a screen draw lines itself (true) or
// leave them to the drawer (false, the default).
#ifndef USCREENIFC_H
#define USCREENIFC_H

class UScreenIfc {
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
};

#endif
