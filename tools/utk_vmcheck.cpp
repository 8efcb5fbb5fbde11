// utk-vmcheck: compares what a virtual machine's display showed with what
// the toolkit must have put there (scripts/vm-test runs it on the host).
//
//   utk-vmcheck --label NAME --id ID --device WxH:BPP:LINE --model N --dir DIR STEP...
//
// For every STEP it reads DIR/STEP-lcd.txt, the guest's one-bit drawing
// buffer as text art ('#' ink, '.' background, one line a row, every bit of
// each row's bytes: utk-snap --geometry (8 x stride)x48:stride), and
// DIR/STEP-vm.png, the VM's screen dump. The expected picture comes from
// the toolkit's own flush(): a UScreenZQ4 in emulated mode on the simulated
// LCD with the guest device's identification, geometry and depth (as its
// "Actual ... video" line reported them) and the same hardware model gets
// the guest's buffer and flushes it onto the simulated device memory, which
// is written as DIR/STEP-expected.png. Steps run in order on one simulated
// device, so parts of the display outside the picture keep what earlier
// steps left there, as on the real one (both start all zero).
//
// One line a step: "NAME STEP: ok" or "NAME STEP: first differing pixel at
// (x, y): expected #rrggbb, VM shows #rrggbb; N pixels differ". Exit status
// 0 when every step matched, 1 otherwise, 2 on bad arguments.
//
// It uses the drawing segment 200555 and a simulated-LCD file: run it under
// flock /tmp/utk-resources.lock. A stale segment of another size is removed
// first, and the segment and the file are removed at the end.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include <png.h>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <unistd.h>

#include "simframebuffer.h"
#include "snapshot.h"
#include "syshardwareversion.h"
#include "uscreenzq4.h"

namespace {

// Text art into one-bit rows of `stride` bytes; false when its shape is not
// height rows of 8 x stride pixels.
bool readArt(const std::string& path, uint32_t stride, uint32_t height, std::vector<unsigned char>& out)
{
    std::ifstream in(path);
    if (!in)
        return false;
    out.assign(static_cast<size_t>(stride) * height, 0xFF);
    std::string line;
    uint32_t y = 0;
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line.empty())
            continue;
        if (y >= height || line.size() != stride * 8u)
            return false;
        for (uint32_t x = 0; x < line.size(); ++x) {
            if (line[x] == '#')
                out[y * stride + x / 8] &= static_cast<unsigned char>(~(0x80u >> (x % 8)));
            else if (line[x] != '.')
                return false;
        }
        ++y;
    }
    return y == height;
}

bool readPng(const std::string& path, snapshot::Picture& out)
{
    png_image image;
    memset(&image, 0, sizeof image);
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&image, path.c_str()))
        return false;
    image.format = PNG_FORMAT_RGB;
    out.width = image.width;
    out.height = image.height;
    out.rgb.resize(PNG_IMAGE_SIZE(image));
    if (!png_image_finish_read(&image, nullptr, out.rgb.data(), 0, nullptr)) {
        png_image_free(&image);
        return false;
    }
    return true;
}

std::string colour(const uint8_t* p)
{
    char text[8];
    snprintf(text, sizeof text, "#%02x%02x%02x", p[0], p[1], p[2]);
    return text;
}

// "ok", or where and how the pictures differ.
std::string compare(const snapshot::Picture& want, const snapshot::Picture& got)
{
    if (want.width != got.width || want.height != got.height)
        return "the VM's screen is " + std::to_string(got.width) + "x" + std::to_string(got.height)
            + ", expected " + std::to_string(want.width) + "x" + std::to_string(want.height);
    size_t first = want.rgb.size();
    size_t count = 0;
    for (size_t i = 0; i < want.rgb.size(); i += 3)
        if (memcmp(&want.rgb[i], &got.rgb[i], 3) != 0) {
            if (count++ == 0)
                first = i;
        }
    if (count == 0)
        return "ok";
    const size_t pixel = first / 3;
    return "first differing pixel at (" + std::to_string(pixel % want.width) + ", "
        + std::to_string(pixel / want.width) + "): expected " + colour(&want.rgb[first])
        + ", VM shows " + colour(&got.rgb[first]) + "; " + std::to_string(count) + " pixels differ";
}

void removeSegment()
{
    const int id = shmget(UScreenZQ4::SHM_KEY, 0, 0);
    if (id >= 0)
        shmctl(id, IPC_RMID, nullptr);
}

} // namespace

int main(int argc, char** argv)
{
    std::string label = "vm", id, dir = ".";
    unsigned w = 0, h = 0, bpp = 0, line = 0;
    int model = 0;
    std::vector<std::string> steps;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        const bool more = i + 1 < argc;
        if (a == "--label" && more)
            label = argv[++i];
        else if (a == "--id" && more)
            id = argv[++i];
        else if (a == "--device" && more) {
            if (sscanf(argv[++i], "%ux%u:%u:%u", &w, &h, &bpp, &line) != 4)
                w = 0;
        } else if (a == "--model" && more)
            model = atoi(argv[++i]);
        else if (a == "--dir" && more)
            dir = argv[++i];
        else
            steps.push_back(a);
    }
    if (w == 0 || steps.empty()) {
        fprintf(stderr, "usage: utk-vmcheck --label NAME --id ID --device WxH:BPP:LINE --model N"
                        " --dir DIR STEP...\n");
        return 2;
    }

    SysHardwareVersion::setModel(model);
    SimFramebuffer::setShmName("/utk-vmcheck-" + std::to_string(getpid()));
    if (!SimFramebuffer::configure(id.c_str(), w, h, bpp, line)) {
        fprintf(stderr, "%s: cannot simulate a %ux%u device at %u bits per pixel, %u bytes a row\n",
                label.c_str(), w, h, bpp, line);
        return 2;
    }
    removeSegment();
    int status = 0;
    {
        UScreenZQ4 screen;
        for (const std::string& step : steps) {
            const std::string base = dir + "/" + step;
            std::vector<unsigned char> lcd;
            snapshot::Picture want, got;
            std::string result;
            if (!screen.buffer())
                result = "the toolkit's screen has no drawing buffer";
            else if (!readArt(base + "-lcd.txt", screen.stride(), screen.height(), lcd))
                result = "no drawing buffer of " + std::to_string(screen.stride() * 8) + "x"
                    + std::to_string(screen.height()) + " in " + base + "-lcd.txt";
            else {
                memcpy(screen.buffer(), lcd.data(), lcd.size());
                screen.flush();
                if (!snapshot::fromDevice(SimFramebuffer::memory(), SimFramebuffer::memorySize(), w, h,
                                          bpp, line, want))
                    result = "cannot picture the simulated device";
                else if (!snapshot::writePng(want, base + "-expected.png"))
                    result = "cannot write " + base + "-expected.png";
                else if (!readPng(base + "-vm.png", got))
                    result = "cannot read " + base + "-vm.png";
                else
                    result = compare(want, got);
            }
            printf("%s %s: %s\n", label.c_str(), step.c_str(), result.c_str());
            if (result != "ok")
                status = 1;
        }
    }
    removeSegment();
    SimFramebuffer::remove();
    return status;
}
