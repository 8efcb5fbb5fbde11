// Fonts and text: loading and its failure lines, lookups, shaping in the
// locale's direction, glyph placement, markers and the TR480 rule, widths
// and heights.
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include <ft2build.h>
#include FT_FREETYPE_H
#include <hb.h>

#include "graphics_fixture.h"
#include "textart.h"
#include "udrawer.h"

namespace {

UString units(std::initializer_list<unsigned short> list)
{
    UString s;
    for (unsigned short u : list)
        s.append(u);
    return s;
}

std::string readFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

std::string writeTemp(const std::string& name, const std::string& data)
{
    const std::string path = ::testing::TempDir() + "utk_graphics_" + name;
    std::ofstream(path, std::ios::binary) << data;
    return path;
}

} // namespace

class TextTest : public GraphicsTest {
protected:
    void SetUp() override
    {
        GraphicsTest::SetUp();
        loadToolkitFonts();
    }
};

// ---------------------------------------------------------------- loading

TEST_F(GraphicsTest, GetFontOnAnEmptyTableInsertsNothing)
{
    EXPECT_TRUE(fonts()->getFont("text").isNull());
    EXPECT_EQ(fonts()->count(), 0u);
    EXPECT_EQ(UDrawer::textWidth("abc", "text"), 0);
    EXPECT_EQ(UDrawer::textHeight("text"), 0);
    EXPECT_EQ(fonts()->count(), 0u);
}

TEST_F(GraphicsTest, UnknownNamesGetAnEntryThatALaterLoadFills)
{
    testing::internal::CaptureStdout();
    fonts()->loadFont(sourcePath("fonts/utk-text-12.bdf"), "text");
    EXPECT_EQ(fterr, 0);
    EXPECT_EQ(fonts()->count(), 1u);
    const UFTHBFont unknown = fonts()->getFont("later");
    EXPECT_EQ(unknown.m_face, nullptr);
    EXPECT_EQ(unknown.m_font, nullptr);
    EXPECT_EQ(fonts()->count(), 2u);
    {
        UDrawer d; // drawing in a name with no font draws nothing
        d.drawText("Hello", 0, 0, false);
        d.renderText("Hello", "later", 0, 0);
    }
    EXPECT_EQ(screen->inkCount(), 0);
    EXPECT_EQ(fonts()->count(), 3u); // the drawer's empty font name got one too
    fonts()->loadFont(sourcePath("fonts/utk-icons-10.bdf"), "later");
    EXPECT_EQ(fonts()->count(), 3u);
    EXPECT_FALSE(fonts()->getFont("later").isNull());
    EXPECT_EQ(UDrawer::textHeight("later"), 10);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(TextTest, LoadingUnderAnExistingNameReplacesTheFont)
{
    const UFTHBFont before = fonts()->getFont("text");
    EXPECT_EQ(UDrawer::textWidth("A", "text"), 6);
    fonts()->loadFont(sourcePath("tests/fonts/arabic-12.bdf"), "text");
    EXPECT_EQ(fonts()->count(), 2u);
    EXPECT_NE(fonts()->getFont("text").m_face, before.m_face);
    // The test font has no 'A': its default glyph is its space, 4 wide.
    EXPECT_EQ(UDrawer::textWidth("A", "text"), 4);
    UDrawer d;
    d.setFont("text");
    d.drawText("A", 0, 0, false);
    EXPECT_EQ(screen->inkCount(), 0);
}

TEST_F(GraphicsTest, MissingFileGivesTheFailureLineAndChangesNothing)
{
    testing::internal::CaptureStdout();
    fonts()->loadFont("/nonexistent/utk-missing.bdf", "text");
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "UFontManager: FT_New_Face failed for: /nonexistent/utk-missing.bdf with error: 1, "
              "face: 0\n");
    EXPECT_EQ(fterr, 1);
    EXPECT_EQ(fonts()->count(), 0u);

    // A failure leaves a loaded font under the same name in place.
    fonts()->loadFont(sourcePath("fonts/utk-text-12.bdf"), "text");
    testing::internal::CaptureStdout();
    fonts()->loadFont("/nonexistent/other.bdf", "text");
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(fterr, 1);
    EXPECT_EQ(UDrawer::textHeight("text"), 12);
}

TEST_F(GraphicsTest, FilesThatAreNoFontsGiveTheFailureLine)
{
    const std::string garbage = writeTemp("garbage.bdf", "this is not a font at all\n");
    testing::internal::CaptureStdout();
    fonts()->loadFont(garbage, "bad");
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "UFontManager: FT_New_Face failed for: " + garbage + " with error: 2, face: 0\n");
    EXPECT_EQ(fterr, FT_Err_Unknown_File_Format);

    const std::string empty = writeTemp("empty.bdf", "");
    const std::string cut = writeTemp("cut.bdf", readFile(sourcePath("fonts/utk-text-12.bdf")).substr(0, 700));
    for (const std::string& path : {empty, cut}) {
        testing::internal::CaptureStdout();
        fonts()->loadFont(UString(path), "bad");
        const std::string out = testing::internal::GetCapturedStdout();
        const std::string prefix = "UFontManager: FT_New_Face failed for: " + path + " with error: ";
        EXPECT_EQ(out.substr(0, prefix.size()), prefix);
        EXPECT_NE(fterr, 0);
        EXPECT_EQ(out.substr(out.size() - 10), ", face: 0\n");
    }
    EXPECT_EQ(fonts()->count(), 0u);
    std::remove(garbage.c_str());
    std::remove(empty.c_str());
    std::remove(cut.c_str());
}

// Damaged glyph records that FreeType may still accept must draw without
// reading or writing out of bounds.
TEST_F(GraphicsTest, DamagedGlyphsDrawWithinBounds)
{
    const std::string font = readFile(sourcePath("tests/fonts/arabic-12.bdf"));
    const std::string good = "BBX 1 7 0 0";
    ASSERT_NE(font.find(good), std::string::npos);
    const char* damaged[] = {"BBX 1 40 0 0", "BBX 250 7 0 0", "BBX 1 7 -300 200", "BBX 0 0 0 0"};
    int n = 0;
    for (const char* bbx : damaged) {
        std::string copy = font;
        copy.replace(copy.find(good), good.size(), bbx);
        const std::string path = writeTemp("damaged" + std::to_string(n++) + ".bdf", copy);
        testing::internal::CaptureStdout();
        fonts()->loadFont(path, "damaged");
        testing::internal::GetCapturedStdout();
        UDrawer d;
        d.setFont("damaged");
        d.drawText(units({0x627, 0x628, 0x627}), 190, 40, true);
        d.drawText(units({0x627}), 0, 0, false);
        (void)UDrawer::textWidth(units({0x627, 0x20}), "damaged");
        std::remove(path.c_str());
    }
    SUCCEED();
}

// ---------------------------------------------------------------- measuring

TEST_F(TextTest, WidthsAreTheSumOfWholePixelAdvances)
{
    EXPECT_EQ(UDrawer::textWidth("Hello", "text"), 22); // 6 + 6 + 2 + 2 + 6
    EXPECT_EQ(UDrawer::textWidth("Hello"), 22);          // the application's font
    EXPECT_EQ(UDrawer::textWidth(" ", "text"), 4);
    EXPECT_EQ(UDrawer::textWidth("\xC3\xA9t\xC3\xA9", "text"), 6 + 5 + 6); // été
    EXPECT_EQ(UDrawer::textWidth("", "text"), 0);
    EXPECT_EQ(UDrawer::textWidth("Hello", "nosuchfont"), 0);
    // Characters the font lacks measure as its replacement box.
    EXPECT_EQ(UDrawer::textWidth(units({0x4E2D}), "text"), 6);
    // The sum wraps modulo 65536: 11000 'm's of 6 pixels.
    EXPECT_EQ(UDrawer::textWidth(UString(std::string(11000, 'm')), "text"), 66000 - 65536);
    app->setFont("nosuchfont");
    EXPECT_EQ(UDrawer::textWidth("Hello"), 0);
}

TEST_F(TextTest, HeightIsTheTallestStrike)
{
    EXPECT_EQ(UDrawer::textHeight("text"), 12);
    EXPECT_EQ(UDrawer::iconHeight(), 10);
    EXPECT_EQ(UDrawer::textHeight("nosuchfont"), 0);
    // Strikes of 8, 12 and 10 pixels, in that order.
    fonts()->loadFont(sourcePath("tests/fonts/strikes.otb"), "strikes");
    EXPECT_EQ(UDrawer::textHeight("strikes"), 12);
    app->setIconFont("nosuchfont");
    EXPECT_EQ(UDrawer::iconHeight(), 0);
}

TEST_F(TextTest, ScalableFaceWithoutStrikesMeasuresZero)
{
    const char* path = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";
    if (!std::ifstream(path))
        GTEST_SKIP() << "no scalable system font";
    fonts()->loadFont(path, "scalable");
    ASSERT_FALSE(fonts()->getFont("scalable").isNull());
    EXPECT_EQ(UDrawer::textHeight("scalable"), 0);
}

TEST_F(TextTest, IconWidthsComeFromTheIconFont)
{
    EXPECT_EQ(UDrawer::iconWidth(0xE100), 10); // up arrow, 9 wide
    EXPECT_EQ(UDrawer::iconWidth(0xE108), 12); // envelope, 11 wide
    EXPECT_EQ(UDrawer::iconWidth(0x41), 8);    // not an icon: the box
    app->setIconFont("text");
    EXPECT_EQ(UDrawer::iconWidth(0x41), 6);
}

// ---------------------------------------------------------------- drawing

TEST_F(TextTest, GlyphsSitOnABaselineTenPixelsBelowY)
{
    UDrawer d;
    d.setFont("text");
    d.drawText("H", 3, 20, false); // capitals fill cell rows 3..9
    EXPECT_EQ(inkBox(), (Box{3, 23, 7, 29}));
    screen->clear();
    d.drawText("g", UPoint(50, 0)); // descends two rows below the baseline
    EXPECT_EQ(inkBox(), (Box{50, 5, 54, 11}));
    screen->clear();
    d.drawText("\xC3\xA0", 0, 0, false); // à: bitmap_top 8, so its top row is 2
    EXPECT_EQ(inkBox().top, 2);
    screen->clear();
    // The top row wraps modulo 65536: y = 65533 puts the H's top on row 0.
    d.drawText("H", 0, 65533, false);
    EXPECT_EQ(inkBox(), (Box{0, 0, 4, 6}));
}

TEST_F(TextTest, PenAdvancesByWholePixelsAndTextHasNoBackground)
{
    UDrawer d;
    d.setFont("text");
    d.setBrush(0);
    d.fillRect(0, 0, 40, 13);
    d.setPen(255);
    d.drawText("Hil", 1, 1, false);
    // H at 1..5, i at 7, l at 9; the gaps stay ink.
    const std::string row = screen->art(0, 7, 12, 1); // the H's crossbar row
    EXPECT_EQ(row, "#.....#.#.##\n");
    EXPECT_EQ(screen->pixel(0, 1), 0);
    EXPECT_EQ(screen->pixel(12, 12), 0);
}

TEST_F(TextTest, TextObeysClipTranslationAndLimits)
{
    UDrawer d;
    d.setFont("text");
    d.setClipRect(URect(UPoint(0, 0), UPoint(2, 47)));
    d.drawText("H", 0, 0, false);
    EXPECT_EQ(inkBox(), (Box{0, 3, 2, 9}));
    screen->clear();
    d.setClipRect(URect(0, 0, 199, 48));
    d.translate(100, 5);
    d.drawText("H", 0, 0, false);
    EXPECT_EQ(inkBox(), (Box{100, 8, 104, 14}));
    screen->clear();
    d.resetTranslation();
    d.drawText("HHH", 190, 38, false); // cut at x 198 and y 47
    EXPECT_EQ(inkBox(), (Box{190, 41, 198, 47}));
}

TEST_F(TextTest, SampleGolden)
{
    UDrawer d;
    d.setFont("text");
    d.drawText("Hello, World! 0123456789", 0, 0, false);
    d.drawText("\xC3\xA0\xC3\xA9\xC3\xAE\xC3\xB5\xC3\xBC \xC3\x80\xC3\x89\xC3\x8E\xC3\x95\xC3\x9C "
               "\xC3\xA7 \xC3\x9F \xC2\xBF\xC2\xA1 12:30 {[(<>)]}",
               0, 12, false);
    d.drawText(units({0xE000, 'N', 'e', 'w', ' ', 0xE001, ' ', 0xE002, ' ', 'g', 'j', 'p', 'q', 'y'}),
               0, 24, true);
    for (unsigned short i = 0; i < 15; ++i)
        d.drawIcon(static_cast<unsigned short>(0xE100 + i), static_cast<unsigned short>(13 * i), 37);
    EXPECT_TRUE(textart::matchesGolden(screen->art(), "text_sample"));
}

TEST_F(TextTest, IconsUseTheIconFontWhateverTheDrawersFont)
{
    UDrawer d;
    d.setFont("text");
    d.drawIcon(0xE100, 10, 0); // the up arrow: 9 x 9 from cell row 1
    EXPECT_EQ(inkBox(), (Box{10, 1, 18, 9}));
    EXPECT_EQ(screen->art(10, 1, 9, 2), "....#....\n...###...\n");
    EXPECT_EQ(d.font(), UString("text"));
}

// ---------------------------------------------------------------- markers

TEST_F(TextTest, MarkersDropThreeRowsOnlyWithTheMarkerFlag)
{
    UDrawer d;
    d.setFont("text");
    const UString text = units({'H', 0xE000, 0xE001, 0xE002});
    d.drawText(text, 0, 0, false);
    const std::string plainH = screen->art(0, 0, 6, 16);
    const std::string plainMarkers = screen->art(6, 3, 16, 7);
    EXPECT_EQ(inkBox(), (Box{0, 3, 21, 9}));
    screen->clear();
    d.drawText(text, 0, 0, true);
    EXPECT_EQ(inkBox(), (Box{0, 3, 21, 12}));
    // The H stays; the markers (4, 5 and 5 wide) move down by 3.
    EXPECT_EQ(screen->art(0, 0, 6, 16), plainH);
    EXPECT_EQ(screen->art(6, 6, 16, 7), plainMarkers);

    // drawText at a point keeps the flag that the last drawText set.
    screen->clear();
    d.drawText(units({0xE001}), UPoint(0, 0));
    EXPECT_EQ(inkBox().top, 6);
    d.drawText("", 0, 0, false);
    screen->clear();
    d.drawText(units({0xE001}), UPoint(0, 0));
    EXPECT_EQ(inkBox().top, 3);
}

TEST_F(TextTest, Tr480MovesTheFirstMarkerToTheEnd)
{
    const UString text = units({0xE000, 'a', 'b'});
    std::string expected;
    {
        UDrawer d;
        d.setFont("text");
        d.drawText(units({' ', 'a', 0xE000}), 0, 0, true);
        expected = screen->art();
    }
    screen->clear();
    SysHardwareVersion::setModel(SysHardwareVersion::MODEL_TR480);
    {
        UDrawer d;
        d.setFont("text");
        d.drawText(text, 0, 0, true);
        EXPECT_EQ(screen->art(), expected);
        EXPECT_EQ(inkBox(), (Box{4, 5, 13, 12})); // 'a' at 4, the marker at 10, lowered
        // With the flag clear the text is drawn as it is.
        screen->clear();
        d.drawText(text, 0, 0, false);
        const std::string asIs = screen->art();
        EXPECT_EQ(inkBox(), (Box{0, 3, 15, 9}));
        // Texts without the marker are untouched; the width ignores the rule.
        screen->clear();
        d.drawText("ab", 0, 0, true);
        EXPECT_EQ(inkBox(), (Box{0, 3, 10, 9}));
        EXPECT_EQ(UDrawer::textWidth(text, "text"), 5 + 6 + 6);
        SysHardwareVersion::setModel(SysHardwareVersion::MODEL_DEFAULT);
        screen->clear();
        d.drawText(text, 0, 0, false);
        EXPECT_EQ(screen->art(), asIs);
    }
}

// ---------------------------------------------------------------- locales

TEST(Locale, EachLocaleSetsDirectionScriptAndLanguage)
{
    MemoryScreen* screen = new MemoryScreen();
    UApplication app("LocaleTest", screen, UApplication::UIMode(0));
    struct Row {
        int locale;
        hb_direction_t direction;
        hb_script_t script;
        const char* language;
    };
    const Row rows[] = {
        {0, HB_DIRECTION_LTR, HB_SCRIPT_LATIN, "en"},
        {1, HB_DIRECTION_LTR, HB_SCRIPT_HANGUL, "kr"},
        {2, HB_DIRECTION_LTR, HB_SCRIPT_HAN, "ch"},
        {3, HB_DIRECTION_LTR, HB_SCRIPT_KATAKANA, "jp"},
        {4, HB_DIRECTION_RTL, HB_SCRIPT_ARABIC, "ar"},
        {7, HB_DIRECTION_LTR, HB_SCRIPT_LATIN, "en"},
    };
    for (const Row& r : rows) {
        app.setLocale(static_cast<UGlobal::ULocale>(r.locale));
        hb_buffer_t* b = hb_buffer_create();
        adjustBufferForLocale(b);
        EXPECT_EQ(hb_buffer_get_direction(b), r.direction) << r.locale;
        EXPECT_EQ(hb_buffer_get_script(b), r.script) << r.locale;
        EXPECT_STREQ(hb_language_to_string(hb_buffer_get_language(b)), r.language) << r.locale;
        hb_buffer_destroy(b);
    }
}

class ArabicTest : public GraphicsTest {
protected:
    void SetUp() override
    {
        GraphicsTest::SetUp();
        fonts()->loadFont(sourcePath("tests/fonts/arabic-12.bdf"), "arabic");
    }
    // Column of the alef, the only glyph whose ink fills cell rows 3..9.
    int alefColumn(int y)
    {
        for (int x = 0; x < 199; ++x) {
            bool full = true;
            for (int r = 3; r <= 9 && full; ++r)
                full = screen->pixel(static_cast<unsigned short>(x), static_cast<unsigned short>(y + r)) == 0;
            if (full)
                return x;
        }
        return -1;
    }
};

TEST_F(ArabicTest, LocaleFourShapesRightToLeft)
{
    const UString text = units({0x627, 0x628, 0x62A}); // alef, beh, teh
    UDrawer d;
    d.setFont("arabic");
    app->setLocale(UGlobal::Arabic);
    d.drawText(text, 0, 0, false);
    EXPECT_EQ(alefColumn(0), 12); // teh 0..4, beh 6..10, alef 12
    app->setLocale(UGlobal::Latin);
    d.drawText(text, 0, 14, false);
    EXPECT_EQ(alefColumn(14), 0); // in logical order
    app->setLocale(static_cast<UGlobal::ULocale>(7));
    d.drawText(text, 0, 28, false);
    EXPECT_EQ(alefColumn(28), 0);
    EXPECT_TRUE(textart::matchesGolden(screen->art(0, 0, 20, 42), "text_arabic"));
    app->setLocale(UGlobal::Arabic);
    EXPECT_EQ(UDrawer::textWidth(text, "arabic"), 2 + 6 + 6);
}

// ---------------------------------------------------------------- glyph bitmaps

TEST_F(GraphicsTest, RenderGlyphDrawsWholeBytesMostSignificantBitFirst)
{
    unsigned char data[] = {0x80, 0x81, 0xFF, 0x00};
    FT_Bitmap bm{};
    bm.rows = 2;
    bm.width = 9;
    bm.pitch = 2;
    bm.buffer = data;
    bm.pixel_mode = FT_PIXEL_MODE_MONO;
    UDrawer d;
    renderGlyph(&d, &bm, 10, 5);
    // Bit 0 of the second byte lies beyond the width and is drawn all the same.
    EXPECT_EQ(screen->art(10, 5, 17, 2), "#.......#......#.\n########.........\n");
    EXPECT_EQ(screen->inkCount(), 11);

    screen->clear();
    renderGlyph(&d, &bm, 65534, 0); // columns 65534, 65535 wrap away; 0..5 stay
    EXPECT_EQ(screen->art(0, 0, 8, 2), "......#.\n######..\n");

    screen->clear();
    FT_Bitmap none = bm;
    none.pitch = 0;
    renderGlyph(&d, &none, 0, 0);
    none.pitch = -2; // bottom-up bitmaps are not drawn
    renderGlyph(&d, &none, 0, 0);
    none = bm;
    none.rows = 0;
    renderGlyph(&d, &none, 0, 0);
    none = bm;
    none.buffer = nullptr;
    renderGlyph(&d, &none, 0, 0);
    renderGlyph(&d, nullptr, 0, 0);
    renderGlyph(nullptr, &bm, 0, 0);
    EXPECT_EQ(screen->inkCount(), 0);
}
