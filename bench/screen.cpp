// The framebuffer screen on the simulated LCD, every figure against a
// reference measured in the same run:
// - flushes of the emulated 192 x 48 screen onto a 320 x 240 display at 16,
//   24 and 32 bits per pixel, and of a buffered 199 x 48 one-bit LCD (the
//   phone's case: one copy and the sync request), each against a plain
//   memcpy of the bytes that flush writes into the same device memory;
// - a full-screen fillRect (199 x 48, the TR480's screen) through a drawer
//   on UScreenZQ4, against the screen's own setPixel over the same pixels
//   (called through a pointer the compiler cannot see through, so it is
//   neither devirtualized nor inlined) and against a memset of the buffer.
// - the same flushes with the vector code capped at AVX2 and at none (the
//   portable code), for processors without AVX-512.
// Medians of the repetitions and the ratios are printed at the end.
//
// Bytes written: 32 bpp 192 x 48 x 4; 24 bpp 192 x 48 x 3; 16 bpp the
// three-times image (576 x 144) clipped to the 320-pixel width: 106 whole
// magnified pixels (318 columns) x 144 rows x 2; 1 bpp 25 x 48.
#include <cstdio>
#include <cstring>
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <sys/ipc.h>
#include <sys/shm.h>

#include "medianreporter.h"

#include "simframebuffer.h"
#include "syshardwareversion.h"
#include "uapplication.h"
#include "udrawer.h"
#include "uscreenzq4.h"

namespace {

size_t bytesWritten(int64_t bpp)
{
    switch (bpp) {
    case 32: return 192u * 48u * 4u;
    case 24: return 192u * 48u * 3u;
    case 1: return 25u * 48u;
    default: return 106u * 3u * 144u * 2u;
    }
}

void removeSegment()
{
    const int id = shmget(UScreenZQ4::SHM_KEY, 0, 0);
    if (id >= 0)
        shmctl(id, IPC_RMID, nullptr);
}

// A screen on a fresh simulated device, its buffer a checkerboard of 8-pixel
// bytes so that both colours are converted.
// At 1 bpp a buffered 199 x 48 LCD; otherwise the emulated screen of the
// default model (192 x 48) on a 320 x 240 display.
UScreenZQ4* openScreen(int64_t bpp, int model = SysHardwareVersion::MODEL_DEFAULT)
{
    SimFramebuffer::setShmName("/utk-bench-screen");
    SysHardwareVersion::setModel(model);
    const bool lcd = bpp == 1;
    if (!SimFramebuffer::configure(lcd ? "st7525fb" : "utksim", lcd ? 199 : 320, lcd ? 48 : 240,
                                   static_cast<uint32_t>(bpp)))
        return nullptr;
    removeSegment();
    UScreenZQ4* screen = new UScreenZQ4;
    if (!screen->buffer()) {
        delete screen;
        return nullptr;
    }
    for (int i = 0; i < screen->stride() * screen->height(); ++i)
        screen->buffer()[i] = (i / screen->stride() + i) % 2 ? 0xFF : 0x00;
    return screen;
}

void closeScreen(UScreenZQ4* screen)
{
    delete screen;
    removeSegment();
    SimFramebuffer::remove();
}

void BM_Flush(benchmark::State& state)
{
    UScreenZQ4* screen = openScreen(state.range(0));
    if (!screen) {
        state.SkipWithError("no simulated screen");
        return;
    }
    for (auto _ : state) {
        screen->flush();
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytesWritten(state.range(0))));
    closeScreen(screen);
}

void BM_Memcpy(benchmark::State& state)
{
    UScreenZQ4* screen = openScreen(state.range(0));
    if (!screen) {
        state.SkipWithError("no simulated screen");
        return;
    }
    const size_t n = bytesWritten(state.range(0));
    std::vector<unsigned char> src(n, 0x5A);
    unsigned char* dst = SimFramebuffer::memory();
    for (auto _ : state) {
        memcpy(dst, src.data(), n);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * n));
    closeScreen(screen);
}

// The fills run on the TR480's 199 x 48 emulated screen, owned by an
// application as in a phonelet.
struct FillApp {
    FillApp() : screen(openScreen(32, SysHardwareVersion::MODEL_TR480))
    {
        if (screen)
            app = new UApplication("ScreenBench", screen, UApplication::UIMode(0));
    }
    ~FillApp()
    {
        delete app; // deletes the screen
        removeSegment();
        SimFramebuffer::remove();
    }
    UScreenZQ4* screen;
    UApplication* app = nullptr;
};

void BM_DrawerFillRect(benchmark::State& state)
{
    FillApp f;
    if (!f.app) {
        state.SkipWithError("no simulated screen");
        return;
    }
    UDrawer d;
    d.setBrush(0);
    for (auto _ : state) {
        d.fillRect(0, 0, 198, 47);
        benchmark::ClobberMemory();
    }
}

void BM_SetPixelReference(benchmark::State& state)
{
    FillApp f;
    if (!f.app) {
        state.SkipWithError("no simulated screen");
        return;
    }
    UScreenIfc* s = f.screen;
    benchmark::DoNotOptimize(s); // the dynamic type is hidden from the compiler
    for (auto _ : state) {
        for (unsigned short y = 0; y <= 47; ++y)
            for (unsigned short x = 0; x <= 198; ++x)
                s->setPixel(x, y, 0);
        benchmark::ClobberMemory();
    }
}

void BM_MemsetReference(benchmark::State& state)
{
    FillApp f;
    if (!f.app) {
        state.SkipWithError("no simulated screen");
        return;
    }
    unsigned char* b = f.screen->buffer();
    const size_t n = static_cast<size_t>(f.screen->stride()) * f.screen->height();
    benchmark::DoNotOptimize(b);
    for (auto _ : state) {
        memset(b, 0x00, n);
        benchmark::ClobberMemory();
    }
}

const int REPETITIONS = 9;

// memcpy of the same bytes laid out as flush lays them out: row by row at
// the device's row spacing (one block at 1 bpp).
void BM_RowMemcpy(benchmark::State& state)
{
    UScreenZQ4* screen = openScreen(state.range(0));
    if (!screen) {
        state.SkipWithError("no simulated screen");
        return;
    }
    struct Layout { size_t first, rows, bytes, spacing; };
    Layout l;
    switch (state.range(0)) {
    case 32: l = {(96 * 320 + 64) * 4, 48, 192 * 4, 320 * 4}; break;
    case 24: l = {96 * 960 + 64 * 3, 48, 192 * 3, 960}; break;
    case 1: l = {0, 1, 25 * 48, 0}; break;
    default: l = {0, 144, 318 * 2, 640}; break;
    }
    std::vector<unsigned char> src(l.rows * l.bytes, 0x5A);
    unsigned char* dst = SimFramebuffer::memory();
    for (auto _ : state) {
        for (size_t r = 0; r < l.rows; ++r)
            memcpy(dst + l.first + r * l.spacing, src.data() + r * l.bytes, l.bytes);
        benchmark::ClobberMemory();
    }
    closeScreen(screen);
}

BENCHMARK(BM_Flush)->Arg(1)->Arg(16)->Arg(24)->Arg(32)->Repetitions(REPETITIONS)->ReportAggregatesOnly(true);
BENCHMARK(BM_Memcpy)->Arg(1)->Arg(16)->Arg(24)->Arg(32)->Repetitions(REPETITIONS)->ReportAggregatesOnly(true);
BENCHMARK(BM_RowMemcpy)->Arg(16)->Arg(24)->Arg(32)->Repetitions(REPETITIONS)->ReportAggregatesOnly(true);
BENCHMARK(BM_DrawerFillRect)->Repetitions(REPETITIONS)->ReportAggregatesOnly(true);
BENCHMARK(BM_SetPixelReference)->Repetitions(REPETITIONS)->ReportAggregatesOnly(true);
BENCHMARK(BM_MemsetReference)->Repetitions(REPETITIONS)->ReportAggregatesOnly(true);


} // namespace

// Caps the conversions' vector code (see uscreenzq4.h).
struct UScreenZQ4TestAccess {
    static void setVectorCap(int cap) { UScreenZQ4::s_vectorCap = cap; }
};

namespace {

// Arguments: depth, vector cap (1 AVX2, 0 none).
void BM_FlushCapped(benchmark::State& state)
{
    UScreenZQ4* screen = openScreen(state.range(0));
    if (!screen) {
        state.SkipWithError("no simulated screen");
        return;
    }
    UScreenZQ4TestAccess::setVectorCap(static_cast<int>(state.range(1)));
    for (auto _ : state) {
        screen->flush();
        benchmark::ClobberMemory();
    }
    UScreenZQ4TestAccess::setVectorCap(2);
    closeScreen(screen);
}

BENCHMARK(BM_FlushCapped)->ArgsProduct({{16, 24, 32}, {1, 0}})->Repetitions(REPETITIONS)->ReportAggregatesOnly(true);

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    // The screen's construction lines would clutter the table.
    FILE* quiet = freopen("/dev/null", "w", stdout) ? stdout : nullptr;
    (void)quiet;
    MedianReporter reporter;
    reporter.SetOutputStream(&std::cerr);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    fprintf(stderr, "\n");
    for (const char* bpp : {"1", "16", "24", "32"})
        reporter.ratio(std::string("BM_Flush/") + bpp, std::string("BM_Memcpy/") + bpp, stderr);
    for (const char* bpp : {"16", "24", "32"})
        reporter.ratio(std::string("BM_Flush/") + bpp, std::string("BM_RowMemcpy/") + bpp, stderr);
    for (const char* cap : {"1", "0"})
        for (const char* bpp : {"16", "24", "32"})
            reporter.ratio(std::string("BM_FlushCapped/") + bpp + "/" + cap,
                           std::string("BM_Memcpy/") + bpp, stderr);
    reporter.ratio("BM_DrawerFillRect", "BM_SetPixelReference", stderr);
    reporter.ratio("BM_DrawerFillRect", "BM_MemsetReference", stderr);
    benchmark::Shutdown();
    return 0;
}
