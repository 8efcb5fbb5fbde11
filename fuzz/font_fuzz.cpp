// Font files: the bytes are written to a file that the font manager loads
// under one name (replacing the previous input's font), then text in every
// script the locales shape is measured and drawn with it on an in-memory
// screen. Looks for memory faults and leaks in loading, shaping and glyph
// drawing; a file that FreeType or HarfBuzz refuses must only cost a line.
#include "fuzzcheck.h"
#include "memoryscreen.h"
#include "uapplication.h"
#include "udrawer.h"
#include "ufontmanager.h"
#include "uglobal.h"

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

UApplication* app = nullptr;
std::string fontPath;

// Latin with accents and markers, Hangul, Han, Katakana, Arabic.
const char* const TEXTS[] = {
    "Call log 12:34 \xc3\xa9\xc3\xbc \xee\x80\x80\xee\x80\x81\xee\x80\x82",
    "\xed\x95\x9c\xea\xb5\xad\xec\x96\xb4",
    "\xe6\xbc\xa2\xe5\xad\x97",
    "\xe3\x82\xab\xe3\x82\xbf\xe3\x82\xab\xe3\x83\x8a",
    "\xd8\xb4\xd8\xa7\xd8\xb4\xd8\xa9 \xd8\xb9\xd8\xb1\xd8\xa8\xd9\x8a\xd8\xa9",
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    fuzzSilenceStdout();
    const char* tmp = std::getenv("TMPDIR");
    fontPath = std::string(tmp && *tmp ? tmp : "/tmp") + "/utk-font-fuzz-" +
               std::to_string(getpid());
    app = new UApplication("FontFuzz", new MemoryScreen, UApplication::UIMode(0));
    app->setFont("fuzz");
    app->setIconFont("fuzz");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // The font manager reads the file into memory of its own; each input
    // still gets a fresh file name, removed once loaded. The text drawn
    // twice goes the second time through the shaping and glyph caches.
    static unsigned long serial = 0;
    const std::string path = fontPath + "-" + std::to_string(serial++);
    FILE* f = std::fopen(path.c_str(), "wb");
    if (!f)
        std::abort();
    if (size && std::fwrite(data, 1, size, f) != size)
        std::abort();
    std::fclose(f);

    app->fontManager()->loadFont(UString(path), UString("fuzz"));
    unlink(path.c_str());
    app->setLocale(static_cast<UGlobal::ULocale>(size % 5));

    const UString font("fuzz");
    UDrawer drawer;
    drawer.setFont(font);
    (void)UDrawer::textHeight(font);
    for (const char* text : TEXTS) {
        const UString s(text);
        (void)UDrawer::textWidth(s, font);
        drawer.drawText(s, 0, 0, true);
        drawer.renderText(s, font, 150, 30);
        drawer.drawText(s, UPoint(3, 5));
    }
    drawer.drawIcon(0xE000, 10, 10);
    (void)UDrawer::iconWidth(0x41);
    return 0;
}
