// Fonts and text: loading and its failure lines, lookups, widths and
// heights, glyph placement, markers and the TR480 rule, shaping in the
// locale's direction and against HarfBuzz.
#include <cstdio>
#include <fstream>
#include <memory>
#include <string>

#include <ft2build.h>
#include FT_FREETYPE_H
#include <hb.h>

#include "graphics_fixture.h"
#include "textart.h"
#include "udrawer.h"

namespace {

using textart::readFile;

UString units(std::initializer_list<unsigned short> list)
{
    UString s;
    for (unsigned short u : list)
        s.append(u);
    return s;
}

std::string writeTemp(const std::string& name, const std::string& data)
{
    const std::string path = ::testing::TempDir() + "utk_graphics_" + name;
    std::ofstream(path, std::ios::binary) << data;
    return path;
}

// Loads a font and returns what the manager printed meanwhile.
std::string load(UFontManager* fonts, const std::string& path, const char* name)
{
    testing::internal::CaptureStdout();
    fonts->loadFont(path, name);
    return testing::internal::GetCapturedStdout();
}

} // namespace

class TextTest : public GraphicsTest {
protected:
    void SetUp() override
    {
        GraphicsTest::SetUp();
        fonts()->loadFont(sourcePath("fonts/utk-text-12.bdf"), "text");
        fonts()->loadFont(sourcePath("fonts/utk-icons-10.bdf"), "icons");
        app->setFont("text");
        app->setIconFont("icons");
        drawer.reset(new UDrawer);
        drawer->setFont("text");
    }
    void TearDown() override
    {
        drawer.reset();
        GraphicsTest::TearDown();
    }
    std::unique_ptr<UDrawer> drawer;
};

// ---------------------------------------------------------------- loading and measuring

// Unknown names get an entry that a later load fills; a failed load prints
// its line and leaves the table, and a font under the same name, as they were.
TEST_F(GraphicsTest, LoadingFillsUnknownNamesAndFailuresPrintTheirLineAndChangeNothing)
{
    EXPECT_TRUE(fonts()->getFont("text").isNull());
    EXPECT_EQ(fonts()->count(), 0u); // an empty table gains no entry
    const std::string prefix = "UFontManager: FT_New_Face failed for: ";
    EXPECT_EQ(load(fonts(), "/nonexistent/utk-missing.bdf", "text"),
              prefix + "/nonexistent/utk-missing.bdf with error: 1, face: 0\n");
    const std::string garbage = writeTemp("garbage.bdf", "this is not a font at all\n");
    EXPECT_EQ(load(fonts(), garbage, "bad"), prefix + garbage + " with error: 2, face: 0\n");

    EXPECT_EQ(load(fonts(), sourcePath("fonts/utk-text-12.bdf"), "text"), "");
    {
        UDrawer d; // the drawer's empty font name and "later" are unknown
        d.drawText("Hello", 0, 0, false);
        d.renderText("Hello", "later", 0, 0);
        EXPECT_EQ(UDrawer::textWidth("abc", "later"), 0);
    }
    EXPECT_EQ(screen->inkCount(), 0);
    fonts()->loadFont(sourcePath("fonts/utk-icons-10.bdf"), "later");
    EXPECT_EQ(UDrawer::textHeight("later"), 10);
    load(fonts(), garbage, "text");
    EXPECT_EQ(UDrawer::textHeight("text"), 12);
    // A load under an existing name replaces the font: the test font has
    // no 'A' (6 wide in the toolkit's font) and measures its 4-wide space.
    fonts()->loadFont(sourcePath("tests/fonts/arabic-12.bdf"), "text");
    EXPECT_EQ(UDrawer::textWidth("A", "text"), 4);
    std::remove(garbage.c_str());
}

TEST_F(TextTest, WidthsSumWholePixelAdvancesModulo65536HeightsTakeTheTallestStrike)
{
    EXPECT_EQ(UDrawer::textWidth("Hello", "text"), 22); // 6 + 6 + 2 + 2 + 6
    EXPECT_EQ(UDrawer::textWidth("\xC3\xA9t\xC3\xA9"), 6 + 5 + 6); // été, in the application's font
    EXPECT_EQ(UDrawer::textWidth(units({0x4E2D}), "text"), 6);    // a missing character: the box
    EXPECT_EQ(UDrawer::textWidth(UString(std::string(11000, 'm')), "text"), 66000 - 65536);
    EXPECT_EQ(UDrawer::iconWidth(0xE108), 12); // envelope, 11 wide
    EXPECT_EQ(UDrawer::iconWidth(0x41), 8);    // not an icon: the box
    EXPECT_EQ(UDrawer::iconHeight(), 10);
    fonts()->loadFont(sourcePath("tests/fonts/strikes.otb"), "strikes"); // strikes of 8, 12 and 10
    EXPECT_EQ(UDrawer::textHeight("strikes"), 12);
}

TEST_F(TextTest, GlyphsWrapAndClipWithoutBackground)
{
    drawer->drawText("H", 0, 65532, false); // the rows wrap modulo 65536: the top one is lost
    EXPECT_EQ(inkBox(), (Box{0, 0, 4, 5}));
    screen->clear();
    drawer->drawText("HHH", 190, 38, false); // cut at x 198 and y 47
    EXPECT_EQ(inkBox(), (Box{190, 41, 198, 47}));

    // No background; the clip is in drawer coordinates, like the translation.
    screen->clear();
    drawer->setBrush(0);
    drawer->fillRect(0, 0, 40, 13);
    drawer->setBrush(255); // the brush plays no part in text
    drawer->setPen(255);
    drawer->drawText("Hil", 1, 1, false);
    EXPECT_EQ(screen->art(0, 7, 12, 1), "#.....#.#.##\n"); // H at 1..5, i at 7, l at 9
    drawer->setPen(0);
    drawer->setClipRect(URect(UPoint(0, 0), UPoint(2, 47)));
    drawer->translate(100, 5);
    drawer->drawText("H", 0, 0, false);
    EXPECT_EQ(inkBox(), (Box{0, 0, 102, 14}));
}

TEST_F(TextTest, SampleGolden)
{
    drawer->drawText("Hello, World! 0123456789", 0, 0, false);
    drawer->drawText("\xC3\xA0\xC3\xA9\xC3\xAE\xC3\xB5\xC3\xBC \xC3\x80\xC3\x89\xC3\x8E\xC3\x95\xC3\x9C "
                     "\xC3\xA7 \xC3\x9F \xC2\xBF\xC2\xA1 12:30 {[(<>)]}",
                     0, 12, false);
    drawer->drawText(units({0xE000, 'N', 'e', 'w', ' ', 0xE001, ' ', 0xE002, ' ', 'g', 'j', 'p', 'q', 'y'}),
                     0, 24, true);
    for (unsigned short i = 0; i < 15; ++i) // from the icon font, whatever the drawer's
        drawer->drawIcon(static_cast<unsigned short>(0xE100 + i), static_cast<unsigned short>(13 * i), 37);
    EXPECT_TRUE(textart::matchesGolden(screen->art(), "text_sample"));
}

// ---------------------------------------------------------------- markers

// With the marker flag (as in the sample golden) marker glyphs drop 3 rows;
// drawText at a point keeps the flag the last drawText set. The TR480 moves
// the first marker to the end, with the flag only; the width ignores both.
TEST_F(TextTest, MarkersDropThreeRowsAndMoveToTheEndOnTheTr480OnlyWithTheFlag)
{
    drawer->drawText(units({0xE001}), 0, 0, false);
    drawer->drawText(units({0xE001}), UPoint(0, 20));
    EXPECT_EQ(inkBox(), (Box{0, 3, 4, 27}));
    screen->clear();
    drawer->drawText("", 0, 0, true);
    drawer->drawText(units({0xE001}), UPoint(0, 20));
    EXPECT_EQ(inkBox(), (Box{0, 26, 4, 30}));

    const UString tr = units({0xE000, 'a', 'b'});
    screen->clear();
    drawer->drawText(units({' ', 'a', 0xE000}), 0, 0, true);
    drawer->drawText(tr, 0, 14, false);
    drawer->drawText("ab", 0, 28, true);
    const std::string expected = screen->art();
    SysHardwareVersion::setModel(SysHardwareVersion::MODEL_TR480);
    screen->clear();
    drawer->drawText(tr, 0, 0, true);
    drawer->drawText(tr, 0, 14, false);
    drawer->drawText("ab", 0, 28, true); // no marker: untouched
    EXPECT_EQ(screen->art(), expected);
    EXPECT_EQ(UDrawer::textWidth(tr, "text"), 5 + 6 + 6);
}

// ---------------------------------------------------------------- locales

TEST_F(GraphicsTest, ArabicLocaleShapesRightToLeft)
{
    fonts()->loadFont(sourcePath("tests/fonts/arabic-12.bdf"), "arabic");
    const UString text = units({0x627, 0x628, 0x62A}); // alef, beh, teh
    UDrawer d;
    d.setFont("arabic");
    // Arabic first: teh at 0..4, beh at 6..10, alef at 12. Then the Latin
    // locale and an unknown one, both in logical order: alef at 0.
    const int locales[] = {UGlobal::Arabic, UGlobal::Latin, 7};
    for (int i = 0; i < 3; ++i) {
        app->setLocale(static_cast<UGlobal::ULocale>(locales[i]));
        d.drawText(text, 0, static_cast<unsigned short>(14 * i), false);
    }
    EXPECT_TRUE(textart::matchesGolden(screen->art(0, 0, 20, 42), "text_arabic"));
    app->setLocale(UGlobal::Arabic);
    EXPECT_EQ(UDrawer::textWidth(text, "arabic"), 2 + 6 + 6);
}

// ---------------------------------------------------------------- glyph bitmaps and files

// Whole bytes, most significant bit first, bits beyond the width included;
// bottom-up, empty or missing bitmaps and a missing drawer draw nothing.
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
    EXPECT_EQ(screen->art(10, 5, 17, 2), "#.......#......#.\n########.........\n");
    EXPECT_EQ(screen->inkCount(), 11);
    FT_Bitmap none[4] = {bm, bm, bm, bm};
    none[0].pitch = -2;
    none[1].pitch = 0;
    none[2].rows = 0;
    none[3].buffer = nullptr;
    for (FT_Bitmap* b : {&none[0], &none[1], &none[2], &none[3], static_cast<FT_Bitmap*>(nullptr)})
        renderGlyph(&d, b, 30, 30);
    renderGlyph(nullptr, &bm, 30, 30);
    EXPECT_EQ(screen->inkCount(), 11);
}

// A phone updates its fonts under running phonelets: once loaded, a font
// no longer depends on its file. Emptying or overwriting the file must
// neither crash the next draw (FreeType and HarfBuzz read faces lazily) nor
// change a pixel of text never drawn before.
TEST_F(GraphicsTest, FontFilesChangedOnDiskAfterLoadingDrawAsBefore)
{
    const std::string path = writeTemp("update.bdf", readFile(sourcePath("fonts/utk-text-12.bdf")));
    fonts()->loadFont(path, "updated");
    fonts()->loadFont(sourcePath("fonts/utk-text-12.bdf"), "intact");
    UDrawer d;
    d.renderText("Hi", "updated", 0, 0);
    const UString fresh("Missed 0123456789 \xC3\xA9t\xC3\xA9 {gjpqy}");
    for (const char* update : {"", "STARTFONT 2.1\n"}) {
        { std::ofstream(path, std::ios::binary | std::ios::trunc) << update; }
        screen->clear();
        d.renderText(fresh, "intact", 3, 20);
        const std::string expected = screen->art();
        screen->clear();
        d.renderText(fresh, "updated", 3, 20);
        EXPECT_EQ(screen->art(), expected) << "file now holds \"" << update << "\"";
        EXPECT_EQ(UDrawer::textWidth(fresh, "updated"), UDrawer::textWidth(fresh, "intact"));
        EXPECT_EQ(UDrawer::textHeight("updated"), 12);
    }
    std::remove(path.c_str());
}

// Shaping answers come from a cache, text in a bitmap font from a
// per-character table, and HarfBuzz shapes with font functions of the
// manager's own: all must match what HarfBuzz answers afresh on the font
// it was given. For every pair of printable ASCII characters in both
// toolkit fonts and a font with kerning-free sfnt strikes, in the Latin and
// the Arabic locale; and where the table serves (the text font, Latin) for
// every pair of Latin-1 units and of some beyond (marks, default-ignorable,
// spacing and private-use characters, surrogates, NUL) and for every
// character the font has between two letters.
TEST_F(TextTest, ShapingMatchesHarfBuzzAfresh)
{
    fonts()->loadFont(sourcePath("tests/fonts/strikes.otb"), "strikes");
    auto check = [&](const char* name, const std::vector<UString>& texts, int passes) {
        hb_font_t* font = fonts()->getFont(name).m_font;
        for (int pass = 0; pass < passes; ++pass) // the second pass is served by the cache
            for (const UString& t : texts) {
                hb_buffer_t* b = hb_buffer_create();
                adjustBufferForLocale(b);
                hb_buffer_guess_segment_properties(b);
                hb_buffer_add_utf8(b, t.toUTF8().c_str(), -1, 0, -1);
                hb_shape(font, b, nullptr, 0);
                unsigned int n = 0;
                const hb_glyph_info_t* info = hb_buffer_get_glyph_infos(b, &n);
                const hb_glyph_position_t* pos = hb_buffer_get_glyph_positions(b, nullptr);
                const UFontManager::Shaped* s = fonts()->shape(name, t, pass == 1);
                ASSERT_NE(s, nullptr);
                ASSERT_EQ(s->indices.size(), n) << name << " " << t.toUTF8();
                for (unsigned int i = 0; i < n; ++i) {
                    ASSERT_EQ(s->indices[i], info[i].codepoint) << name << " " << t.toUTF8();
                    ASSERT_EQ(s->advances[i], pos[i].x_advance / 64) << name << " " << t.toUTF8();
                }
                hb_buffer_destroy(b);
            }
    };
    std::vector<UString> texts;
    for (unsigned short a = 0x1F; a <= 0x7F; ++a)
        for (unsigned short b = 0x1F; b <= 0x7F; ++b)
            texts.push_back(units({a, b}));
    texts.push_back("Missed call: 0123456789 {[(<>)]} ~ The quick brown fox");
    texts.push_back(units({'A', 0x301, 'e', 0x20AC, 0xE000, 0xD83D, 0xDE00, 0xDC00, 0, 'x'}));
    for (int locale : {UGlobal::Latin, UGlobal::Arabic}) {
        app->setLocale(static_cast<UGlobal::ULocale>(locale));
        for (const char* name : {"text", "icons", "strikes"})
            check(name, texts, 2);
    }

    // What the per-character table may cover, in the font and locale it
    // serves.
    app->setLocale(UGlobal::Latin);
    std::vector<unsigned short> set;
    for (unsigned short u = 0; u <= 0xFF; ++u)
        set.push_back(u);
    for (unsigned short u : {0x131, 0x301, 0x34F, 0x1100, 0x1161, 0x2002, 0x2007, 0x200B, 0x200D,
                             0x2011, 0x2044, 0x20AC, 0x3164, 0xD800, 0xDC00, 0xE000, 0xE002,
                             0xFE0F, 0xFEFF, 0xFFFD})
        set.push_back(u);
    texts.clear();
    for (unsigned short a : set)
        for (unsigned short b : set)
            texts.push_back(units({a, b}));
    hb_codepoint_t glyph = 0;
    for (unsigned int u = 1; u <= 0xFFFF; ++u) // only characters the font has can be in the table
        if (hb_font_get_nominal_glyph(fonts()->getFont("text").m_font, u, &glyph))
            texts.push_back(units({'a', static_cast<unsigned short>(u), 'b'}));
    check("text", texts, 1);
}
