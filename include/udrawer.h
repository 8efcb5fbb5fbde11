// UDrawer: the short-lived drawing context through which widgets paint.
//
// A painting routine creates a drawer on its stack, sets pen, brush, font,
// translation and clip rectangle, draws, and lets it go. The drawer takes the
// screen from UApplication::instance() when it is created; construction calls
// the screen's begin() and destruction its end(). sync() flushes the screen.
//
// Pixel values follow the one-bit screen: 0 is ink (dark), any non-zero value
// background (light); 255 is the toolkit's background. Defaults: pen 0,
// brush 255, empty font name, no translation, dash counts 4 (drawn) and 3
// (skipped), clip rectangle the whole screen.
//
// Every pixel goes through one pixel routine:
//   1. nothing when y > 47 or x > 198 (the largest LCD, 199 x 48, whatever
//      the screen's own size), tested on the coordinates as given;
//   2. nothing when the clip rectangle (drawer coordinates, edges included)
//      does not hold (x, y);
//   3. screen setPixel(x + tx, y + ty) modulo 65536; the screen drops what
//      lies outside its own size.
// Clipping is thus done before translation.
//
// Lines (solid and dashed) and filled rectangles with an end beyond the 198/47
// limits are dropped whole; a rectangle outline tests each of its four sides
// on its own. Lines are first offered to the screen's drawLine(); a screen
// that takes one draws it itself (dashed lines then come out solid).
// Otherwise lines are walked with Bresenham's algorithm, both ends included;
// on an exact tie (error term 0) the minor axis steps only when the major
// axis runs in the positive direction, so a line and its reverse cover the
// same pixels.
//
// Filled rectangles are clipped once as a block and then offered to the
// screen's fillRect() in screen coordinates (split where the translation
// wraps past 65535). A screen that takes them (the toolkit's framebuffer
// screen writes whole bytes with masked ends) sets the same pixels the
// pixel routine would; one that answers false, as UScreenIfc's default
// does, gets the usual setPixel() calls in row-major order.
//
// Dashed lines start with a full run at (x1, y1): runs of black-count drawn
// pixels separated by white-count skipped ones (a fixed gap adjustment of 1
// is part of the counting).
//
// Text: drawText()/renderText() shape the text with HarfBuzz in the
// direction, script and language of the application's locale and draw each
// glyph's one-bit FreeType bitmap in the pen value through the pixel routine;
// text has no background. The pen starts at x and the baseline lies 10 pixels
// below y. With the marker flag set, the marker units U+E000..U+E002 are drawn
// 3 pixels lower, and on the TR480 the first U+E000 of the text becomes a
// space while the last unit of the text is replaced by U+E000. Icons are
// single units of the application's icon font. Widths are the sum of the
// shaped advances (whole pixels, each truncated); heights the tallest fixed
// bitmap strike of the face. Unknown fonts draw nothing and measure 0.
//
// Choices of this implementation:
// - the marker test looks at the text unit with the same index as the glyph
//   (shaping may change the count; glyphs past the text's end are no
//   markers);
// - a glyph that FreeType leaves in a grey or colour format (a bitmap strike
//   of more than one bit per pixel ignores the monochrome request) is not
//   drawn, though its advance still moves the pen: reading its bytes as one
//   bit per pixel would draw noise;
// - shaping results and rendered glyphs come from the font manager's caches
//   (see ufontmanager.h); they give the same pixels as shaping and
//   rendering anew;
// - on the LCD screen itself (a UScreenZQ4, not a subclass) glyph bytes are
//   merged straight into its one-bit buffer, masked by the drawing limits,
//   the clip rectangle and the screen's width: the same bits that its
//   setPixel would set or clear one at a time. Glyph bytes whose screen
//   coordinates wrap at 65536, glyphs wider than 128 pixels, and every
//   other screen go through the pixel routine (setPixel per set bit);
// - without an application (none created yet, or destroyed) a drawer has no
//   screen and draws nothing, and every font lookup finds nothing.
//
// Drawers are used only on the painting (event-loop) thread.
#ifndef UDRAWER_H
#define UDRAWER_H

#include "utkexport.h"

#include <cstdint>

#include "upoint.h"
#include "urect.h"
#include "ustring.h"

class UScreenIfc;

struct hb_buffer_t;
typedef struct hb_buffer_t hb_buffer_t;
struct FT_Bitmap_;
typedef struct FT_Bitmap_ FT_Bitmap;

class UTK_EXPORT UDrawer {
public:
    UDrawer();
    virtual ~UDrawer();

    UDrawer(const UDrawer&) = delete;
    UDrawer& operator=(const UDrawer&) = delete;

    // Text (sets the marker flag first) and text at a point (keeps it).
    virtual void drawText(const UString& text, unsigned short x, unsigned short y, bool marker);
    virtual void drawText(const UString& text, const UPoint& p);

    void setPen(unsigned char value) { m_pen = value; }
    unsigned char pen() const { return m_pen; }
    void setBrush(unsigned char value) { m_brush = value; }
    unsigned char brush() const { return m_brush; }
    void setFont(const UString& font) { m_font = font; }
    UString font() const { return m_font; }
    void setClipRect(const URect& r) { m_clipRect = r; }
    URect clipRect() const { return m_clipRect; }

    void translate(unsigned short dx, unsigned short dy);
    void translate(const UPoint& d) { translate(d.getX(), d.getY()); }
    void resetTranslation();
    UPoint translation() const { return UPoint(m_translationX, m_translationY); }

    void setNumbersBlackAndWhitePixelsForDashedLine(signed char black, signed char white);

    void drawPixel(unsigned short x, unsigned short y);
    void drawPixel(unsigned short x, unsigned short y, unsigned char value);

    void drawLine(unsigned short x1, unsigned short y1, unsigned short x2, unsigned short y2);
    void drawLine(const UPoint& p1, const UPoint& p2);
    void drawDashedLine(unsigned short x1, unsigned short y1, unsigned short x2, unsigned short y2);

    void drawRect(unsigned short x1, unsigned short y1, unsigned short x2, unsigned short y2);
    void drawRect(const UPoint& p1, const UPoint& p2);
    void drawRect(const URect& r);

    void fillRect(unsigned short x1, unsigned short y1, unsigned short x2, unsigned short y2);
    void fillRect(const UPoint& p1, const UPoint& p2);
    void fillRect(const URect& r);

    void sync();

    void renderText(const UString& text, const UString& font, unsigned short x, unsigned short y);
    void drawIcon(unsigned short icon, unsigned short x, unsigned short y);

    static unsigned short textWidth(const UString& text, const UString& font);
    static unsigned short textWidth(const UString& text);
    static unsigned short textHeight(const UString& font);
    static unsigned short iconWidth(unsigned short icon);
    static unsigned short iconHeight();

    // The drawing limits, whatever the screen's size.
    static const unsigned short MAX_X = 198;
    static const unsigned short MAX_Y = 47;

private:
    friend void renderGlyph(UDrawer* drawer, FT_Bitmap* bitmap, unsigned short x,
                            unsigned short y);
    // Where glyph bits go: straight into a one-bit buffer (base not null)
    // or through the pixel routine.
    struct GlyphTarget {
        unsigned char* base = nullptr;
        unsigned int stride = 0;
        unsigned int height = 0;
        unsigned int width = 0; // the screen's width, at most 8 x stride
    };
    UTK_LOCAL GlyphTarget glyphTarget() const;
    // Draws rows x pitch bytes of one-bit glyph bits with their top-left at
    // (x, y), set bits in the pen value, exactly as the pixel routine would.
    UTK_LOCAL void drawGlyphBits(const GlyphTarget& target, const unsigned char* bits,
                                 unsigned int rows, unsigned int pitch, uint16_t x, uint16_t y);
    UTK_LOCAL bool fillOnScreen(unsigned int left, unsigned int top, unsigned int right,
                                unsigned int bottom);
    UTK_LOCAL void walkLine(unsigned short x1, unsigned short y1, unsigned short x2,
                            unsigned short y2, bool dashed);

    UScreenIfc* m_screen;
    URect m_clipRect;
    uint8_t m_pen;
    uint8_t m_brush;
    UString m_font;
    uint16_t m_translationX;
    uint16_t m_translationY;
    bool m_marker;
    int8_t m_dashBlack;
    int8_t m_dashWhite;
    int8_t m_dashGapAdjustment;
};

// Sets the buffer's direction, script and language from the application's
// locale: 1 Hangul "kr", 2 Han "ch", 3 Katakana "jp", 4 Arabic "ar" right to
// left, anything else Latin "en"; all but Arabic left to right.
UTK_EXPORT void adjustBufferForLocale(hb_buffer_t* buffer);

// Draws a one-bit glyph bitmap (most significant bit leftmost, whole bytes of
// each row's pitch) with its top-left at (x, y), set bits in the drawer's pen
// value; clear bits leave the screen untouched.
UTK_EXPORT void renderGlyph(UDrawer* drawer, FT_Bitmap* bitmap, unsigned short x, unsigned short y);

#endif
