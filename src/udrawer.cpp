#include "udrawer.h"

#include <algorithm>
#include <typeinfo>

#include <ft2build.h>
#include FT_FREETYPE_H
#include <hb-ft.h>
#include <hb.h>

#include "syshardwareversion.h"
#include "uapplication.h"
#include "ufontmanager.h"
#include "uscreenifc.h"
#include "uscreenzq4.h"

namespace {

const uint16_t MARKER_FIRST = 0xE000;
const uint16_t MARKER_LAST = 0xE002;

// The baseline lies this many pixels below the y given to the text
// operations; marker glyphs sit MARKER_DROP pixels lower still.
const int BASELINE = 10;
const int MARKER_DROP = 3;

int sign16(int16_t v)
{
    return (v > 0) - (v < 0);
}

int abs16(int16_t v)
{
    return v < 0 ? -static_cast<int>(v) : static_cast<int>(v);
}

// Merges one row of glyph bytes, masked, into a screen row whose first
// byte holds the glyph's first column at bit 7 - shift. Set bits lie left
// of the screen's width, so the byte after is only touched when a bit
// falls into it.
inline void mergeGlyphRow(unsigned char* dst, const unsigned char* src, const unsigned char* mask,
                          unsigned int pitch, unsigned int shift, bool ink)
{
    for (unsigned int b = 0; b < pitch; ++b) {
        const unsigned int data = src[b] & mask[b];
        if (data == 0)
            continue;
        const unsigned int first = data >> shift;
        const unsigned int second = (data << (8 - shift)) & 0xFFu;
        if (ink) {
            dst[b] = static_cast<unsigned char>(dst[b] & ~first);
            if (second)
                dst[b + 1] = static_cast<unsigned char>(dst[b + 1] & ~second);
        } else {
            dst[b] = static_cast<unsigned char>(dst[b] | first);
            if (second)
                dst[b + 1] = static_cast<unsigned char>(dst[b + 1] | second);
        }
    }
}

} // namespace

void adjustBufferForLocale(hb_buffer_t* buffer)
{
    UApplication* app = UApplication::instance();
    const int locale = app ? static_cast<int>(app->getLocale()) : 0;
    hb_direction_t direction = HB_DIRECTION_LTR;
    hb_script_t script = HB_SCRIPT_LATIN;
    const char* language = "en";
    switch (locale) {
    case UGlobal::Hangul:
        script = HB_SCRIPT_HANGUL;
        language = "kr";
        break;
    case UGlobal::Han:
        script = HB_SCRIPT_HAN;
        language = "ch";
        break;
    case UGlobal::Katakana:
        script = HB_SCRIPT_KATAKANA;
        language = "jp";
        break;
    case UGlobal::Arabic:
        direction = HB_DIRECTION_RTL;
        script = HB_SCRIPT_ARABIC;
        language = "ar";
        break;
    default:
        break;
    }
    hb_buffer_set_direction(buffer, direction);
    hb_buffer_set_script(buffer, script);
    hb_buffer_set_language(buffer, hb_language_from_string(language, 2));
}

void renderGlyph(UDrawer* drawer, FT_Bitmap* bitmap, unsigned short x, unsigned short y)
{
    if (drawer == nullptr || bitmap == nullptr || bitmap->buffer == nullptr || bitmap->rows == 0 ||
        bitmap->pitch <= 0)
        return;
    drawer->drawGlyphBits(drawer->glyphTarget(), bitmap->buffer, bitmap->rows,
                          static_cast<unsigned int>(bitmap->pitch), x, y);
}

UDrawer::GlyphTarget UDrawer::glyphTarget() const
{
    GlyphTarget t;
    // The LCD screen's own setPixel only sets or clears one bit of its
    // buffer (one bit a pixel, most significant bit leftmost), so glyph
    // bytes can go straight into its scan lines. A subclass might do more
    // in setPixel and gets the pixel routine like any other screen.
    if (m_screen == nullptr || typeid(*m_screen) != typeid(UScreenZQ4))
        return t;
    t.base = m_screen->buffer();
    t.stride = m_screen->stride();
    t.height = m_screen->height();
    t.width = std::min<unsigned int>(m_screen->width(), t.stride * 8u);
    return t;
}

void UDrawer::drawGlyphBits(const GlyphTarget& target, const unsigned char* bits,
                            unsigned int rows, unsigned int pitch, uint16_t x, uint16_t y)
{
    if (m_screen == nullptr)
        return;
    // Rows and columns that the pixel routine would drop whole: beyond the
    // drawing limits or outside the clip rectangle.
    const unsigned int xlo = m_clipRect.getLeft();
    const unsigned int xhi = std::min<unsigned int>(m_clipRect.getRight(), MAX_X);
    const unsigned int ylo = m_clipRect.getTop();
    const unsigned int yhi = std::min<unsigned int>(m_clipRect.getBottom(), MAX_Y);
    if (xlo > xhi || ylo > yhi)
        return;

    const unsigned int sx = x + m_translationX; // screen x of the glyph's first column
    const unsigned int MAX_PITCH = 16;
    if (target.base != nullptr && pitch <= MAX_PITCH && sx + 8 * pitch - 1 <= 0xFFFFu) {
        // No coordinate wraps within the glyph (the drawer's is not larger
        // than the screen's): one mask per byte column keeps the pixels
        // that pass the limits, the clip and the screen's width, and each
        // byte is merged in at once.
        unsigned char mask[MAX_PITCH];
        unsigned int any = 0;
        const int screenHi = static_cast<int>(target.width) - 1 - static_cast<int>(m_translationX);
        for (unsigned int b = 0; b < pitch; ++b) {
            const int x0 = x + 8 * static_cast<int>(b);
            const int lo = std::max(x0, static_cast<int>(xlo)) - x0;
            const int hi = std::min(std::min(x0 + 7, static_cast<int>(xhi)), screenHi) - x0;
            mask[b] = lo > hi ? 0 : static_cast<unsigned char>((0xFFu >> lo) & (0xFFu << (7 - hi)));
            any |= mask[b];
        }
        if (any == 0)
            return;
        const unsigned int shift = sx & 7u;
        const bool ink = m_pen == 0;
        if (y >= ylo && y + rows - 1 <= yhi && y + m_translationY + rows <= target.height) {
            // Every row is within the limits, the clip and the screen.
            unsigned char* dst = target.base +
                                 static_cast<size_t>(y + m_translationY) * target.stride + (sx >> 3);
            if (pitch == 1) // the common narrow glyph: one byte a row
                for (unsigned int r = 0; r < rows; ++r, dst += target.stride)
                    mergeGlyphRow(dst, bits + r, mask, 1, shift, ink);
            else
                for (unsigned int r = 0; r < rows; ++r, bits += pitch, dst += target.stride)
                    mergeGlyphRow(dst, bits, mask, pitch, shift, ink);
            return;
        }
        for (unsigned int r = 0; r < rows; ++r) {
            const uint16_t py = static_cast<uint16_t>(y + r);
            if (py < ylo || py > yhi)
                continue;
            const uint16_t sy = static_cast<uint16_t>(py + m_translationY);
            if (sy >= target.height)
                continue; // setPixel drops the whole row
            mergeGlyphRow(target.base + static_cast<size_t>(sy) * target.stride + (sx >> 3),
                          bits + static_cast<size_t>(r) * pitch, mask, pitch, shift, ink);
        }
        return;
    }

    for (unsigned int r = 0; r < rows; ++r) {
        const uint16_t py = static_cast<uint16_t>(y + r);
        if (py < ylo || py > yhi)
            continue;
        const unsigned char* src = bits + static_cast<size_t>(r) * pitch;
        for (unsigned int b = 0; b < pitch; ++b) {
            const unsigned int byte = src[b];
            if (byte == 0)
                continue;
            for (int k = 0; k < 8; ++k) {
                if (byte & (1u << k))
                    drawPixel(static_cast<uint16_t>(x + 8 * b + 7 - k), py);
            }
        }
    }
}

UDrawer::UDrawer()
    : m_screen(UApplication::instance() ? UApplication::instance()->screen() : nullptr),
      m_pen(0),
      m_brush(255),
      m_translationX(0),
      m_translationY(0),
      m_marker(false),
      m_dashBlack(4),
      m_dashWhite(3),
      m_dashGapAdjustment(1)
{
    if (m_screen) {
        m_screen->begin();
        m_clipRect = URect(0, 0, m_screen->width(), m_screen->height());
    }
}

UDrawer::~UDrawer()
{
    if (m_screen)
        m_screen->end();
}

void UDrawer::translate(unsigned short dx, unsigned short dy)
{
    m_translationX = static_cast<uint16_t>(m_translationX + dx);
    m_translationY = static_cast<uint16_t>(m_translationY + dy);
}

void UDrawer::resetTranslation()
{
    m_translationX = 0;
    m_translationY = 0;
}

void UDrawer::setNumbersBlackAndWhitePixelsForDashedLine(signed char black, signed char white)
{
    m_dashBlack = black;
    m_dashWhite = white;
}

void UDrawer::drawPixel(unsigned short x, unsigned short y)
{
    drawPixel(x, y, m_pen);
}

void UDrawer::drawPixel(unsigned short x, unsigned short y, unsigned char value)
{
    if (y > MAX_Y || x > MAX_X)
        return;
    if (!m_clipRect.isInside(x, y))
        return;
    if (m_screen)
        m_screen->setPixel(static_cast<uint16_t>(x + m_translationX),
                           static_cast<uint16_t>(y + m_translationY), value);
}

void UDrawer::drawLine(unsigned short x1, unsigned short y1, unsigned short x2, unsigned short y2)
{
    walkLine(x1, y1, x2, y2, false);
}

void UDrawer::drawLine(const UPoint& p1, const UPoint& p2)
{
    drawLine(p1.getX(), p1.getY(), p2.getX(), p2.getY());
}

void UDrawer::drawDashedLine(unsigned short x1, unsigned short y1, unsigned short x2,
                             unsigned short y2)
{
    walkLine(x1, y1, x2, y2, true);
}

void UDrawer::walkLine(unsigned short x1, unsigned short y1, unsigned short x2, unsigned short y2,
                       bool dashed)
{
    if (y1 > MAX_Y || x1 > MAX_X || y2 > MAX_Y || x2 > MAX_X)
        return;
    if (m_screen && m_screen->drawLine(x1, y1, x2, y2))
        return;

    const int16_t dx = static_cast<int16_t>(x2 - x1);
    const int16_t dy = static_cast<int16_t>(y2 - y1);
    const int sx = sign16(dx);
    const int sy = sign16(dy);
    const int ax = 2 * abs16(dx);
    const int ay = 2 * abs16(dy);

    // Dash state: the first pixel always belongs to a run.
    int blackCounter = 1;
    int whiteCounter = 0;
    auto plot = [&](uint16_t x, uint16_t y) {
        if (!dashed) {
            drawPixel(x, y);
        } else if (m_dashBlack > blackCounter) {
            ++blackCounter;
            drawPixel(x, y);
        } else if (whiteCounter >= m_dashWhite - m_dashGapAdjustment) {
            blackCounter = 0;
            whiteCounter = 0;
        } else {
            ++whiteCounter;
        }
    };

    uint16_t x = x1;
    uint16_t y = y1;
    drawPixel(x, y);
    if (ax >= ay) {
        if (x1 == x2)
            return;
        int e = ay - ax / 2;
        while (x != x2) {
            if (e > 0 || (e == 0 && sx > 0)) {
                y = static_cast<uint16_t>(y + sy);
                e += ay - ax;
            } else {
                e += ay;
            }
            x = static_cast<uint16_t>(x + sx);
            plot(x, y);
        }
    } else {
        int e = ax - ay / 2;
        while (y != y2) {
            if (e > 0 || (e == 0 && sy > 0)) {
                x = static_cast<uint16_t>(x + sx);
                e += ax - ay;
            } else {
                e += ax;
            }
            y = static_cast<uint16_t>(y + sy);
            plot(x, y);
        }
    }
}

void UDrawer::drawRect(unsigned short x1, unsigned short y1, unsigned short x2, unsigned short y2)
{
    drawLine(x1, y1, x2, y1);
    drawLine(x1, y1, x1, y2);
    drawLine(x1, y2, x2, y2);
    drawLine(x2, y1, x2, y2);
}

void UDrawer::drawRect(const UPoint& p1, const UPoint& p2)
{
    drawRect(p1.getX(), p1.getY(), p2.getX(), p2.getY());
}

void UDrawer::drawRect(const URect& r)
{
    drawRect(r.getLeft(), r.getTop(), r.getRight(), r.getBottom());
}

void UDrawer::fillRect(unsigned short x1, unsigned short y1, unsigned short x2, unsigned short y2)
{
    if (y1 > MAX_Y || x1 > MAX_X || y2 > MAX_Y || x2 > MAX_X)
        return;
    if (m_screen == nullptr)
        return;
    // Every pixel of the block is within the limits, so the pixel routine
    // reduces to the clip test, done here once for the whole block.
    const unsigned int left = std::max<unsigned int>(std::min(x1, x2), m_clipRect.getLeft());
    const unsigned int right = std::min<unsigned int>(std::max(x1, x2), m_clipRect.getRight());
    const unsigned int top = std::max<unsigned int>(std::min(y1, y2), m_clipRect.getTop());
    const unsigned int bottom = std::min<unsigned int>(std::max(y1, y2), m_clipRect.getBottom());
    if (left > right || top > bottom)
        return;
    if (fillOnScreen(left, top, right, bottom))
        return;
    // The screen leaves it to us: the same setPixel calls, in the same
    // row-major order, as the pixel routine would make.
    for (unsigned int y = top; y <= bottom; ++y)
        for (unsigned int x = left; x <= right; ++x)
            m_screen->setPixel(static_cast<uint16_t>(x + m_translationX),
                               static_cast<uint16_t>(y + m_translationY), m_brush);
}

// Offers the clipped block (drawer coordinates) to the screen, translated.
// The translation wraps modulo 65536, so the block may come apart into up
// to two column ranges and two row ranges; each piece is offered on its
// own, the first answer deciding for all of them.
bool UDrawer::fillOnScreen(unsigned int left, unsigned int top, unsigned int right,
                           unsigned int bottom)
{
    struct Range {
        uint16_t from, to;
    };
    auto split = [](unsigned int from, unsigned int to, uint16_t shift, Range* out) {
        const unsigned int a = from + shift;
        const unsigned int b = to + shift;
        if (a > 0xFFFF || b <= 0xFFFF) { // wholly wrapped, or not at all
            out[0] = {static_cast<uint16_t>(a), static_cast<uint16_t>(b)};
            return 1;
        }
        out[0] = {static_cast<uint16_t>(a), 0xFFFF};
        out[1] = {0, static_cast<uint16_t>(b)};
        return 2;
    };
    Range cols[2];
    Range rows[2];
    const int nc = split(left, right, m_translationX, cols);
    const int nr = split(top, bottom, m_translationY, rows);
    for (int r = 0; r < nr; ++r)
        for (int c = 0; c < nc; ++c)
            if (!m_screen->fillRect(cols[c].from, rows[r].from, cols[c].to, rows[r].to, m_brush))
                return false;
    return true;
}

void UDrawer::fillRect(const UPoint& p1, const UPoint& p2)
{
    fillRect(p1.getX(), p1.getY(), p2.getX(), p2.getY());
}

void UDrawer::fillRect(const URect& r)
{
    fillRect(r.getLeft(), r.getTop(), r.getRight(), r.getBottom());
}

void UDrawer::sync()
{
    if (m_screen)
        m_screen->flush();
}

void UDrawer::drawText(const UString& text, unsigned short x, unsigned short y, bool marker)
{
    m_marker = marker;
    renderText(text, m_font, x, y);
}

void UDrawer::drawText(const UString& text, const UPoint& p)
{
    renderText(text, m_font, p.getX(), p.getY());
}

void UDrawer::renderText(const UString& text, const UString& font, unsigned short x,
                         unsigned short y)
{
    // The TR480 shows the leading marker at the end of the text: only then
    // is the text copied.
    UString moved;
    const UString* t = &text;
    if (m_marker && !text.empty() && SysHardwareVersion::isTR480()) {
        for (unsigned int i = 0; i < text.length(); ++i) {
            if (text[i] == MARKER_FIRST) {
                moved = text;
                moved[i] = 0x0020;
                moved[moved.length() - 1] = MARKER_FIRST;
                t = &moved;
                break;
            }
        }
    }

    UApplication* app = UApplication::instance();
    if (app == nullptr || app->fontManager() == nullptr)
        return;
    const UFontManager::Shaped* shaped = app->fontManager()->shape(font, *t, true);
    if (shaped == nullptr)
        return;
    const unsigned int n = static_cast<unsigned int>(shaped->glyphs.size());
    const UString& units = *t;

    const GlyphTarget target = glyphTarget();
    uint16_t penX = x;
    for (unsigned int i = 0; i < n; ++i) {
        const UFontManager::Glyph& g = *shaped->glyphs[i];
        if (g.state == UFontManager::Glyph::Failed)
            return;
        int drop = BASELINE;
        if (m_marker && i < units.length() && units[i] >= MARKER_FIRST && units[i] <= MARKER_LAST)
            drop += MARKER_DROP;
        const uint16_t top = static_cast<uint16_t>(y - g.top + drop);
        // A grey bitmap (a font that ignores the mono request) is skipped
        // rather than misread as one bit per pixel.
        if (g.state == UFontManager::Glyph::Ready && g.rows > 0)
            drawGlyphBits(target, g.bits.data(), g.rows, g.pitch,
                          static_cast<uint16_t>(penX + g.left), static_cast<uint16_t>(top + g.firstRow));
        penX = static_cast<uint16_t>(penX + shaped->advances[i]);
    }
}

void UDrawer::drawIcon(unsigned short icon, unsigned short x, unsigned short y)
{
    UApplication* app = UApplication::instance();
    if (app == nullptr)
        return;
    renderText(UString(static_cast<unsigned short>(icon)), app->getIconFont(), x, y);
}

unsigned short UDrawer::textWidth(const UString& text, const UString& font)
{
    UApplication* app = UApplication::instance();
    if (app == nullptr || app->fontManager() == nullptr)
        return 0;
    const UFontManager::Shaped* shaped = app->fontManager()->shape(font, text, false);
    if (shaped == nullptr)
        return 0;
    uint16_t width = 0;
    for (int32_t advance : shaped->advances)
        width = static_cast<uint16_t>(width + advance);
    return width;
}

unsigned short UDrawer::textWidth(const UString& text)
{
    UApplication* app = UApplication::instance();
    if (app == nullptr)
        return 0;
    return textWidth(text, app->getFont());
}

unsigned short UDrawer::textHeight(const UString& font)
{
    UApplication* app = UApplication::instance();
    if (app == nullptr || app->fontManager() == nullptr)
        return 0;
    const UFTHBFont f = app->fontManager()->getFont(font);
    if (f.isNull())
        return 0;
    int height = 0;
    for (int i = 0; i < f.m_face->num_fixed_sizes; ++i) {
        if (f.m_face->available_sizes[i].height > height)
            height = f.m_face->available_sizes[i].height;
    }
    return static_cast<uint16_t>(height);
}

unsigned short UDrawer::iconWidth(unsigned short icon)
{
    UApplication* app = UApplication::instance();
    if (app == nullptr)
        return 0;
    return textWidth(UString(static_cast<unsigned short>(icon)), app->getIconFont());
}

unsigned short UDrawer::iconHeight()
{
    UApplication* app = UApplication::instance();
    if (app == nullptr)
        return 0;
    return textHeight(app->getIconFont());
}
