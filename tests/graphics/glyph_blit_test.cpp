// Text on the LCD screen itself (a simulated direct-mode device, one bit a
// pixel), where glyph bytes go straight into the scan lines, against the
// same drawing through the pixel routine on an in-memory screen: every bit
// offset, clip edges, translations that wrap, both pens, text running off
// the screen's right edge, and repeated texts served from the caches.
#include <vector>

#include <unistd.h>

#include "graphics_fixture.h"
#include "simframebuffer.h"
#include "udrawer.h"
#include "uscreenzq4.h"

namespace {

// Draws every case on the application's screen and answers the picture
// after each.
std::vector<std::string> drawCases(UScreenIfc& screen)
{
    UFontManager* fonts = UApplication::instance()->fontManager();
    fonts->loadFont(sourcePath("fonts/utk-text-12.bdf"), "text");
    fonts->loadFont(sourcePath("fonts/utk-icons-10.bdf"), "icons");
    const UString texts[] = {"Missed call: 0123456", "gjpqy WMW |!|", UString(0xE108)};
    struct Case {
        unsigned short x, y, tx, ty;
        URect clip;
        unsigned char pen;
    };
    std::vector<Case> cases;
    const URect all(0, 0, 199, 48);
    for (unsigned short x = 0; x < 9; ++x) // every bit offset, both through x and translation
        for (unsigned short tx = 0; tx < 9; tx = static_cast<unsigned short>(tx + 4))
            cases.push_back({x, 0, tx, 0, all, 0});
    for (const URect& c : {URect(UPoint(3, 2), UPoint(45, 8)), URect(UPoint(17, 0), UPoint(17, 47)),
                           URect(UPoint(9, 4), UPoint(200, 60)), URect(UPoint(30, 5), UPoint(20, 9))})
        for (unsigned short x = 1; x < 9; x = static_cast<unsigned short>(x + 3))
            cases.push_back({x, 0, 5, 3, c, 0});
    cases.insert(cases.end(), {{150, 30, 0, 0, all, 0},   // past x 198 and y 47
                               {2, 0, 180, 20, all, 0},   // past the screen's edge
                               {3, 65533, 0, 0, all, 0},  // top row wraps
                               {11, 1, 65535, 65535, all, 0}});
    for (unsigned short k = 1; k <= 8; ++k) { // drawer x wraps, screen x wraps
        const unsigned short wrap = static_cast<unsigned short>(65536 - k);
        cases.insert(cases.end(), {{wrap, 0, 0, 0, all, 0}, {9, 0, wrap, 0, all, 0}});
    }
    for (unsigned short x = 0; x < 8; x = static_cast<unsigned short>(x + 3))
        cases.push_back({x, 4, 1, 0, URect(UPoint(2, 0), UPoint(150, 40)), 255});

    std::vector<std::string> pictures;
    for (const Case& c : cases) {
        for (int pass = 0; pass < 2; ++pass) { // the second pass hits the caches
            for (unsigned short y = 0; y < screen.height(); ++y)
                for (unsigned short x = 0; x < screen.width(); ++x)
                    screen.setPixel(x, y, c.pen == 0 ? 255 : ((x / 3 + y) % 3 ? 0 : 255));
            UDrawer d;
            d.setFont("text");
            d.setPen(c.pen);
            d.setClipRect(c.clip);
            d.translate(c.tx, c.ty);
            for (int i = 0; i < 2; ++i)
                d.drawText(texts[i], c.x, static_cast<unsigned short>(c.y + 13 * i), false);
            d.drawIcon(0xE108, static_cast<unsigned short>(c.x + 7), static_cast<unsigned short>(c.y + 26));
            pictures.push_back(textart::fromScreen(screen, 0, 0, screen.width(), screen.height()));
        }
    }
    return pictures;
}

} // namespace

TEST(GlyphBlitTest, LcdScreenGetsThePixelsOfThePixelRoutine)
{
    SysHardwareVersion::setModel(SysHardwareVersion::MODEL_DEFAULT);
    for (unsigned short width : {199, 162}) {
        std::vector<std::string> expected;
        {
            UApplication app("BlitReference", new MemoryScreen(width, 48), UApplication::UIMode(0));
            expected = drawCases(*app.screen());
        }
        SimFramebuffer::setShmName("/utk-glyph-blit-" + std::to_string(getpid()));
        ASSERT_TRUE(SimFramebuffer::configure("ST7529 FB", width, 48, 1));
        std::vector<std::string> actual;
        {
            testing::internal::CaptureStdout(); // the screen's "Actual ..." line
            UApplication app("BlitLcd", new UScreenZQ4, UApplication::UIMode(0));
            testing::internal::GetCapturedStdout();
            ASSERT_NE(app.screen()->buffer(), nullptr);
            actual = drawCases(*app.screen());
        }
        SimFramebuffer::remove();
        ASSERT_EQ(actual.size(), expected.size());
        for (size_t i = 0; i < expected.size(); ++i)
            ASSERT_EQ(actual[i], expected[i]) << "width " << width << ", case " << i / 2 << ", pass " << i % 2;
    }
}
