// The flush conversions onto colour displays, against a plain per-pixel
// reference of the same rules on random images, byte for byte over the
// whole device memory.
#include <random>
#include <vector>

#include "screen_fixture.h"

namespace {

struct Device {
    uint32_t w, h, bpp, line; // line 0: the pixels' bytes
};

void put(std::vector<unsigned char>& m, uint64_t at, const void* v, size_t n)
{
    memcpy(m.data() + at, v, n);
}

// The conversions one pixel at a time, as they were written first: centred
// (top-left corner when an offset is not positive), clipped to the device
// row and to the mapping, whole 3 x 3 pixels at 16 bits.
void reference(const Device& d, const unsigned char* buf, uint32_t xres, uint32_t rows,
               uint32_t rowBytes, std::vector<unsigned char>& m)
{
    const uint32_t line = d.line ? d.line : (d.w * d.bpp + 7) / 8;
    const uint64_t map = static_cast<uint64_t>(line) * d.h;
    auto bit = [&](uint32_t r, uint64_t i) { return (buf[r * rowBytes + i / 8] >> (7 - i % 8)) & 1; };
    auto centre = [&](int64_t iw, int64_t ih, uint64_t& x0, uint64_t& y0) {
        const int64_t dx = (static_cast<int64_t>(d.w) - iw) / 2, dy = (static_cast<int64_t>(d.h) - ih) / 2;
        x0 = dx > 0 && dy > 0 ? static_cast<uint64_t>(dx) : 0;
        y0 = dx > 0 && dy > 0 ? static_cast<uint64_t>(dy) : 0;
    };
    uint64_t x0, y0;
    if (d.bpp == 32 || d.bpp == 24) {
        centre(xres, rows, x0, y0);
        const uint64_t unit = d.bpp / 8;
        const uint64_t spacing = d.bpp == 32 ? d.w * 4ull : line;
        const uint64_t across = d.bpp == 32 ? d.w : std::min<uint64_t>(d.w, line / 3);
        for (uint32_t r = 0; r < rows && y0 + r < d.h; ++r)
            for (uint64_t i = 0; x0 + i < across && i < rowBytes * 8ull; ++i) {
                const uint64_t at = (y0 + r) * spacing + (x0 + i) * unit;
                if (at + unit > map)
                    break;
                const uint32_t v = bit(r, i) ? 0xFF000000u : 0xFFFFFFFFu;
                const unsigned char rgb[3] = {0, 0, 0}, white[3] = {0xFF, 0xFF, 0xFF};
                put(m, at, d.bpp == 32 ? static_cast<const void*>(&v) : bit(r, i) ? white : rgb, unit);
            }
    } else if (d.bpp == 16) {
        centre(3ll * xres, 3ll * rows, x0, y0);
        const uint64_t across = std::min<uint64_t>({(d.w - x0) / 3, xres, rowBytes * 8ull});
        for (uint64_t y = y0; y < y0 + 3ull * rows && y < d.h; ++y)
            for (uint64_t i = 0; i < across; ++i) {
                const uint64_t at = (y * d.w + x0 + 3 * i) * 2;
                if (at + 6 > map)
                    break;
                const uint16_t v = bit(static_cast<uint32_t>((y - y0) / 3), i) ? 0xFFFF : 0x0000;
                for (int k = 0; k < 3; ++k)
                    put(m, at + 2 * k, &v, 2);
            }
    }
}

} // namespace

// Caps the vector code the conversions may use (see uscreenzq4.h).
struct UScreenZQ4TestAccess {
    static void setVectorCap(int cap) { UScreenZQ4::s_vectorCap = cap; }
};

TEST_F(ScreenTest, FlushMatchesThePerPixelConversionOnRandomImages)
{
    // Centred, at the top-left corner, clipped by width, height, line
    // length or mapping, padded lines, 199-pixel rows with a spare bit,
    // partial magnified pixels, a depth that is never converted, odd
    // centring offsets (unaligned rows), and a magnified row whose third
    // device row is cut by the end of the mapping, or by the last device
    // row with mapping to spare.
    std::vector<Device> devices = {
        {320, 240, 32, 0}, {320, 240, 32, 1344}, {192, 100, 32, 0}, {100, 30, 32, 0},
        {100, 30, 32, 200}, {320, 240, 24, 0}, {320, 240, 24, 1000}, {150, 20, 24, 301},
        {640, 200, 16, 0}, {320, 240, 16, 0}, {100, 50, 16, 0}, {10, 10, 16, 4},
        {320, 240, 8, 0}, {203, 51, 32, 0}, {205, 53, 24, 0}, {609, 150, 16, 0},
        {100, 12, 16, 199}, {30, 10, 16, 100},
    };
    // Narrow devices (image at the top-left corner, clipped): rows of every
    // length around the 64-byte stores and their groups of three, 1 to 70
    // pixels (up to 280 device bytes at 32 bits, 420 at 16).
    for (uint32_t w = 1; w <= 70; ++w) {
        devices.push_back({w, 4, 32, 0});
        devices.push_back({w, 4, 24, 0});
        devices.push_back({3 * w, 4, 16, 0});
    }
    std::mt19937 rng(7);
    // Every path this processor has: AVX-512, AVX2, portable.
    struct CapReset {
        ~CapReset() { UScreenZQ4TestAccess::setVectorCap(2); }
    } capReset;
    for (int run = 0; run < 9; ++run) {
        const int cap = 2 - run / 3, model = std::vector<int>{0, 49, 62}[run % 3];
        UScreenZQ4TestAccess::setVectorCap(cap);
        SysHardwareVersion::setModel(model);
        for (const Device& d : devices) {
            SCOPED_TRACE("vector cap " + std::to_string(cap) + ", model " + std::to_string(model)
                         + ", " + std::to_string(d.w) + "x" + std::to_string(d.h) + "@" + std::to_string(d.bpp) + " line "
                         + std::to_string(d.line));
            screen.reset();
            const size_t segment = model == 62 ? 1200 : model == 49 ? 1008 : 1152;
            open("utksim", d.w, d.h, d.bpp, d.line, segment);
            ASSERT_NE(screen->buffer(), nullptr);
            for (int round = 0; round < 2; ++round) {
                for (size_t i = 0; i < segment; ++i)
                    screen->buffer()[i] = static_cast<unsigned char>(rng());
                for (size_t i = 0; i < SimFramebuffer::memorySize(); ++i)
                    mem8()[i] = static_cast<unsigned char>(rng());
                std::vector<unsigned char> expect(mem8(), mem8() + SimFramebuffer::memorySize());
                reference(d, screen->buffer(), screen->width(), screen->height(), screen->stride(),
                          expect);
                screen->flush();
                ASSERT_TRUE(std::vector<unsigned char>(mem8(), mem8() + expect.size()) == expect);
            }
            EXPECT_EQ(SimFramebuffer::syncCount(), 0u);
        }
    }
}
