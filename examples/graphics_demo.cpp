// Graphics on the simulated LCD: a phonelet-style program that draws lines,
// boxes, text and a row of icons in emulated mode on a 320 x 240 display at
// 32 bits per pixel, then writes the display memory as a PNG (one pixel per
// LCD dot; a second file magnified four times for the eye).
//
//   graphics_demo [OUT.png] [--keep]      (default graphics_demo.png)
//
// --keep leaves the display memory ("/utk-graphics-demo") and the drawing
// buffer in place for `utk-snap --shm /utk-graphics-demo`.
// At 32 bits per pixel the emulated screen shows the background as
// 0xFF000000 and ink as 0xFFFFFFFF, so the picture comes out light on dark.
#include <cstdio>
#include <string>

#include <sys/ipc.h>
#include <sys/shm.h>

#include "simframebuffer.h"
#include "snapshot.h"
#include "uapplication.h"
#include "udrawer.h"
#include "ufontmanager.h"
#include "uscreenzq4.h"

int main(int argc, char** argv)
{
    std::string out = "graphics_demo.png";
    bool keep = false;
    for (int i = 1; i < argc; ++i) {
        if (std::string(argv[i]) == "--keep")
            keep = true;
        else
            out = argv[i];
    }
    SimFramebuffer::setShmName("/utk-graphics-demo");
    if (!SimFramebuffer::configure("utksim", 320, 240, 32)) {
        fprintf(stderr, "cannot configure the simulated LCD\n");
        return 1;
    }
    // A stale drawing buffer of another geometry would be refused.
    const int stale = shmget(UScreenZQ4::SHM_KEY, 0, 0);
    if (stale >= 0)
        shmctl(stale, IPC_RMID, nullptr);

    int status = 1;
    {
        UApplication app(UApplication::DESKTOPPHONELET, new UScreenZQ4(), UApplication::UIMode(0));
        const std::string fonts = std::string(UTK_BINARY_DIR) + "/fonts/";
        app.fontManager()->loadFont(UString(fonts + "utk-text-12.bdf"), UString("text"));
        app.fontManager()->loadFont(UString(fonts + "utk-icons-10.bdf"), UString("icons"));
        app.setFont(UString("text"));
        app.setIconFont(UString("icons"));

        UScreenIfc* screen = app.screen();
        if (screen->buffer()) {
            UDrawer d;
            d.setFont(app.getFont());
            const unsigned short right = screen->width() - 1, bottom = screen->height() - 1;
            d.fillRect(0, 0, right, bottom);                  // background
            d.drawRect(0, 0, right, bottom);                  // frame at the LCD's edge
            d.drawText(UString("utk on the simulated LCD"), 4, 1, false);
            d.drawLine(4, 15, right - 4, 15);
            for (unsigned short i = 0; i < 15; ++i)
                d.drawIcon(static_cast<unsigned short>(0xE100 + i), static_cast<unsigned short>(4 + 12 * i), 19);
            d.drawDashedLine(4, 32, 120, 32);
            d.drawLine(4, 44, 40, 35);
            d.drawLine(44, 35, 80, 44);
            d.fillRect(86, 36, 96, 44);
            d.setBrush(0);
            d.fillRect(100, 36, 110, 44);
            d.drawRect(114, 35, 186, 44);
            d.drawText(UString("1 bit"), 130, 33, false);
            d.sync();

            snapshot::Picture picture;
            if (snapshot::fromDevice(SimFramebuffer::memory(), SimFramebuffer::memorySize(), 320, 240,
                                     32, 1280, picture)
                && snapshot::writePng(picture, out)
                && snapshot::writePng(picture, out.substr(0, out.rfind('.')) + "-x4.png", 4)) {
                printf("wrote %s\n", out.c_str());
                status = 0;
            }
        }
    }
    if (!keep)
        SimFramebuffer::remove();
    return status;
}
