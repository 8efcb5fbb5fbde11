// Flush conversions of the emulated 192 x 48 screen onto a 320 x 240
// simulated LCD at 16, 24 and 32 bits per pixel, each against a plain
// memcpy of the bytes that conversion writes, into the same device memory
// in the same run. Medians of the repetitions and the ratios
// conversion / memcpy are printed at the end.
//
// Bytes written: 32 bpp 192 x 48 x 4; 24 bpp 192 x 48 x 3; 16 bpp the
// three-times image (576 x 144) clipped to the 320-pixel width: 106 whole
// magnified pixels (318 columns) x 144 rows x 2.
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
#include "uscreenzq4.h"

namespace {

size_t bytesWritten(int64_t bpp)
{
    switch (bpp) {
    case 32: return 192u * 48u * 4u;
    case 24: return 192u * 48u * 3u;
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
UScreenZQ4* openScreen(int64_t bpp)
{
    SimFramebuffer::setShmName("/utk-bench-screen");
    SysHardwareVersion::setModel(SysHardwareVersion::MODEL_DEFAULT);
    if (!SimFramebuffer::configure("utksim", 320, 240, static_cast<uint32_t>(bpp)))
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

BENCHMARK(BM_Flush)->Arg(16)->Arg(24)->Arg(32)->Repetitions(9)->ReportAggregatesOnly(true);
BENCHMARK(BM_Memcpy)->Arg(16)->Arg(24)->Arg(32)->Repetitions(9)->ReportAggregatesOnly(true);


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
    fprintf(stderr, "\nmedians    %-29s %-29s\n", "real time", "CPU time");
    fprintf(stderr, "%-6s %9s %9s %7s   %9s %9s %7s\n", "bpp", "flush", "memcpy", "ratio", "flush",
            "memcpy", "ratio");
    for (const char* bpp : {"16", "24", "32"}) {
        const auto f = reporter.medians.find(std::string("BM_Flush/") + bpp);
        const auto m = reporter.medians.find(std::string("BM_Memcpy/") + bpp);
        if (f == reporter.medians.end() || m == reporter.medians.end() || m->second.real <= 0
            || m->second.cpu <= 0)
            continue;
        fprintf(stderr, "%-6s %6.0f ns %6.0f ns %7.1f   %6.0f ns %6.0f ns %7.1f\n", bpp, f->second.real,
                m->second.real, f->second.real / m->second.real, f->second.cpu,
                m->second.cpu, f->second.cpu / m->second.cpu);
    }
    benchmark::Shutdown();
    return 0;
}
