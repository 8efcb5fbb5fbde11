// utk-vmphonelet: a standalone phonelet for the virtual-machine test leg
// (scripts/vm-test). It opens the real /dev/fb0 like any phonelet, draws
// one scene into the shared drawing buffer, flushes it, prints
// "utk-vmphonelet: NAME drawn" and then either keeps running (so that
// several processes hold the segment at the same time) or exits.
//
//   utk-vmphonelet MODEL SCENE [--stay] [--fonts DIR]
//
// MODEL is the hardware model code handed to SysHardwareVersion::setModel()
// before the screen is created (49, 61, 62 or any other: the emulated
// geometry). Scenes:
//   desktop  clears the whole buffer, frame, title, a row of icons
//   calllog  redraws only rows 16 to 47 (three call rows, the second one
//            selected in inverse); the desktop's title bar stays as the
//            other process left it
//   pattern  lines, dashes and filled blocks over the whole screen, the
//            last byte column of every row included
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "syshardwareversion.h"
#include "uapplication.h"
#include "udrawer.h"
#include "ufontmanager.h"
#include "uscreenzq4.h"

namespace {

void desktop(UDrawer& d, unsigned short right, unsigned short bottom)
{
    d.fillRect(0, 0, right, bottom);
    d.drawRect(0, 0, right, bottom);
    d.drawText(UString("utk on ARM Linux"), 4, 1, false);
    d.drawLine(1, 14, right - 1, 14);
    for (unsigned short i = 0; i < 12; ++i)
        d.drawIcon(static_cast<unsigned short>(0xE100 + i), static_cast<unsigned short>(4 + 13 * i), 20);
    d.drawText(UString("12:34"), static_cast<unsigned short>(right - 34), 34, false);
}

void calllog(UDrawer& d, unsigned short right, unsigned short bottom)
{
    d.fillRect(1, 16, right - 1, bottom - 1);
    const char* rows[] = {"Alice 0171 2345", "Bob 0301 9876", "Carol 089 1111"};
    for (unsigned short i = 0; i < 3; ++i) {
        const unsigned short y = static_cast<unsigned short>(16 + 10 * i);
        if (i == 1) {
            d.setBrush(0);
            d.fillRect(1, y, right - 1, static_cast<unsigned short>(y + 9));
            d.setBrush(255);
            d.setPen(255);
        }
        d.drawIcon(static_cast<unsigned short>(0xE105 + i), 3, y);
        d.drawText(UString(rows[i]), 16, static_cast<unsigned short>(y - 2), false);
        d.setPen(0);
    }
}

void pattern(UDrawer& d, unsigned short right, unsigned short bottom)
{
    d.fillRect(0, 0, right, bottom);
    for (unsigned short x = 0; x <= right; x = static_cast<unsigned short>(x + 7))
        d.drawLine(x, 0, static_cast<unsigned short>(right - x), bottom);
    d.drawDashedLine(0, 24, right, 24);
    d.setBrush(0);
    d.fillRect(static_cast<unsigned short>(right - 9), 2, right, 12);
    d.fillRect(0, static_cast<unsigned short>(bottom - 5), 20, bottom);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 3) {
        fprintf(stderr, "usage: utk-vmphonelet MODEL desktop|calllog|pattern [--stay] [--fonts DIR]\n");
        return 2;
    }
    const std::string scene = argv[2];
    bool stay = false;
    std::string fonts = "/usr/share/utk/fonts";
    for (int i = 3; i < argc; ++i) {
        if (strcmp(argv[i], "--stay") == 0)
            stay = true;
        else if (strcmp(argv[i], "--fonts") == 0 && i + 1 < argc)
            fonts = argv[++i];
    }
    if (scene != "desktop" && scene != "calllog" && scene != "pattern") {
        fprintf(stderr, "utk-vmphonelet: unknown scene %s\n", scene.c_str());
        return 2;
    }
    SysHardwareVersion::setModel(atoi(argv[1]));

    UApplication app(scene == "calllog" ? UApplication::CALLLOGPHONELET : UApplication::DESKTOPPHONELET,
                     new UScreenZQ4(), UApplication::UIMode(0));
    app.fontManager()->loadFont(UString(fonts + "/utk-text-12.bdf"), UString("text"));
    app.fontManager()->loadFont(UString(fonts + "/utk-icons-10.bdf"), UString("icons"));
    app.setFont(UString("text"));
    app.setIconFont(UString("icons"));

    UScreenIfc* screen = app.screen();
    if (!screen->buffer()) {
        fprintf(stderr, "utk-vmphonelet: no drawing buffer\n");
        return 1;
    }
    {
        UDrawer d;
        d.setFont(app.getFont());
        const unsigned short right = static_cast<unsigned short>(screen->width() - 1);
        const unsigned short bottom = static_cast<unsigned short>(screen->height() - 1);
        if (scene == "desktop")
            desktop(d, right, bottom);
        else if (scene == "calllog")
            calllog(d, right, bottom);
        else
            pattern(d, right, bottom);
        d.sync();
    }
    printf("utk-vmphonelet: %s drawn\n", scene.c_str());
    fflush(stdout);
    if (stay)
        app.run();   // until the test script ends the process
    return 0;
}
