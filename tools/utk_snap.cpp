// utk-snap: pictures of what the phonelets drew.
//
//   utk-snap [-o PREFIX] [--lcd] [--device] [--text] [--scale N]
//            [--shm NAME] [--geometry WxH:STRIDE]
//
// --lcd     the one-bit drawing buffer (System V key 200555) as
//           PREFIX-lcd.png; its geometry follows from its size (162, 199 or
//           192 x 48), from the simulated device in buffered mode, or from
//           --geometry.
// --device  the simulated LCD's memory (shared-memory file NAME, by default
//           $UTKSIM_FB_SHM or "/utksimfb") as PREFIX-device.png.
// Without either, both are written when they exist. --text also writes
// PREFIX-*.txt text art; --scale magnifies the PNG files. PREFIX defaults
// to "utk-snap". Exit status 1 when nothing could be written.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

#include "snapshot.h"

namespace {

const int32_t SEGMENT_KEY = 200555;

void usage()
{
    fprintf(stderr,
            "usage: utk-snap [-o PREFIX] [--lcd] [--device] [--text] [--scale N] [--shm NAME]"
            " [--geometry WxH:STRIDE]\n");
}

bool writeText(const std::string& path, const std::string& art)
{
    std::ofstream out(path, std::ios::binary);
    out << art;
    if (!out) {
        fprintf(stderr, "%s: cannot write\n", path.c_str());
        return false;
    }
    return true;
}

struct Geometry {
    uint32_t width = 0, height = 0, stride = 0;
};

bool parseGeometry(const char* text, Geometry& g)
{
    unsigned w = 0, h = 0, s = 0;
    if (sscanf(text, "%ux%u:%u", &w, &h, &s) != 3 || w == 0 || h == 0 || s < (w + 7) / 8)
        return false;
    g.width = w;
    g.height = h;
    g.stride = s;
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    std::string prefix = "utk-snap";
    const char* env = getenv("UTKSIM_FB_SHM");
    std::string shmName = env && *env ? env : "/utksimfb";
    bool lcd = false, device = false, text = false;
    uint32_t scale = 1;
    Geometry given;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        const bool more = i + 1 < argc;
        if (a == "-o" && more)
            prefix = argv[++i];
        else if (a == "--lcd")
            lcd = true;
        else if (a == "--device")
            device = true;
        else if (a == "--text")
            text = true;
        else if (a == "--scale" && more)
            scale = static_cast<uint32_t>(strtoul(argv[++i], nullptr, 10));
        else if (a == "--shm" && more)
            shmName = argv[++i];
        else if (a == "--geometry" && more) {
            if (!parseGeometry(argv[++i], given)) {
                usage();
                return 2;
            }
        } else {
            usage();
            return 2;
        }
    }
    if (scale == 0 || scale > 16) {
        fprintf(stderr, "utk-snap: scale must be 1 to 16\n");
        return 2;
    }
    const bool both = !lcd && !device;
    int written = 0;

    snapshot::Device dev;
    const bool haveDevice = snapshot::readDevice(shmName, dev);
    if (device || both) {
        snapshot::Picture p;
        if (!haveDevice) {
            if (device)
                fprintf(stderr, "utk-snap: no simulated device %s\n", shmName.c_str());
        } else if (!snapshot::fromDevice(dev.memory.data(), dev.memory.size(), dev.width, dev.height,
                                         dev.bitsPerPixel, dev.lineLength, p)) {
            fprintf(stderr, "utk-snap: cannot show %ux%u at %u bits per pixel\n", dev.width,
                    dev.height, dev.bitsPerPixel);
        } else {
            printf("device \"%s\" %ux%u %u bpp, %u syncs\n", dev.id.c_str(), dev.width, dev.height,
                   dev.bitsPerPixel, dev.syncCount);
            written += snapshot::writePng(p, prefix + "-device.png", scale);
            if (text)
                written += writeText(prefix + "-device.txt", snapshot::textArt(p));
        }
    }

    if (lcd || both) {
        const std::vector<unsigned char> seg = snapshot::readSegment(SEGMENT_KEY);
        Geometry g = given;
        if (g.width == 0) {
            if (seg.size() == 1008)
                g = {162, 48, 21};
            else if (seg.size() == 1200)
                g = {199, 48, 25};
            else if (seg.size() == 1152)
                g = {192, 48, 24};
            else if (haveDevice && dev.bitsPerPixel == 1
                     && seg.size() == static_cast<size_t>(dev.lineLength) * dev.height)
                g = {dev.width, dev.height, dev.lineLength};
        }
        if (seg.empty()) {
            if (lcd)
                fprintf(stderr, "utk-snap: no drawing buffer (key %d)\n", SEGMENT_KEY);
        } else if (g.width == 0 || static_cast<size_t>(g.stride) * g.height > seg.size()) {
            fprintf(stderr, "utk-snap: drawing buffer of %zu bytes: give --geometry\n", seg.size());
        } else {
            printf("lcd %ux%u stride %u\n", g.width, g.height, g.stride);
            written += snapshot::writePng(snapshot::fromOneBit(seg.data(), g.stride, g.width, g.height),
                                          prefix + "-lcd.png", scale);
            if (text)
                written += writeText(prefix + "-lcd.txt",
                                     snapshot::textArt(seg.data(), g.stride, g.width, g.height));
        }
    }
    return written > 0 ? 0 : 1;
}
