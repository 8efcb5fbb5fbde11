// Drawer primitives: the pixel routine's limits, clip and translation,
// Bresenham lines with their tie-break, dashes, outlines and fills, and the
// calls the drawer makes on the screen.
#include <algorithm>
#include <cstdlib>
#include <set>
#include <utility>
#include <vector>

#include "graphics_fixture.h"
#include "textart.h"
#include "udrawer.h"

namespace {

using PixelSet = std::set<std::pair<int, int>>;

PixelSet drawnSet(const MemoryScreen& s)
{
    PixelSet out;
    for (const auto& p : s.pixels)
        out.insert({p.x, p.y});
    return out;
}

std::vector<std::pair<int, int>> drawnOrder(const MemoryScreen& s)
{
    std::vector<std::pair<int, int>> out;
    for (const auto& p : s.pixels)
        out.push_back({p.x, p.y});
    return out;
}

} // namespace

using DrawerTest = GraphicsTest;

TEST_F(DrawerTest, LifetimeBracketsTheScreenAndStartsFromDefaults)
{
    {
        UDrawer d;
        EXPECT_EQ(screen->beginCalls, 1);
        EXPECT_EQ(screen->endCalls, 0);
        EXPECT_EQ(d.pen(), 0);
        EXPECT_EQ(d.brush(), 255);
        EXPECT_TRUE(d.font().empty());
        EXPECT_EQ(d.clipRect(), URect(UPoint(0, 0), UPoint(198, 47)));
        EXPECT_EQ(d.translation(), UPoint(0, 0));
        d.sync();
        d.sync();
        EXPECT_EQ(screen->flushCalls, 2);
    }
    EXPECT_EQ(screen->endCalls, 1);
    EXPECT_EQ(screen->flushCalls, 2);
}

TEST_F(DrawerTest, PixelRoutineAppliesLimitsBeforeAnythingElse)
{
    UDrawer d;
    screen->recordPixels = true;
    d.drawPixel(199, 0);
    d.drawPixel(0, 48);
    d.drawPixel(65535, 65535);
    EXPECT_TRUE(screen->pixels.empty());
    d.drawPixel(198, 47);
    d.drawPixel(0, 0, 0);
    d.drawPixel(3, 4, 77); // any non-zero value is background
    ASSERT_EQ(screen->pixels.size(), 3u);
    EXPECT_EQ(screen->pixels[0], (MemoryScreen::PixelCall{198, 47, 0}));
    EXPECT_EQ(screen->pixels[2], (MemoryScreen::PixelCall{3, 4, 77}));
    EXPECT_EQ(screen->pixel(198, 47), 0);
    EXPECT_EQ(screen->pixel(3, 4), 255);
    EXPECT_EQ(screen->inkCount(), 2);

    d.setPen(255); // the pen can erase
    d.drawPixel(198, 47);
    EXPECT_EQ(screen->inkCount(), 1);
}

TEST_F(DrawerTest, ClipIsInDrawerCoordinatesAndTranslationMovesWhatPassed)
{
    UDrawer d;
    d.translate(10, 0);
    d.setClipRect(URect(UPoint(0, 0), UPoint(20, 47)));
    screen->recordPixels = true;
    d.drawPixel(15, 0);
    d.drawPixel(25, 0);
    d.drawPixel(20, 47);
    d.drawPixel(21, 47);
    ASSERT_EQ(screen->pixels.size(), 2u);
    EXPECT_EQ(screen->pixels[0], (MemoryScreen::PixelCall{25, 0, 0}));
    EXPECT_EQ(screen->pixels[1], (MemoryScreen::PixelCall{30, 47, 0}));

    // Translations add up modulo 65536; a negative move is its complement.
    screen->pixels.clear();
    d.translate(UPoint(65526, 3)); // back by 10, down by 3
    d.drawPixel(5, 1);
    d.translate(65535, 0);
    d.drawPixel(0, 0); // lands on x 65535, which the screen drops
    d.resetTranslation();
    d.drawPixel(7, 7);
    ASSERT_EQ(screen->pixels.size(), 3u);
    EXPECT_EQ(screen->pixels[0], (MemoryScreen::PixelCall{5, 4, 0}));
    EXPECT_EQ(screen->pixels[1], (MemoryScreen::PixelCall{65535, 3, 0}));
    EXPECT_EQ(screen->pixels[2], (MemoryScreen::PixelCall{7, 7, 0}));
    EXPECT_EQ(screen->inkCount(), 4); // two earlier ones; the wrapped pixel left no mark
}

TEST_F(DrawerTest, LineExamplesAndTheirOrder)
{
    UDrawer d;
    screen->recordPixels = true;
    d.drawLine(0, 0, 4, 2);
    const std::vector<std::pair<int, int>> forward{{0, 0}, {1, 1}, {2, 1}, {3, 2}, {4, 2}};
    EXPECT_EQ(drawnOrder(*screen), forward);

    screen->pixels.clear();
    d.drawLine(UPoint(4, 2), UPoint(0, 0));
    const std::vector<std::pair<int, int>> backward{{4, 2}, {3, 2}, {2, 1}, {1, 1}, {0, 0}};
    EXPECT_EQ(drawnOrder(*screen), backward);

    screen->pixels.clear();
    d.drawLine(5, 5, 5, 5);
    EXPECT_EQ(drawnOrder(*screen), (std::vector<std::pair<int, int>>{{5, 5}}));

    screen->pixels.clear();
    d.drawLine(0, 0, 198, 47);
    EXPECT_EQ(screen->pixels.size(), 199u);
    EXPECT_EQ(drawnOrder(*screen).back(), std::make_pair(198, 47));

    screen->pixels.clear();
    d.drawLine(0, 47, 0, 0); // vertical, upwards
    EXPECT_EQ(screen->pixels.size(), 48u);
    EXPECT_EQ(drawnOrder(*screen).back(), std::make_pair(0, 0));
}

TEST_F(DrawerTest, LinesBeyondTheLimitsAreDroppedWholeAndNotOffered)
{
    UDrawer d;
    screen->recordPixels = true;
    d.drawLine(0, 0, 199, 0);
    d.drawLine(0, 48, 0, 0);
    d.drawDashedLine(199, 0, 0, 0);
    d.fillRect(0, 0, 10, 48);
    EXPECT_TRUE(screen->pixels.empty());
    EXPECT_TRUE(screen->lineOffers.empty());
}

TEST_F(DrawerTest, ScreenThatDrawsLinesItselfTakesSolidAndDashedLines)
{
    UDrawer d;
    screen->acceptLines = true;
    d.drawLine(1, 2, 30, 4);
    d.drawDashedLine(3, 4, 5, 40);
    d.drawRect(0, 0, 5, 5);
    EXPECT_EQ(screen->setPixelCalls, 0);
    ASSERT_EQ(screen->lineOffers.size(), 6u);
    EXPECT_EQ(screen->lineOffers[0], (std::array<uint16_t, 4>{1, 2, 30, 4}));
    EXPECT_EQ(screen->lineOffers[1], (std::array<uint16_t, 4>{3, 4, 5, 40}));
    // The outline's sides, in their order.
    EXPECT_EQ(screen->lineOffers[2], (std::array<uint16_t, 4>{0, 0, 5, 0}));
    EXPECT_EQ(screen->lineOffers[3], (std::array<uint16_t, 4>{0, 0, 0, 5}));
    EXPECT_EQ(screen->lineOffers[4], (std::array<uint16_t, 4>{0, 5, 5, 5}));
    EXPECT_EQ(screen->lineOffers[5], (std::array<uint16_t, 4>{5, 0, 5, 5}));

    // A declined offer is drawn by the drawer.
    screen->acceptLines = false;
    d.drawLine(0, 10, 9, 10);
    EXPECT_EQ(screen->inkCount(), 10);
}

// Every line and its reverse cover the same pixels: the tie-break steps the
// minor axis only when the major axis runs in the positive direction.
TEST_F(DrawerTest, ReversedLinesCoverTheSamePixelsInEveryOctant)
{
    UDrawer d;
    screen->recordPixels = true;
    const int cx = 20, cy = 20;
    for (int dy = -9; dy <= 9; ++dy) {
        for (int dx = -9; dx <= 9; ++dx) {
            const auto x2 = static_cast<unsigned short>(cx + dx);
            const auto y2 = static_cast<unsigned short>(cy + dy);
            screen->pixels.clear();
            d.drawLine(cx, cy, x2, y2);
            const PixelSet there = drawnSet(*screen);
            const size_t count = screen->pixels.size();
            screen->pixels.clear();
            d.drawLine(x2, y2, cx, cy);
            EXPECT_EQ(drawnSet(*screen), there) << "dx " << dx << " dy " << dy;
            // One pixel per step of the major axis, no repeats.
            const int major = std::max(std::abs(dx), std::abs(dy));
            EXPECT_EQ(count, static_cast<size_t>(major + 1)) << "dx " << dx << " dy " << dy;
            EXPECT_EQ(there.size(), count);
        }
    }
}

TEST_F(DrawerTest, OctantsGolden)
{
    UDrawer d;
    // Lines of slope 1/2 and 2, where the error term ties, in all eight
    // octants: outwards from a tile's centre on the top half of the screen,
    // inwards to it on the bottom half.
    const int ends[8][2] = {{8, 4}, {4, 8}, {-4, 8}, {-8, 4}, {-8, -4}, {-4, -8}, {4, -8}, {8, -4}};
    for (int k = 0; k < 8; ++k) {
        const int cx = 9 + 24 * k;
        for (int half = 0; half < 2; ++half) {
            const int cy = 8 + 24 * half;
            const auto ex = static_cast<unsigned short>(cx + ends[k][0]);
            const auto ey = static_cast<unsigned short>(cy + ends[k][1]);
            if (half == 0)
                d.drawLine(cx, cy, ex, ey);
            else
                d.drawLine(ex, ey, cx, cy);
        }
    }
    EXPECT_TRUE(textart::matchesGolden(screen->art(), "drawer_octants"));
}

TEST_F(DrawerTest, DashedLines)
{
    UDrawer d;
    d.drawDashedLine(0, 0, 20, 0);
    EXPECT_EQ(screen->art(0, 0, 22, 1), "####...####...####....\n");
    d.setNumbersBlackAndWhitePixelsForDashedLine(1, 1);
    d.drawDashedLine(0, 2, 20, 2);
    EXPECT_EQ(screen->art(0, 2, 22, 1), "#.#.#.#.#.#.#.#.#.#.#.\n");
    // Drawn backwards, the first run starts at the given start.
    d.setNumbersBlackAndWhitePixelsForDashedLine(4, 3);
    d.drawDashedLine(20, 4, 0, 4);
    EXPECT_EQ(screen->art(0, 4, 22, 1), "...####...####...####.\n");

    screen->clear();
    d.setNumbersBlackAndWhitePixelsForDashedLine(4, 3);
    d.drawDashedLine(0, 0, 30, 15);
    d.drawDashedLine(40, 0, 40, 47);
    d.setNumbersBlackAndWhitePixelsForDashedLine(2, 5);
    d.drawDashedLine(198, 0, 60, 47);
    d.setNumbersBlackAndWhitePixelsForDashedLine(6, 1);
    d.drawDashedLine(50, 40, 198, 40);
    EXPECT_TRUE(textart::matchesGolden(screen->art(), "drawer_dashed"));
}

TEST_F(DrawerTest, DashedLineWithNonPositiveCountsStaysBounded)
{
    UDrawer d;
    d.setNumbersBlackAndWhitePixelsForDashedLine(0, 0);
    d.drawDashedLine(0, 0, 30, 0); // only the first pixel is drawn
    EXPECT_EQ(screen->inkCount(), 1);
    d.setNumbersBlackAndWhitePixelsForDashedLine(-128, -128);
    d.drawDashedLine(0, 1, 30, 1);
    EXPECT_EQ(screen->inkCount(), 2);
    // A white count of 0 still skips the one pixel on which the counters reset.
    d.setNumbersBlackAndWhitePixelsForDashedLine(127, 0);
    d.drawDashedLine(0, 2, 198, 2);
    EXPECT_EQ(screen->inkCount(), 2 + 198);
    EXPECT_EQ(screen->art(125, 2, 4, 1), "##.#\n");
}

TEST_F(DrawerTest, OutlinesTestEachSideOnItsOwn)
{
    UDrawer d;
    d.drawRect(URect(UPoint(10, 5), UPoint(199, 20))); // right edge beyond the limit
    // Only the left edge is drawn.
    EXPECT_EQ(screen->inkCount(), 16);
    for (int y = 5; y <= 20; ++y)
        EXPECT_EQ(screen->pixel(10, static_cast<unsigned short>(y)), 0);

    screen->clear();
    d.drawRect(UPoint(3, 3), UPoint(0, 0)); // reversed corners: the same outline
    EXPECT_EQ(screen->art(0, 0, 5, 5), "####.\n#..#.\n#..#.\n####.\n.....\n");
    d.drawRect(8, 1, 8, 1); // a one-pixel rectangle
    EXPECT_EQ(screen->pixel(8, 1), 0);
    EXPECT_EQ(screen->inkCount(), 13);
}

TEST_F(DrawerTest, FillsOrderTheirCornersAndUseTheBrush)
{
    UDrawer d;
    d.setBrush(0);
    d.fillRect(10, 10, 5, 5);
    const std::string reversed = screen->art();
    EXPECT_EQ(screen->inkCount(), 36);
    screen->clear();
    d.fillRect(5, 5, 10, 10);
    EXPECT_EQ(screen->art(), reversed);
    screen->clear();
    d.fillRect(URect(UPoint(5, 10), UPoint(10, 5)));
    EXPECT_EQ(screen->art(), reversed);

    // The pen does not fill; the default brush clears.
    d.setPen(255);
    d.setBrush(255);
    d.fillRect(6, 6, 9, 9);
    EXPECT_EQ(screen->inkCount(), 36 - 16);

    // The whole drawing area, and nothing beyond it.
    d.setBrush(0);
    screen->recordPixels = true;
    d.fillRect(0, 0, 198, 47);
    EXPECT_EQ(screen->pixels.size(), 199u * 48u);
    EXPECT_EQ(screen->inkCount(), 199 * 48);
    screen->pixels.clear();
    d.fillRect(0, 0, 198, 48);
    d.fillRect(199, 0, 0, 0);
    EXPECT_TRUE(screen->pixels.empty());
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
    d.translate(65486, 0);         // 50 to the left
    d.drawRect(160, 30, 170, 40); // drawn at 110..120
    EXPECT_TRUE(textart::matchesGolden(screen->art(), "drawer_clip_translate"));
}

class WideScreenTest : public GraphicsTest {
protected:
    MemoryScreen* makeScreen() override { return new MemoryScreen(256, 64); }
};

TEST_F(WideScreenTest, LimitsHoldOnALargerScreenAndApplyBeforeTranslation)
{
    UDrawer d;
    // The clip covers the whole screen, yet nothing lands past 198/47.
    EXPECT_EQ(d.clipRect(), URect(UPoint(0, 0), UPoint(255, 63)));
    d.drawLine(0, 0, 220, 0);
    d.fillRect(0, 50, 10, 60);
    d.drawPixel(199, 10);
    d.drawPixel(10, 48);
    EXPECT_EQ(screen->inkCount(), 0);
    // Translation carries drawing beyond 198/47 on the screen.
    d.translate(50, 10);
    d.drawLine(190, 47, 198, 47);
    EXPECT_EQ(screen->inkCount(), 9);
    EXPECT_EQ(screen->pixel(248, 57), 0);
}

class NarrowScreenTest : public GraphicsTest {
protected:
    MemoryScreen* makeScreen() override { return new MemoryScreen(162, 48); }
};

TEST_F(NarrowScreenTest, NewDrawerClipsToTheScreen)
{
    UDrawer d;
    EXPECT_EQ(d.clipRect(), URect(UPoint(0, 0), UPoint(161, 47)));
    screen->recordPixels = true;
    d.drawLine(150, 0, 198, 0);
    EXPECT_EQ(screen->pixels.size(), 12u); // 150..161 pass the clip
    EXPECT_EQ(screen->inkCount(), 12);
}
