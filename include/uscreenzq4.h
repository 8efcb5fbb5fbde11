// UScreenZQ4: the telephone's one-bit LCD through the Linux framebuffer
// device "/dev/fb0".
//
// The mode is chosen once, in the constructor, from the device's
// identification string:
//   "ST7529 FB"              direct: drawing goes into the device memory and
//                            flush() only sends the manual-sync request;
//   "st7525fb", "st7526fb"   buffered: drawing goes into the System V
//                            shared-memory segment 200555 (the device's
//                            geometry, filled with 0xFF), which flush()
//                            copies to the device before the sync request;
//   anything else            emulated: the segment holds a 162, 199 or
//                            192 x 48 screen chosen by hardware model, and
//                            flush() converts it onto the device's colour
//                            display at 16, 24 or 32 bits per pixel,
//                            centred (three times magnified at 16).
// All phonelets open the same segment, so they draw into one buffer. The
// segment outlives the process.
//
// Buffer format: one bit a pixel, stride() bytes a row, the leftmost pixel
// of a byte in its most significant bit; a set bit is background (light),
// a clear bit ink (dark).
//
// Trouble handling:
// - When the device cannot be opened or mapped, construction ends there
//   and the screen has no drawing buffer. When the segment cannot be found,
//   created or attached, construction goes on through every step: the
//   "shnmget failed" line (when getting failed; attaching is then still
//   tried with the invalid id and reports "shmat failed 22 Invalid
//   argument"), the "shmat failed" line, and the "Buffered video" or
//   "Emulated video" line, which shows the null buffer address. A buffered
//   screen skips filling the missing segment. m_enabled stays true, but
//   every operation that reaches the buffer (setPixel(), fill(),
//   fillRect(), flush()) checks for a missing buffer (and flush() for a
//   missing device mapping) and then does nothing; pixel() answers 255
//   and buffer()/scanLine() answer a null pointer.
// - A failed screen-information request is reported with perror() and
//   construction goes on with the zeroed information, which then fails
//   the mapping.
// - A mapping length (line_length x yres) that is zero or does not fit in
//   the address space counts as a failed mapping.
// - A segment of key 200555 that already exists with a smaller size than
//   this screen needs is refused by the system ("shnmget failed"), so the
//   screen never addresses past its buffer.
// - fill() writes at most up to the end of the drawing buffer
//   (line_length x yres bytes); bytes past it are dropped. setPixel() also
//   ignores a pixel whose byte lies beyond the row (a device whose
//   line_length is too short for its xres).
// - flush() never writes past the device mapping or past a device row. An
//   image wider or higher than the device is placed at the top-left corner
//   (like a zero centring offset) and clipped at the right and bottom
//   edges; at 16 bits per pixel only whole 3 x 3 pixels are drawn.
// - The device's identification string is read as at most 16 characters
//   even when the driver leaves it without a terminating zero.
// - Process-wide state (the device and buffer geometry, mapping length and
//   addresses that flush() uses) is reset by each construction, and a
//   destroyed screen forgets the addresses it had set, so a later screen in
//   the same process never reaches a released mapping. The screen also
//   keeps its own mapping length for the unmap in its destructor.
//
// Filled rectangles: fillRect() takes the drawer's blocks in whole bytes
// (masked first and last byte of each row, plain stores in between), with
// the same limits as setPixel(): columns below xres and inside the row's
// line_length, rows below yres.
//
// Conversions: the output is the same on every processor; the code is
// chosen at run time, once.
// - x86-64 with AVX-512 (byte instructions and VBMI's byte permute): a
//   buffer row (at most 64 bytes) is loaded into one register under a
//   mask, and each 64-byte device store is made from it by a permute, a
//   bit test and the test's mask expanded to bytes; a row's last store is
//   masked, so there is no scalar tail and nothing outside the row is read
//   or written. The rows wholly inside the device mapping go in one call;
//   at 16 bits per pixel each buffer row is converted once and stored to
//   its three device rows.
// - x86-64 with AVX2: 32-byte stores, the 32-bit pixels from a table, the
//   24- and 16-bit pixels spread from the buffer bits by byte shuffles, 96
//   device bytes at a time.
// - Elsewhere (the phone's ARM processor): per-depth expansion tables
//   (every byte of the buffer as its device pixels), each built on the
//   first flush at its depth, so a one-bit display never builds any.
// Rows that the mapping or the device's last row cuts short are converted
// one at a time.
#ifndef USCREENZQ4_H
#define USCREENZQ4_H

#include "utkexport.h"

#include <cstddef>
#include <cstdint>

#include <linux/fb.h>

#include "uscreenifc.h"

class UTK_EXPORT UScreenZQ4 : public UScreenIfc {
public:
    // System V key of the shared drawing buffer.
    static const int32_t SHM_KEY = 200555;

    UScreenZQ4();
    ~UScreenZQ4() override;
    UScreenZQ4(const UScreenZQ4&) = delete;
    UScreenZQ4& operator=(const UScreenZQ4&) = delete;

    unsigned short width() const override;
    unsigned short height() const override;
    unsigned short stride() const override;
    unsigned char* buffer() override;
    unsigned char* scanLine(unsigned short y) override;
    unsigned char pixel(unsigned short x, unsigned short y) const override;
    void setPixel(unsigned short x, unsigned short y, unsigned char value) override;
    void flush() override;
    bool fill(unsigned short x, unsigned short y, unsigned char value, int count) override;
    bool fillRect(unsigned short x1, unsigned short y1, unsigned short x2, unsigned short y2,
                  unsigned char value) override;

    // One row of count buffer pixels (most significant bit first) into
    // 3 x count 16-bit device pixels: 0xFFFF for a set bit, 0x0000 for a
    // clear one. A count of 0 or below writes nothing.
    static void scan_line_hw(int count, unsigned char* src, unsigned short* dst);

private:
    // The widest vector code the conversions may use, for the tests that
    // check every path on one processor (UScreenZQ4TestAccess): 2 AVX-512,
    // 1 up to AVX2, 0 the portable code. Always 2 outside tests.
    friend struct UScreenZQ4TestAccess;
    static int s_vectorCap;

    UTK_LOCAL size_t bufferSize() const;
    UTK_LOCAL void attachSegment(size_t size);

    bool m_enabled;
    fb_fix_screeninfo m_finfo;
    fb_var_screeninfo m_vinfo;
    int32_t m_fd;
    unsigned char* m_map;
    unsigned char* m_buffer;
    size_t m_mapLength;
};

#endif
