// Fonts and text: loading and its failure lines, lookups, shaping in the
// locale's direction, glyph placement, markers and the TR480 rule, widths
// and heights.
#include <cstdio>
#include <fstream>
#include <memory>
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
    std::stringstream ss;
    ss << std::ifstream(path, std::ios::binary).rdbuf();
    return ss.str();
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
        loadToolkitFonts();
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

// ---------------------------------------------------------------- loading

TEST_F(GraphicsTest, UnknownNamesDrawNothingUntilALoadFillsTheirEntry)
{
    EXPECT_TRUE(fonts()->getFont("text").isNull());
    EXPECT_EQ(UDrawer::textWidth("abc", "text"), 0);
    EXPECT_EQ(fonts()->count(), 0u); // an empty table gains no entry
    EXPECT_EQ(load(fonts(), sourcePath("fonts/utk-text-12.bdf"), "text"), "");
    EXPECT_EQ(fterr, 0);
    {
        UDrawer d; // the drawer's empty font name and "later" are unknown
        d.drawText("Hello", 0, 0, false);
        d.renderText("Hello", "later", 0, 0);
    }
    EXPECT_EQ(screen->inkCount(), 0);
    EXPECT_EQ(fonts()->count(), 3u); // each unknown name got an entry
    fonts()->loadFont(sourcePath("fonts/utk-icons-10.bdf"), "later");
    EXPECT_EQ(fonts()->count(), 3u);
    EXPECT_EQ(UDrawer::textHeight("later"), 10);

    // Loading under an existing name replaces the font: the test font has
    // no 'A' (6 wide in the toolkit's font) and measures its 4-wide space.
    fonts()->loadFont(sourcePath("tests/fonts/arabic-12.bdf"), "text");
    EXPECT_EQ(fonts()->count(), 3u);
    EXPECT_EQ(UDrawer::textWidth("A", "text"), 4);
}

TEST_F(GraphicsTest, FailedLoadsPrintTheirLineAndChangeNothing)
{
    EXPECT_EQ(load(fonts(), "/nonexistent/utk-missing.bdf", "text"),
              "UFontManager: FT_New_Face failed for: /nonexistent/utk-missing.bdf with error: 1, "
              "face: 0\n");
    EXPECT_EQ(fterr, 1);
    const std::string garbage = writeTemp("garbage.bdf", "this is not a font at all\n");
    EXPECT_EQ(load(fonts(), garbage, "bad"),
              "UFontManager: FT_New_Face failed for: " + garbage + " with error: 2, face: 0\n");
    EXPECT_EQ(fterr, FT_Err_Unknown_File_Format);

    const std::string empty = writeTemp("empty.bdf", "");
    const std::string cut = writeTemp("cut.bdf", readFile(sourcePath("fonts/utk-text-12.bdf")).substr(0, 700));
    for (const std::string& path : {empty, cut}) {
        const std::string out = load(fonts(), path, "bad");
        const std::string prefix = "UFontManager: FT_New_Face failed for: " + path + " with error: ";
        EXPECT_EQ(out, prefix + std::to_string(fterr) + ", face: 0\n");
        EXPECT_NE(fterr, 0);
    }
    EXPECT_EQ(fonts()->count(), 0u);

    // A failure leaves a loaded font under the same name in place.
    fonts()->loadFont(sourcePath("fonts/utk-text-12.bdf"), "text");
    load(fonts(), "/nonexistent/other.bdf", "text");
    EXPECT_EQ(fterr, 1);
    EXPECT_EQ(UDrawer::textHeight("text"), 12);
    for (const std::string& path : {garbage, empty, cut})
        std::remove(path.c_str());
}

// ---------------------------------------------------------------- measuring

TEST_F(TextTest, WidthsSumWholePixelAdvancesModulo65536HeightsTakeTheTallestStrike)
{
    EXPECT_EQ(UDrawer::textWidth("Hello", "text"), 22); // 6 + 6 + 2 + 2 + 6
    EXPECT_EQ(UDrawer::textWidth("Hello"), 22);          // the application's font
    EXPECT_EQ(UDrawer::textWidth("\xC3\xA9t\xC3\xA9", "text"), 6 + 5 + 6); // été
    EXPECT_EQ(UDrawer::textWidth("Hello", "nosuchfont"), 0);
    // Characters the font lacks measure as its replacement box.
    EXPECT_EQ(UDrawer::textWidth(units({0x4E2D}), "text"), 6);
    EXPECT_EQ(UDrawer::textWidth(UString(std::string(11000, 'm')), "text"), 66000 - 65536);
    EXPECT_EQ(UDrawer::iconWidth(0xE108), 12); // envelope, 11 wide
    EXPECT_EQ(UDrawer::iconWidth(0x41), 8);    // not an icon: the box
    app->setIconFont("text");
    EXPECT_EQ(UDrawer::iconWidth(0x41), 6);

    // Heights: the tallest strike.
    app->setIconFont("icons");
    EXPECT_EQ(UDrawer::textHeight("text"), 12);
    EXPECT_EQ(UDrawer::iconHeight(), 10);
    // Strikes of 8, 12 and 10 pixels, in that order.
    fonts()->loadFont(sourcePath("tests/fonts/strikes.otb"), "strikes");
    EXPECT_EQ(UDrawer::textHeight("strikes"), 12);
    // A scalable face has no strikes at all.
    const char* scalable = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";
    if (std::ifstream(scalable)) {
        fonts()->loadFont(scalable, "scalable");
        ASSERT_FALSE(fonts()->getFont("scalable").isNull());
        EXPECT_EQ(UDrawer::textHeight("scalable"), 0);
    }
}

// ---------------------------------------------------------------- drawing

TEST_F(TextTest, GlyphsWrapAndClipWithoutBackground)
{
    // Capitals, descenders and accents on the baseline: the sample golden.
    const struct { const char* text; unsigned short x, y; Box ink; } cases[] = {
        {"H", 0, 65533, {0, 0, 4, 6}},         // the top row wraps modulo 65536
        {"HHH", 190, 38, {190, 41, 198, 47}},  // cut at x 198 and y 47
    };
    for (const auto& c : cases) {
        screen->clear();
        drawer->drawText(c.text, c.x, c.y, false);
        EXPECT_EQ(inkBox(), c.ink) << c.text << " at " << c.x << "," << c.y;
    }
    // Icons come from the icon font whatever the drawer's font.
    screen->clear();
    drawer->drawIcon(0xE100, 10, 0); // the up arrow: 9 x 9 from cell row 1
    EXPECT_EQ(inkBox(), (Box{10, 1, 18, 9}));
    EXPECT_EQ(screen->art(10, 1, 9, 2), "....#....\n...###...\n");

    // No background; clip and translation apply.
    screen->clear();
    drawer->setBrush(0);
    drawer->fillRect(0, 0, 40, 13);
    drawer->setPen(255);
    drawer->drawText("Hil", 1, 1, false);
    // H at 1..5, i at 7, l at 9 on the H's crossbar row; the gaps stay ink.
    EXPECT_EQ(screen->art(0, 7, 12, 1), "#.....#.#.##\n");
    EXPECT_EQ(screen->pixel(12, 12), 0);

    // The clip is in drawer coordinates, like the translation.
    screen->clear();
    drawer->setPen(0);
    drawer->setClipRect(URect(UPoint(0, 0), UPoint(2, 47)));
    drawer->translate(100, 5);
    drawer->drawText("H", 0, 0, false);
    EXPECT_EQ(inkBox(), (Box{100, 8, 102, 14}));
}

TEST_F(TextTest, SampleGolden)
{
    drawer->drawText("Hello, World! 0123456789", 0, 0, false);
    drawer->drawText("\xC3\xA0\xC3\xA9\xC3\xAE\xC3\xB5\xC3\xBC \xC3\x80\xC3\x89\xC3\x8E\xC3\x95\xC3\x9C "
                     "\xC3\xA7 \xC3\x9F \xC2\xBF\xC2\xA1 12:30 {[(<>)]}",
                     0, 12, false);
    drawer->drawText(units({0xE000, 'N', 'e', 'w', ' ', 0xE001, ' ', 0xE002, ' ', 'g', 'j', 'p', 'q', 'y'}),
                     0, 24, true);
    for (unsigned short i = 0; i < 15; ++i)
        drawer->drawIcon(static_cast<unsigned short>(0xE100 + i), static_cast<unsigned short>(13 * i), 37);
    EXPECT_TRUE(textart::matchesGolden(screen->art(), "text_sample"));
}

// ---------------------------------------------------------------- markers

TEST_F(TextTest, MarkersDropThreeRowsOnlyWithTheMarkerFlag)
{
    const UString text = units({'H', 0xE000, 0xE001, 0xE002});
    drawer->drawText(text, 0, 0, false);
    const std::string plainH = screen->art(0, 0, 6, 16);
    const std::string plainMarkers = screen->art(6, 3, 16, 7);
    EXPECT_EQ(inkBox(), (Box{0, 3, 21, 9}));
    screen->clear();
    drawer->drawText(text, 0, 0, true);
    EXPECT_EQ(inkBox(), (Box{0, 3, 21, 12}));
    // The H stays; the markers (4, 5 and 5 wide) move down by 3.
    EXPECT_EQ(screen->art(0, 0, 6, 16), plainH);
    EXPECT_EQ(screen->art(6, 6, 16, 7), plainMarkers);

    // drawText at a point keeps the flag that the last drawText set.
    screen->clear();
    drawer->drawText(units({0xE001}), UPoint(0, 0));
    EXPECT_EQ(inkBox()[1], 6);
    drawer->drawText("", 0, 0, false);
    screen->clear();
    drawer->drawText(units({0xE001}), UPoint(0, 0));
    EXPECT_EQ(inkBox()[1], 3);
}

TEST_F(TextTest, Tr480MovesTheFirstMarkerToTheEnd)
{
    const UString text = units({0xE000, 'a', 'b'});
    drawer->drawText(units({' ', 'a', 0xE000}), 0, 0, true);
    const std::string expected = screen->art();
    drawer->drawText(text, 0, 14, false);
    const std::string asIs = screen->art(0, 14, 199, 14);

    SysHardwareVersion::setModel(SysHardwareVersion::MODEL_TR480);
    UDrawer d;
    d.setFont("text");
    screen->clear();
    d.drawText(text, 0, 0, true);
    EXPECT_EQ(screen->art(), expected);
    EXPECT_EQ(inkBox(), (Box{4, 5, 13, 12})); // 'a' at 4, the marker at 10, lowered
    // With the flag clear the text is drawn as it is.
    screen->clear();
    d.drawText(text, 0, 14, false);
    EXPECT_EQ(screen->art(0, 14, 199, 14), asIs);
    // Texts without the marker are untouched; the width ignores the rule.
    screen->clear();
    d.drawText("ab", 0, 0, true);
    EXPECT_EQ(inkBox(), (Box{0, 3, 10, 9}));
    EXPECT_EQ(UDrawer::textWidth(text, "text"), 5 + 6 + 6);
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

    // Bottom-up, empty or missing bitmaps and a missing drawer draw nothing.
    screen->clear();
    FT_Bitmap none[4] = {bm, bm, bm, bm};
    none[0].pitch = -2;
    none[1].pitch = 0;
    none[2].rows = 0;
    none[3].buffer = nullptr;
    for (FT_Bitmap* b : {&none[0], &none[1], &none[2], &none[3], static_cast<FT_Bitmap*>(nullptr)})
        renderGlyph(&d, b, 0, 0);
    renderGlyph(nullptr, &bm, 0, 0);
    EXPECT_EQ(screen->inkCount(), 0);
}

// ---------------------------------------------------------------- fonts on disk

// A phone updates its fonts under running phonelets: once loaded, a font
// no longer depends on its file. Emptying or overwriting the file must
// neither crash the next draw (FreeType and HarfBuzz read faces lazily) nor
// change a pixel of text never drawn before.
TEST_F(GraphicsTest, FontFilesChangedOnDiskAfterLoadingDrawAsBefore)
{
    const std::string original = readFile(sourcePath("fonts/utk-text-12.bdf"));
    const std::string path = writeTemp("update.bdf", original);
    fonts()->loadFont(path, "updated");
    fonts()->loadFont(sourcePath("fonts/utk-text-12.bdf"), "intact");
    UDrawer d;
    d.setFont("updated");
    d.drawText("Hi", 0, 0, false);
    EXPECT_EQ(UDrawer::textWidth("Hi", "updated"), 8);

    const UString fresh("Missed 0123456789 \xC3\xA9t\xC3\xA9 {gjpqy}");
    const char* updates[] = {"", "STARTFONT 2.1\n"};
    for (const char* update : updates) {
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
