// Filled rectangles on the framebuffer screen: the drawer's whole-byte path
// through UScreenZQ4::fillRect against its pixel-by-pixel path, pixel for
// pixel, on random rectangles, clips and translations.
#include <random>
#include <vector>

#include "screen_fixture.h"
#include "uapplication.h"
#include "udrawer.h"

namespace {

// The framebuffer screen that takes filled rectangles only while `fast` is
// set; otherwise the drawer falls back to setPixel().
class SwitchScreen : public UScreenZQ4 {
public:
    bool fillRect(unsigned short x1, unsigned short y1, unsigned short x2, unsigned short y2,
                  unsigned char v) override
    {
        return fast && UScreenZQ4::fillRect(x1, y1, x2, y2, v);
    }
    bool fast = true;
};

} // namespace

TEST_F(ScreenTest, FastFillSetsExactlyThePixelsOfThePixelPath)
{
    // Screens: 199 pixels in 25-byte rows (a spare bit at each row's end),
    // 192 in 24, a 240-wide buffered LCD, and a 1-bit device whose rows are
    // too short for its width (setPixel stops at the row's end).
    struct Geometry { const char* id; int model; uint32_t w, h, line; size_t segment; };
    const Geometry geometries[] = {
        {"utksim", 62, 320, 240, 0, 1200},
        {"utksim", 0, 320, 240, 0, 1152},
        {"st7526fb", 0, 240, 160, 0, 4800},
        {"st7525fb", 0, 199, 48, 20, 960},
    };
    std::mt19937 rng(2024);
    auto any = [&rng](unsigned n) { return static_cast<unsigned short>(rng() % n); };
    for (const Geometry& g : geometries) {
        SCOPED_TRACE(g.id + std::string(" ") + std::to_string(g.w));
        SysHardwareVersion::setModel(g.model);
        open(g.id, g.w, g.h, 1, g.line, g.segment);
        screen.reset(); // the application owns the screen under test
        ::testing::internal::CaptureStdout();
        SwitchScreen* sw = new SwitchScreen;
        ::testing::internal::GetCapturedStdout();
        UApplication app("FillTest", sw, UApplication::UIMode(0));
        ASSERT_NE(sw->buffer(), nullptr);
        const size_t size = static_cast<size_t>(sw->stride()) * sw->height();
        std::vector<unsigned char> start(size);
        for (int round = 0; round < 400; ++round) {
            for (unsigned char& b : start)
                b = static_cast<unsigned char>(rng());
            // Corners mostly inside the limits, now and then beyond them; one
            // round in five spans (nearly) whole rows.
            const bool wide = round % 5 == 0;
            const unsigned short x1 = wide ? any(9) : any(205), x2 = wide ? 185 + any(20) : any(205);
            const unsigned short y1 = any(52), y2 = any(52);
            const URect clip(UPoint(any(200), any(50)), UPoint(any(200), any(50)));
            const unsigned short offsets[] = {0, 1, 7, 8, 13, 65535, 65530, 65471};
            const unsigned short tx = round % 3 ? any(60) : offsets[any(8)];
            const unsigned short ty = round % 3 ? any(20) : offsets[any(8)];
            const unsigned char brush = round % 2 ? 0 : static_cast<unsigned char>(1 + any(255));
            std::vector<unsigned char> result[2];
            for (int fast = 0; fast < 2; ++fast) {
                memcpy(sw->buffer(), start.data(), size);
                sw->fast = fast != 0;
                UDrawer d;
                if (round % 4)
                    d.setClipRect(clip);
                d.translate(tx, ty);
                d.setBrush(brush);
                d.fillRect(x1, y1, x2, y2);
                result[fast].assign(sw->buffer(), sw->buffer() + size);
            }
            ASSERT_EQ(result[1], result[0]) << "round " << round << ": (" << x1 << "," << y1 << ")-("
                                            << x2 << "," << y2 << ") by (" << tx << "," << ty
                                            << ") brush " << int(brush);
        }
    }
}
