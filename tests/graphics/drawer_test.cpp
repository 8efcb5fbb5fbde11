// Drawer primitives: the drawing limits, clip and translation, Bresenham
// lines with their tie-break, dashes and fills, and the calls the
// drawer makes on the screen.
#include <vector>

#include "graphics_fixture.h"
#include "textart.h"
#include "udrawer.h"

using Calls = std::vector<MemoryScreen::PixelCall>;
using DrawerTest = GraphicsTest;

// The limits 198/47 apply before the translation (the clip golden shows
// that the clip does too).
TEST_F(DrawerTest, LifetimeLimitsAndTranslationsModulo65536)
{
    {
        UDrawer d;
        d.sync();
        EXPECT_EQ(screen->beginCalls * 100 + screen->endCalls * 10 + screen->flushCalls, 101);
    }
    EXPECT_EQ(screen->endCalls, 1);

    UDrawer d;
    screen->recordPixels = true;
    d.setClipRect(URect(UPoint(0, 0), UPoint(400, 100))); // wider than the limits
    d.translate(65526, 65535);                             // 10 left, 1 up
    d.drawPixel(199, 5); // beyond the limits, though translated onto the screen
    d.drawPixel(5, 48);
    d.drawPixel(65535, 65535);
    d.drawPixel(198, 47);
    d.drawPixel(13, 4, 77); // any non-zero value is background
    EXPECT_EQ(screen->pixels, (Calls{{188, 46, 0}, {3, 3, 77}}));
    screen->pixels.clear();

    d.resetTranslation();
    d.translate(20, 0);
    d.translate(UPoint(65526, 3)); // translations add up: 10 right, 3 down
    d.drawPixel(5, 1);
    EXPECT_EQ(screen->pixels, (Calls{{15, 4, 0}}));
}

// One past 198/47 a line is dropped whole and not even offered to the
// screen, which may draw lines itself (the goldens decline the offers).
TEST_F(DrawerTest, LinesStopAtTheLimitsAndGoToTheScreenFirst)
{
    UDrawer d;
    screen->recordPixels = true;
    d.drawLine(0, 0, 199, 0);
    d.drawLine(0, 48, 0, 0);
    d.drawDashedLine(199, 0, 0, 0);
    d.fillRect(0, 0, 10, 48);
    EXPECT_TRUE(screen->pixels.empty());
    EXPECT_TRUE(screen->lineOffers.empty());

    screen->acceptLines = true;
    d.drawDashedLine(3, 4, 5, 40);
    d.drawRect(0, 0, 5, 5); // the outline's sides, in their order
    EXPECT_TRUE(screen->pixels.empty());
    EXPECT_EQ(screen->lineOffers, (std::vector<std::array<uint16_t, 4>>{
                                      {3, 4, 5, 40}, {0, 0, 5, 0}, {0, 0, 0, 5}, {0, 5, 5, 5}, {5, 0, 5, 5}}));
}

TEST_F(DrawerTest, OctantsGolden)
{
    UDrawer d;
    // Lines of slope 1/2 and 2, where the error term ties, in all eight
    // octants: outwards from a tile's centre on the top half of the screen,
    // inwards to it on the bottom half. The tie-break steps the minor axis
    // only when the major axis runs in the positive direction, so every
    // line covers the pixels of its reverse.
    const int ends[8][2] = {{8, 4}, {4, 8}, {-4, 8}, {-8, 4}, {-8, -4}, {-4, -8}, {4, -8}, {8, -4}};
    for (int k = 0; k < 8; ++k) {
        const auto cx = static_cast<unsigned short>(9 + 24 * k);
        const auto ex = static_cast<unsigned short>(cx + ends[k][0]);
        d.drawLine(cx, 8, ex, static_cast<unsigned short>(8 + ends[k][1]));
        d.drawLine(ex, static_cast<unsigned short>(32 + ends[k][1]), cx, 32);
    }
    EXPECT_TRUE(textart::matchesGolden(screen->art(), "drawer_octants"));
}

TEST_F(DrawerTest, DashedLines)
{
    // Runs of 4 ink and 3 blank by default, from the given start whichever
    // the direction.
    UDrawer d;
    d.drawDashedLine(0, 0, 30, 15);
    d.drawDashedLine(40, 0, 40, 47);
    d.setNumbersBlackAndWhitePixelsForDashedLine(2, 5);
    d.drawDashedLine(198, 0, 60, 47);
    d.setNumbersBlackAndWhitePixelsForDashedLine(6, 1);
    d.drawDashedLine(50, 40, 198, 40);
    EXPECT_TRUE(textart::matchesGolden(screen->art(), "drawer_dashed"));

    // Counts of zero or below stay bounded: only the first pixel is drawn.
    screen->clear();
    d.setNumbersBlackAndWhitePixelsForDashedLine(-128, -128);
    d.drawDashedLine(0, 1, 30, 1);
    EXPECT_EQ(screen->inkCount(), 1);
}

// Fills order their corners and use the brush, not the pen.
TEST_F(DrawerTest, FillsOrderTheirCornersAndUseTheBrush)
{
    UDrawer d;
    d.setBrush(0);
    d.fillRect(10, 10, 5, 5);
    EXPECT_EQ(inkBox(), (Box{5, 5, 10, 10}));
    EXPECT_EQ(screen->inkCount(), 36);
    d.setBrush(255);
    d.fillRect(URect(UPoint(6, 9), UPoint(9, 6)));
    EXPECT_EQ(screen->inkCount(), 36 - 16);
    // The whole drawing area, and nothing beyond it.
    d.setBrush(0);
    d.fillRect(0, 0, 198, 47);
    EXPECT_EQ(screen->inkCount(), 199 * 48);
}

TEST_F(DrawerTest, ClippedAndTranslatedGolden)
{
    UDrawer d;
    d.setClipRect(URect(UPoint(5, 5), UPoint(30, 20)));
    d.translate(40, 2);
    d.setBrush(0);
    d.fillRect(0, 0, 12, 12);     // clipped on top and left
    d.drawRect(0, 0, 35, 25);     // only its parts inside the clip
    d.drawLine(0, 25, 35, 0);     // a diagonal through the clip
    d.setPen(255);
    d.drawLine(6, 6, 11, 11);     // erases across the fill
    d.resetTranslation();
    d.setPen(0);
    d.setClipRect(URect(UPoint(150, 0), UPoint(198, 47)));
    d.drawLine(100, 47, 198, 0);  // half of it clipped away
    d.translate(65486, 0);        // 50 to the left
    d.drawRect(160, 30, 170, 40); // drawn at 110..120
    EXPECT_TRUE(textart::matchesGolden(screen->art(), "drawer_clip_translate"));
}
