// The framebuffer screen on the simulated LCD: its three modes, the pixel
// and fill routines and failures of the device and the segment (the
// conversions are in flush_test.cpp, filled rectangles in fill_test.cpp).
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <regex>
#include <vector>

#include "screen_fixture.h"
#include "sysframebuffer.h"

namespace {

std::string format(const char* fmt, const void* p)
{
    char line[256];
    snprintf(line, sizeof line, fmt, p);
    return line;
}

bool segmentExists()
{
    return shmget(UScreenZQ4::SHM_KEY, 0, 0) >= 0;
}

} // namespace

// ---- modes ----------------------------------------------------------------

TEST_F(ScreenTest, EmulatedGeometryFollowsTheModelInAClosedSegment)
{
    struct Case { int model; unsigned short w, s; const char* line; };
    const Case cases[] = {
        {49, 162, 21, "Emulated video: x=162 y=48 s=1008 pix=1\n"},
        {61, 162, 21, "Emulated video: x=162 y=48 s=1008 pix=1\n"},
        {62, 199, 25, "Emulated video: x=199 y=48 s=1200 pix=1\n"},
        {0, 192, 24, "Emulated video: x=192 y=48 s=1152 pix=1\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.model);
        SysHardwareVersion::setModel(c.model);
        open("utksim", 320, 240, 32, 0, static_cast<size_t>(c.s) * 48);
        EXPECT_EQ(screen->width() * 100 + screen->height(), c.w * 100 + 48);
        ASSERT_NE(screen->buffer(), nullptr);
        EXPECT_EQ(screen->scanLine(3), screen->buffer() + 3 * screen->stride());
        EXPECT_EQ(screen->stride(), c.s);
        const std::string actual = "Actual utksim  video: x=320 y=240 s=307200 pix=32 line=1280 (utksim) @ 0x";
        EXPECT_EQ(out.compare(0, actual.size(), actual), 0) << out;
        EXPECT_NE(out.find(c.line), std::string::npos) << out;
        EXPECT_EQ(err, "");
    }
    // A segment the screen makes has no permission bits; a second screen
    // finds it and leaves what is drawn there (attaching it needs root).
    removeSegment();
    create();
    shmid_ds ds;
    ASSERT_EQ(shmctl(shmget(UScreenZQ4::SHM_KEY, 0, 0), IPC_STAT, &ds), 0);
    EXPECT_EQ(ds.shm_segsz, 1152u);
    EXPECT_EQ(ds.shm_perm.mode & 0777, 0u);
    if (geteuid() == 0) {
        screen->fill(0, 0, 0xA5, 1152);
        create();
        EXPECT_EQ(screen->buffer()[0], 0xA5);
        EXPECT_EQ(screen->buffer()[1151], 0xA5);
    }
    // The screen reached the simulated device through the seam; the
    // segment outlives the screen, the device does not.
    EXPECT_STREQ(SysFramebuffer::implementation(), "sim");
    EXPECT_EQ(SimFramebuffer::lastOpenPath(), "/dev/fb0");
    EXPECT_EQ(SimFramebuffer::openDevices(), 1);
    screen.reset();
    EXPECT_EQ(SimFramebuffer::openDevices(), 0);
    EXPECT_TRUE(segmentExists());
}

TEST_F(ScreenTest, BufferedModeCopiesTheSegmentAndSyncsEvenAfterAFailure)
{
    for (const char* id : {"st7525fb", "st7526fb"}) {
        SCOPED_TRACE(id);
        open(id, 199, 48, 1, 0, 1200);
        ASSERT_NE(screen->buffer(), nullptr);
        EXPECT_EQ(out.substr(out.find('\n') + 1),
                  format("Buffered video: x=199 y=48 l:25, s=1200 pix=1 @ 0x%p\n", screen->buffer()));
        for (size_t i = 0; i < 1200; ++i)
            ASSERT_EQ(screen->buffer()[i], 0xFF) << i;
        EXPECT_EQ(mem8()[0], 0x00) << "drawing stays in the segment until flush";

        screen->setPixel(198, 47, 0);
        screen->flush();
        EXPECT_EQ(memcmp(mem8(), screen->buffer(), 1200), 0);
        EXPECT_EQ(mem8()[1199], 0xFD);
        EXPECT_EQ(SimFramebuffer::syncCount(), 1u);
    }
    // A failed sync is reported, after the copy, and tried again next time.
    SimFramebuffer::setFailure(SimFramebuffer::Sync, EIO);
    screen->setPixel(0, 0, 0);
    EXPECT_EQ(flushCapturingErr(), "ioctl(ST752x_MANUAL_SYNC): Input/output error\n");
    EXPECT_EQ(mem8()[0], 0x7F);
    EXPECT_EQ(SimFramebuffer::syncCount(), 1u);
    SimFramebuffer::clearFailures();
    EXPECT_EQ(flushCapturingErr(), "");
    EXPECT_EQ(SimFramebuffer::syncCount(), 2u);
}

TEST_F(ScreenTest, DirectModeDrawsOnTheDeviceAndFlushOnlySyncs)
{
    open("ST7529 FB", 240, 160, 1);
    ASSERT_NE(screen->buffer(), nullptr);
    EXPECT_EQ(out, format("Actual ST7529 FB  video: x=240 y=160 s=4800 pix=1 line=30 (ST7529 FB) @ 0x%p\n",
                          screen->buffer()));
    EXPECT_FALSE(segmentExists());
    screen->setPixel(9, 1, 1);
    EXPECT_EQ(mem8()[31], 0x40) << "the buffer is the device memory";
    const std::vector<unsigned char> before(mem8(), mem8() + 4800);
    screen->flush();
    screen->flush();
    EXPECT_EQ(SimFramebuffer::syncCount(), 2u);
    EXPECT_EQ(std::vector<unsigned char>(mem8(), mem8() + 4800), before);
}

// ---- pixels -----------------------------------------------------------------

TEST_F(ScreenTest, SetPixelAndFillAtBitAndByteLevel)
{
    // An identification that fills all 16 bytes, with no nul, is read safely.
    ASSERT_TRUE(SimFramebuffer::configure("abcdefghijklmnop", 320, 240, 32));
    // A larger segment than the screen needs: what lies past the screen's
    // 1152 bytes must stay untouched.
    ASSERT_NE(makeSegment(4096, 0xAA), nullptr);
    create();
    EXPECT_EQ(out.substr(0, 31), "Actual abcdefghijklmnop  video:");
    EXPECT_NE(out.find("(abcdefghijklmnop) @ 0x"), std::string::npos);
    unsigned char* b = screen->buffer();
    ASSERT_NE(b, nullptr);
    memset(b, 0xFF, 1152);
    // Most significant bit first; any non-zero value is background.
    const struct { unsigned short x, y; unsigned char value; size_t at; unsigned char byte; } steps[] = {
        {0, 0, 0, 0, 0x7F},   {0, 0, 1, 0, 0xFF},        {7, 0, 0, 0, 0xFE},   {8, 0, 0, 1, 0x7F},
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
    EXPECT_TRUE(screen->fill(0, 2, 0x00, 0));
    EXPECT_TRUE(screen->fill(0, 2, 0x00, -5));
    EXPECT_EQ(b[48], 0xFF);
    EXPECT_TRUE(screen->fill(184, 47, 0x3C, 1000));
    EXPECT_EQ(b[1150], 0xFF);
    EXPECT_EQ(b[1151], 0x3C);
    EXPECT_TRUE(screen->fill(0, 60000, 0x00, 10));
    for (size_t i = 1152; i < 4096; ++i)
        ASSERT_EQ(b[i], 0xAA) << i;
}

TEST_F(ScreenTest, ScanLineHwTriplesEveryPixel)
{
    unsigned char src[2] = {0xA0, 0x80};
    unsigned short dst[31] = {};
    dst[0] = dst[30] = 0x1234;
    UScreenZQ4::scan_line_hw(-3, src, dst);
    UScreenZQ4::scan_line_hw(10, src + 0, dst);
    const unsigned short expect[10] = {0xFFFF, 0, 0xFFFF, 0, 0, 0, 0, 0, 0xFFFF, 0};
    for (int i = 0; i < 30; ++i)
        ASSERT_EQ(dst[i], expect[i / 3]) << i;
    EXPECT_EQ(dst[30], 0x1234);
}

// ---- failures ---------------------------------------------------------------

TEST_F(ScreenTest, WithoutDeviceMappingOrSegmentNothingIsWritten)
{
    auto expectWritesNowhere = [this] {
        EXPECT_EQ(screen->buffer(), nullptr);
        EXPECT_EQ(screen->scanLine(0), nullptr);
        screen->setPixel(0, 0, 0);
        EXPECT_TRUE(screen->fill(0, 0, 0x00, 100));
        EXPECT_TRUE(screen->fillRect(0, 0, 100, 10, 0));
        EXPECT_EQ(screen->pixel(0, 0), 255);
        EXPECT_EQ(flushCapturingErr(), "");
        EXPECT_EQ(SimFramebuffer::syncCount(), 0u);
        EXPECT_TRUE(std::all_of(mem8(), mem8() + SimFramebuffer::memorySize(), [](unsigned char b) { return b == 0; }));
    };
    ASSERT_TRUE(SimFramebuffer::configure("utksim", 320, 240, 32));
    SimFramebuffer::setFailure(SimFramebuffer::Open, ENOENT);
    create();
    EXPECT_EQ(err, "open frameBuffer failed -1 @ /dev/fb0!\n");
    EXPECT_EQ(out, "");
    EXPECT_FALSE(segmentExists());
    expectWritesNowhere();

    // Without a segment construction still runs every step to its last line.
    SimFramebuffer::clearFailures();
    ASSERT_NE(makeSegment(100, 0x11), nullptr);
    create();
    EXPECT_EQ(out.substr(out.find('\n') + 1),
              "shnmget failed 22 Invalid argument\nshmat failed 22 Invalid argument\n"
              "Emulated video: x=192 y=48 s=1152 pix=1\n");
    expectWritesNowhere();

    // The segment is there but cannot be attached, in both modes that use it.
    removeSegment();
    failShmat(ENOMEM);
    create();
    EXPECT_EQ(out.substr(out.find('\n') + 1),
              "shmat failed 12 Cannot allocate memory\nEmulated video: x=192 y=48 s=1152 pix=1\n");
    expectWritesNowhere();
    ASSERT_TRUE(SimFramebuffer::configure("st7525fb", 199, 48, 1));
    removeSegment();
    create();
    EXPECT_EQ(out.substr(out.find('\n') + 1),
              "shmat failed 12 Cannot allocate memory\n"
                  + format("Buffered video: x=199 y=48 l:25, s=1200 pix=1 @ 0x%p\n", nullptr));
    expectWritesNowhere();

    // A failed mapping or screen query: its line, and the descriptor closed.
    failShmat(0);
    ASSERT_TRUE(SimFramebuffer::configure("utksim", 320, 240, 32));
    const struct { SimFramebuffer::Operation op; int error; const char* err; } cases[] = {
        {SimFramebuffer::Map, ENOMEM, "mmap frameBuffer failed [0-9]+ @ utksim!\n"},
        // Without the screen information there is nothing to map.
        {SimFramebuffer::VarInfo, EIO,
         "FBIOGET_VSCREENINFO: Input/output error\nmmap frameBuffer failed [0-9]+ @ utksim!\n"},
        {SimFramebuffer::FixInfo, EINVAL,
         "FBIOGET_FSCREENINFO: Invalid argument\nmmap frameBuffer failed [0-9]+ @ !\n"},
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
         "utksimfb: lineLength=32769 refused: 8192 rows of it make 268443648 bytes (accepted: at most "
         "268435456)\n"},
        {"abcdefghijklmnopq", 320, 240, 32, 0,
         "utksimfb: id=abcdefghijklmnopq refused: 17 characters (accepted: at most 16)\n"},
    };
    for (const auto& c : cases) {
        ::testing::internal::CaptureStderr();
        EXPECT_FALSE(SimFramebuffer::configure(c.id, c.w, c.h, c.bpp, c.line));
        EXPECT_EQ(::testing::internal::GetCapturedStderr(), c.lines);
    }
    EXPECT_TRUE(SimFramebuffer::configure("abcdefghijklmnop", 1, 8192, 1)); // all at their limits
}
