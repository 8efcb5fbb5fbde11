// The framebuffer screen on the simulated LCD: its three modes, the pixel
// and fill routines and failures of the device and the segment (the
// conversions are in flush_test.cpp, filled rectangles in fill_test.cpp).
#include <cerrno>
#include <cstdio>
#include <regex>
#include <vector>

#include "screen_fixture.h"

namespace {

// The lines printed after the first ("Actual ...") one.
std::string afterFirst(const std::string& out)
{
    return out.substr(out.find('\n') + 1);
}

std::string buffered(const void* p)
{
    char line[96];
    snprintf(line, sizeof line, "Buffered video: x=199 y=48 l:25, s=1200 pix=1 @ 0x%p\n", p);
    return line;
}

bool segmentExists()
{
    return shmget(UScreenZQ4::SHM_KEY, 0, 0) >= 0;
}

} // namespace

TEST_F(ScreenTest, EmulatedGeometryFollowsTheModelInAClosedSegment)
{
    const struct { int model; unsigned short w, s; } cases[] = {{49, 162, 21}, {61, 162, 21}, {62, 199, 25}, {0, 192, 24}};
    for (const auto& c : cases) {
        SysHardwareVersion::setModel(c.model);
        open("utksim", 320, 240, 32, 0, static_cast<size_t>(c.s) * 48);
        ASSERT_NE(screen->buffer(), nullptr);
        EXPECT_EQ(screen->width() * 100 + screen->height(), c.w * 100 + 48);
        EXPECT_EQ(screen->scanLine(3), screen->buffer() + 3 * c.s);
        EXPECT_EQ(out.compare(0, 73, "Actual utksim  video: x=320 y=240 s=307200 pix=32 line=1280 (utksim) @ 0x"), 0);
        EXPECT_EQ(afterFirst(out), "Emulated video: x=" + std::to_string(c.w) + " y=48 s=" + std::to_string(c.s * 48)
                                       + " pix=1\n") << c.model;
        EXPECT_EQ(err, "");
    }
    // A segment the screen makes has no permission bits; a second screen
    // finds it and leaves what is drawn there (attaching it needs root).
    removeSegment();
    create();
    shmid_ds ds;
    ASSERT_EQ(shmctl(shmget(UScreenZQ4::SHM_KEY, 0, 0), IPC_STAT, &ds), 0);
    EXPECT_EQ(ds.shm_segsz * 1000 + (ds.shm_perm.mode & 0777), 1152000u);
    if (geteuid() == 0) {
        screen->fill(0, 0, 0xA5, 1152);
        create();
        EXPECT_EQ(screen->buffer()[0] + screen->buffer()[1151], 2 * 0xA5);
    }
    // The segment outlives the screen, the device does not.
    EXPECT_EQ(SimFramebuffer::lastOpenPath(), "/dev/fb0");
    screen.reset();
    EXPECT_EQ(SimFramebuffer::openDevices(), 0);
    EXPECT_TRUE(segmentExists());
}

// Buffered mode draws in the segment and flush copies it and syncs, even
// after a failed sync; direct mode draws on the device and flush only syncs.
TEST_F(ScreenTest, BufferedAndDirectModes)
{
    for (const char* id : {"st7525fb", "st7526fb"}) {
        open(id, 199, 48, 1, 0, 1200);
        ASSERT_NE(screen->buffer(), nullptr);
        EXPECT_EQ(afterFirst(out), buffered(screen->buffer()));
        EXPECT_TRUE(std::all_of(screen->buffer(), screen->buffer() + 1200, [](unsigned char b) { return b == 0xFF; }));
        EXPECT_EQ(mem8()[0], 0x00) << "drawing stays in the segment until flush";
        screen->setPixel(198, 47, 0);
        screen->flush();
        EXPECT_EQ(memcmp(mem8(), screen->buffer(), 1200), 0);
        EXPECT_EQ(mem8()[1199], 0xFD);
        EXPECT_EQ(SimFramebuffer::syncCount(), 1u) << id;
    }
    SimFramebuffer::setFailure(SimFramebuffer::Sync, EIO);
    screen->setPixel(0, 0, 0);
    EXPECT_EQ(flushCapturingErr(), "ioctl(ST752x_MANUAL_SYNC): Input/output error\n");
    EXPECT_EQ(mem8()[0], 0x7F);
    SimFramebuffer::clearFailures();
    EXPECT_EQ(flushCapturingErr(), "");
    EXPECT_EQ(SimFramebuffer::syncCount(), 2u);

    removeSegment();
    open("ST7529 FB", 240, 160, 1);
    ASSERT_NE(screen->buffer(), nullptr);
    char line[128];
    snprintf(line, sizeof line, "Actual ST7529 FB  video: x=240 y=160 s=4800 pix=1 line=30 (ST7529 FB) @ 0x%p\n",
             static_cast<void*>(screen->buffer()));
    EXPECT_EQ(out, line);
    EXPECT_FALSE(segmentExists());
    screen->setPixel(9, 1, 1);
    EXPECT_EQ(mem8()[31], 0x40) << "the buffer is the device memory";
    const std::vector<unsigned char> before(mem8(), mem8() + 4800);
    screen->flush();
    EXPECT_EQ(SimFramebuffer::syncCount(), 1u);
    EXPECT_EQ(std::vector<unsigned char>(mem8(), mem8() + 4800), before);
}

TEST_F(ScreenTest, SetPixelFillAndScanLineHwAtBitAndByteLevel)
{
    // An identification that fills all 16 bytes, with no nul, is read safely.
    ASSERT_TRUE(SimFramebuffer::configure("abcdefghijklmnop", 320, 240, 32));
    // A larger segment than the screen's 1152 bytes: the rest stays untouched.
    ASSERT_NE(makeSegment(4096, 0xAA), nullptr);
    create();
    EXPECT_NE(out.find("Actual abcdefghijklmnop  video:"), std::string::npos);
    EXPECT_NE(out.find("(abcdefghijklmnop) @ 0x"), std::string::npos);
    unsigned char* b = screen->buffer();
    ASSERT_NE(b, nullptr);
    memset(b, 0xFF, 1152);
    // Most significant bit first; any non-zero value is background.
    const struct { unsigned short x, y; unsigned char value; size_t at; unsigned char byte; } steps[] = {
        {0, 0, 0, 0, 0x7F}, {0, 0, 1, 0, 0xFF}, {7, 0, 0, 0, 0xFE}, {8, 0, 0, 1, 0x7F},
        {13, 5, 0, 121, 0xFB}, {13, 5, 200, 121, 0xFF}, {191, 47, 0, 1151, 0xFE},
    };
    for (const auto& s : steps) {
        screen->setPixel(s.x, s.y, s.value);
        EXPECT_EQ(b[s.at], s.byte) << s.x << "," << s.y << " = " << int(s.value);
        EXPECT_EQ(screen->pixel(s.x, s.y), s.value ? 1 : 0);
    }
    const std::vector<unsigned char> before(b, b + 1152);
    for (auto p : {std::make_pair(192, 0), std::make_pair(0, 48), std::make_pair(65535, 65535)}) {
        screen->setPixel(p.first, p.second, 0);
        EXPECT_EQ(screen->pixel(p.first, p.second), 255);
    }
    EXPECT_EQ(std::vector<unsigned char>(b, b + 1152), before);

    memset(b, 0xFF, 1152);
    EXPECT_TRUE(screen->fill(12, 1, 0x00, 3)); // x 12 lies in byte 1: pixels 8..31
    EXPECT_EQ(std::vector<unsigned char>(b + 24, b + 29), (std::vector<unsigned char>{0xFF, 0, 0, 0, 0xFF}));
    EXPECT_TRUE(screen->fill(0, 2, 0x00, 0) && screen->fill(0, 2, 0x00, -5));
    EXPECT_EQ(b[48], 0xFF);
    EXPECT_TRUE(screen->fill(184, 47, 0x3C, 1000) && screen->fill(0, 60000, 0x00, 10));
    EXPECT_EQ(b[1150] * 256 + b[1151], 0xFF3C);
    EXPECT_TRUE(std::all_of(b + 1152, b + 4096, [](unsigned char v) { return v == 0xAA; }));

    // 16-bit lines: each pixel three times, nothing past the count.
    unsigned char src[2] = {0xA0, 0x80};
    unsigned short dst[31] = {};
    dst[0] = dst[30] = 0x1234;
    UScreenZQ4::scan_line_hw(-3, src, dst);
    EXPECT_EQ(dst[0], 0x1234);
    UScreenZQ4::scan_line_hw(10, src, dst);
    for (int i = 0; i < 31; ++i) // pixels 0, 2 and 8 are set
        ASSERT_EQ(dst[i], i == 30 ? 0x1234 : i / 3 == 0 || i / 3 == 2 || i / 3 == 8 ? 0xFFFF : 0) << i;
}

TEST_F(ScreenTest, WithoutDeviceMappingOrSegmentNothingIsWritten)
{
    auto expectWritesNowhere = [this] {
        EXPECT_EQ(screen->buffer(), nullptr);
        EXPECT_EQ(screen->scanLine(0), nullptr);
        screen->setPixel(0, 0, 0);
        EXPECT_TRUE(screen->fill(0, 0, 0x00, 100) && screen->fillRect(0, 0, 100, 10, 0));
        EXPECT_EQ(screen->pixel(0, 0), 255);
        EXPECT_EQ(flushCapturingErr(), "");
        EXPECT_EQ(SimFramebuffer::syncCount(), 0u);
        EXPECT_TRUE(std::all_of(mem8(), mem8() + SimFramebuffer::memorySize(), [](unsigned char b) { return b == 0; }));
    };
    ASSERT_TRUE(SimFramebuffer::configure("utksim", 320, 240, 32));
    SimFramebuffer::setFailure(SimFramebuffer::Open, ENOENT);
    create();
    EXPECT_EQ(err + out, "open frameBuffer failed -1 @ /dev/fb0!\n");
    EXPECT_FALSE(segmentExists());
    expectWritesNowhere();

    // Without a segment construction still runs every step to its last
    // line, in both modes that use one.
    SimFramebuffer::clearFailures();
    const std::string missing = "shnmget failed 22 Invalid argument\nshmat failed 22 Invalid argument\n";
    ASSERT_NE(makeSegment(100, 0x11), nullptr);
    create();
    EXPECT_EQ(afterFirst(out), missing + "Emulated video: x=192 y=48 s=1152 pix=1\n");
    expectWritesNowhere();
    ASSERT_TRUE(SimFramebuffer::configure("st7525fb", 199, 48, 1));
    create();
    EXPECT_EQ(afterFirst(out), missing + buffered(nullptr));
    expectWritesNowhere();

    // A failed mapping or screen query: its line, and the descriptor closed.
    ASSERT_TRUE(SimFramebuffer::configure("utksim", 320, 240, 32));
    const struct { SimFramebuffer::Operation op; int error; const char* err; } cases[] = {
        {SimFramebuffer::Map, ENOMEM, "mmap frameBuffer failed [0-9]+ @ utksim!\n"},
        // Without the screen information there is nothing to map.
        {SimFramebuffer::VarInfo, EIO, "FBIOGET_VSCREENINFO: Input/output error\nmmap frameBuffer failed [0-9]+ @ utksim!\n"},
        {SimFramebuffer::FixInfo, EINVAL, "FBIOGET_FSCREENINFO: Invalid argument\nmmap frameBuffer failed [0-9]+ @ !\n"},
    };
    for (const auto& c : cases) {
        SimFramebuffer::clearFailures();
        SimFramebuffer::setFailure(c.op, c.error);
        create();
        EXPECT_TRUE(std::regex_match(err, std::regex(c.err))) << err;
        EXPECT_EQ(out, "");
        expectWritesNowhere();
        screen.reset();
        EXPECT_EQ(SimFramebuffer::openDevices(), 0) << "the descriptor is closed";
    }
}

TEST_F(ScreenTest, SimulatorNamesEveryRefusedSetting)
{
    const struct { const char* id; uint32_t w, h, bpp, line; const char* lines; } cases[] = {
        {"utksim", 320, 240, 15, 0, "utksimfb: bitsPerPixel=15 refused (accepted: 1, 8, 16, 24 or 32)\n"},
        {"utksim", 0, 9000, 32, 0,
         "utksimfb: xres=0 refused (accepted: 1 to 8192)\nutksimfb: yres=9000 refused (accepted: 1 to 8192)\n"},
        {"utksim", 8192, 8192, 32, 32769,
         "utksimfb: lineLength=32769 refused: 8192 rows of it make 268443648 bytes (accepted: at most 268435456)\n"},
        {"abcdefghijklmnopq", 320, 240, 32, 0, "utksimfb: id=abcdefghijklmnopq refused: 17 characters (accepted: at most 16)\n"},
    };
    for (const auto& c : cases) {
        ::testing::internal::CaptureStderr();
        EXPECT_FALSE(SimFramebuffer::configure(c.id, c.w, c.h, c.bpp, c.line));
        EXPECT_EQ(::testing::internal::GetCapturedStderr(), c.lines);
    }
    EXPECT_TRUE(SimFramebuffer::configure("abcdefghijklmnop", 1, 8192, 1)); // all at their limits
}
