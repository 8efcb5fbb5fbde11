// Drawing costs on the LCD screen (UScreenZQ4 on a simulated direct-mode
// 199 x 48 one-bit device): one 20-character line of text, shaped anew
// (each iteration draws another of 1024 lines, more than the shaping cache
// holds; plain ASCII, Latin-1 with an accented letter, and with a
// combining accent that takes every line through HarfBuzz) and repeated (the same line every time: a clock, a list row
// repainted), against plain FreeType rendering the same glyph indices
// straight into a one-bit buffer. (Filled rectangles are measured on the
// framebuffer screen itself, in the screen benchmark.)
// Each pair runs in the same program; the report ends with the medians and
// their ratios.
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <ft2build.h>
#include FT_FREETYPE_H
#include <hb-ft.h>
#include <hb.h>

#include <unistd.h>

#include "medianreporter.h"
#include "simframebuffer.h"
#include "syshardwareversion.h"
#include "uapplication.h"
#include "udrawer.h"
#include "ufontmanager.h"
#include "uscreenzq4.h"

namespace {

const char* const LINE = "Missed call: 0123456"; // 20 characters

std::string fontPath()
{
    return std::string(UTK_SOURCE_DIR) + "/fonts/utk-text-12.bdf";
}

// One application for the whole program, on the LCD screen over a
// simulated direct-mode device of its own (no shared-memory segment).
struct Fixture {
    Fixture()
    {
        SysHardwareVersion::setModel(SysHardwareVersion::MODEL_DEFAULT);
        SimFramebuffer::setShmName("/utk-bench-graphics-" + std::to_string(getpid()));
        SimFramebuffer::configure("ST7529 FB", 199, 48, 1);
        screen = new UScreenZQ4();
        app = new UApplication("GraphicsBench", screen, UApplication::UIMode(0));
        app->fontManager()->loadFont(fontPath(), "text");
        app->setFont("text");
    }
    ~Fixture()
    {
        delete app;
        SimFramebuffer::remove();
    }
    UScreenIfc* screen;
    UApplication* app;
};

Fixture& fixture()
{
    static Fixture f;
    return f;
}

// Draws another of 1024 lines (printf format with one number) each time,
// so each is shaped anew.
void drawLines(benchmark::State& state, const char* format)
{
    if (fixture().screen->buffer() == nullptr) {
        state.SkipWithError("no simulated screen");
        return;
    }
    UDrawer d;
    d.setFont("text");
    std::vector<UString> lines;
    for (int i = 0; i < 1024; ++i) {
        char line[32];
        std::snprintf(line, sizeof line, format, i * 7919);
        lines.emplace_back(line);
    }
    size_t i = 0;
    for (auto _ : state) {
        d.drawText(lines[i++ & 1023], 0, 0, false);
        benchmark::ClobberMemory();
    }
}

// Plain ASCII lines of 20 characters.
void BM_DrawerText(benchmark::State& state) { drawLines(state, "Missed call: %07d"); }

// As BM_DrawerText, with one accented letter (U+00E9) in each line.
void BM_DrawerTextLatin1(benchmark::State& state) { drawLines(state, "Appel manqu\xC3\xA9 %07d"); }

// The same letter as a plain e and a combining acute accent (U+0301),
// which HarfBuzz composes into U+00E9: the text goes through HarfBuzz
// every time.
void BM_DrawerTextHarfBuzz(benchmark::State& state)
{
    drawLines(state, "Appel manque\xCC\x81 %07d");
}

// The same line every time.
void BM_DrawerTextRepeated(benchmark::State& state)
{
    if (fixture().screen->buffer() == nullptr) {
        state.SkipWithError("no simulated screen");
        return;
    }
    UDrawer d;
    d.setFont("text");
    const UString text(LINE);
    for (auto _ : state) {
        d.drawText(text, 0, 0, false);
        benchmark::ClobberMemory();
    }
}

// The reference: glyph indices shaped once beforehand, then only FreeType
// loading and rendering each glyph and a direct blit of its bits.
void BM_FreeTypeReference(benchmark::State& state)
{
    FT_Library lib;
    FT_Init_FreeType(&lib);
    FT_Face face;
    if (FT_New_Face(lib, fontPath().c_str(), 0, &face) != 0) {
        state.SkipWithError("font");
        return;
    }
    hb_font_t* font = hb_ft_font_create(face, nullptr);
    hb_buffer_t* buf = hb_buffer_create();
    hb_buffer_add_utf8(buf, LINE, -1, 0, -1);
    hb_buffer_guess_segment_properties(buf);
    hb_shape(font, buf, nullptr, 0);
    unsigned int n = 0;
    const hb_glyph_info_t* info = hb_buffer_get_glyph_infos(buf, &n);
    const hb_glyph_position_t* pos = hb_buffer_get_glyph_positions(buf, &n);
    std::vector<unsigned int> glyphs;
    std::vector<int> advances;
    for (unsigned int i = 0; i < n; ++i) {
        glyphs.push_back(info[i].codepoint);
        advances.push_back(pos[i].x_advance / 64);
    }
    const int stride = 25, height = 48;
    std::vector<unsigned char> lcd(static_cast<size_t>(stride * height), 0xFF);
    for (auto _ : state) {
        int penX = 0;
        for (size_t i = 0; i < glyphs.size(); ++i) {
            if (FT_Load_Glyph(face, glyphs[i], FT_LOAD_DEFAULT) != 0 ||
                FT_Render_Glyph(face->glyph, FT_RENDER_MODE_MONO) != 0)
                break;
            const FT_Bitmap& bm = face->glyph->bitmap;
            const int top = 10 - face->glyph->bitmap_top;
            const int left = penX + face->glyph->bitmap_left;
            for (unsigned int r = 0; r < bm.rows; ++r) {
                const int y = top + static_cast<int>(r);
                if (y < 0 || y >= height)
                    continue;
                const unsigned char* src = bm.buffer + r * static_cast<unsigned int>(bm.pitch);
                for (unsigned int x = 0; x < bm.width; ++x) {
                    if (!(src[x / 8] & (0x80 >> (x % 8))))
                        continue;
                    const int px = left + static_cast<int>(x);
                    if (px >= 0 && px < 199)
                        lcd[static_cast<size_t>(y * stride + px / 8)] &=
                            static_cast<unsigned char>(~(0x80 >> (px % 8)));
                }
            }
            penX += advances[i];
        }
        benchmark::DoNotOptimize(lcd.data());
        benchmark::DoNotOptimize(glyphs.data());
        benchmark::DoNotOptimize(advances.data());
        benchmark::ClobberMemory();
    }
    hb_buffer_destroy(buf);
    hb_font_destroy(font);
    FT_Done_Face(face);
    FT_Done_FreeType(lib);
}

const int REPETITIONS = 9;

BENCHMARK(BM_DrawerText)->Repetitions(REPETITIONS)->ReportAggregatesOnly(true);
BENCHMARK(BM_DrawerTextLatin1)->Repetitions(REPETITIONS)->ReportAggregatesOnly(true);
BENCHMARK(BM_DrawerTextHarfBuzz)->Repetitions(REPETITIONS)->ReportAggregatesOnly(true);
BENCHMARK(BM_DrawerTextRepeated)->Repetitions(REPETITIONS)->ReportAggregatesOnly(true);
BENCHMARK(BM_FreeTypeReference)->Repetitions(REPETITIONS)->ReportAggregatesOnly(true);

} // namespace

int main(int argc, char** argv)
{
    const int rc = runBenchmarksWithRatios(argc, argv, {
        {"BM_DrawerText", "BM_FreeTypeReference"},
        {"BM_DrawerTextLatin1", "BM_FreeTypeReference"},
        {"BM_DrawerTextHarfBuzz", "BM_FreeTypeReference"},
        {"BM_DrawerTextRepeated", "BM_FreeTypeReference"}});
    return rc;
}
