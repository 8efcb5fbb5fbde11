// MemoryScreen: an in-memory one-bit UScreenIfc for drawing and widget tests.
//
// The buffer has the LCD's format: rows of stride() bytes, pixel x of a row
// is bit 7 - (x mod 8) of byte x / 8, a set bit is the background and a
// clear bit is ink. It starts all background. setPixel() drops pixels
// outside the screen's size; fill() writes whole bytes like the LCD screen.
//
// For the tests it counts begin(), end() and flush() calls, can record every
// setPixel() call in order (recordPixels), and can accept the lines that the
// drawer offers to drawLine() (acceptLines), remembering each offer.
#ifndef UTK_TESTS_MEMORYSCREEN_H
#define UTK_TESTS_MEMORYSCREEN_H

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "textart.h"
#include "uscreenifc.h"

class MemoryScreen : public UScreenIfc {
public:
    struct PixelCall {
        uint16_t x;
        uint16_t y;
        uint8_t value;
        bool operator==(const PixelCall& o) const { return x == o.x && y == o.y && value == o.value; }
    };

    explicit MemoryScreen(uint16_t w = 199, uint16_t h = 48)
        : m_width(w), m_height(h), m_stride(static_cast<uint16_t>((w + 7) / 8)),
          m_buffer(static_cast<size_t>(m_stride) * h + 1, 0xFF)
    {
    }

    unsigned short width() const override { return m_width; }
    unsigned short height() const override { return m_height; }
    unsigned short stride() const override { return m_stride; }
    unsigned char* buffer() override { return m_buffer.data(); }
    unsigned char* scanLine(unsigned short y) override
    {
        return m_buffer.data() + static_cast<size_t>(y) * m_stride;
    }
    unsigned char pixel(unsigned short x, unsigned short y) const override
    {
        return x >= m_width || y >= m_height || (m_buffer[index(x, y)] & bit(x)) ? 255 : 0;
    }
    void setPixel(unsigned short x, unsigned short y, unsigned char value) override
    {
        if (recordPixels)
            pixels.push_back(PixelCall{x, y, value});
        if (x >= m_width || y >= m_height)
            return;
        if (value)
            m_buffer[index(x, y)] |= bit(x);
        else
            m_buffer[index(x, y)] &= static_cast<unsigned char>(~bit(x));
    }
    void begin() override { ++beginCalls; }
    void end() override { ++endCalls; }
    void flush() override { ++flushCalls; }
    bool fill(unsigned short x, unsigned short y, unsigned char value, int count) override
    {
        size_t at = static_cast<size_t>(y) * m_stride + x / 8;
        for (int i = 0; i < count && at < m_buffer.size() - 1; ++i, ++at)
            m_buffer[at] = value;
        return true;
    }
    bool drawLine(unsigned short x1, unsigned short y1, unsigned short x2,
                  unsigned short y2) override
    {
        lineOffers.push_back({x1, y1, x2, y2});
        return acceptLines;
    }

    // Every pixel back to the background; counters and records are kept.
    void clear() { std::memset(m_buffer.data(), 0xFF, m_buffer.size()); }
    // Number of ink pixels on the whole screen.
    int inkCount() const
    {
        const std::string a = art();
        return static_cast<int>(std::count(a.begin(), a.end(), '#'));
    }
    // Text art of a region (textart.h): '#' ink, '.' background.
    std::string art(int x0, int y0, int w, int h) const { return textart::fromScreen(*this, x0, y0, w, h); }
    std::string art() const { return art(0, 0, m_width, m_height); }

    int beginCalls = 0;
    int endCalls = 0;
    int flushCalls = 0;
    bool recordPixels = false;
    std::vector<PixelCall> pixels;
    bool acceptLines = false;
    std::vector<std::array<uint16_t, 4>> lineOffers;

private:
    static unsigned char bit(unsigned short x) { return static_cast<unsigned char>(0x80 >> (x % 8)); }
    size_t index(unsigned short x, unsigned short y) const { return size_t(y) * m_stride + x / 8; }
    uint16_t m_width;
    uint16_t m_height;
    uint16_t m_stride;
    std::vector<unsigned char> m_buffer;
};

#endif
