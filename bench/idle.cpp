// Idle cost of a phonelet: CPU time and wake-ups of a process whose event
// loop waits, with a clock-like timer firing once a second ("clock") or
// with no timer running ("none": one was started and stopped, so the timer
// thread exists). Run for 20 s by default:
//   utk_bench_idle [clock|none] [seconds]
// Prints the CPU time used as a share of one core and the context switches
// per second of the whole process (each one a thread going to sleep and
// being woken), against an empty reference process measured the same way
// in the same run (a thread that sleeps once for the whole time).
#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "memoryscreen.h"
#include "uapplication.h"
#include "uevent.h"
#include "ueventloop.h"
#include "utimer.h"
#include "utimerevent.h"

namespace {

struct Usage {
    double cpu;        // seconds, user + system
    long switches;     // voluntary + involuntary context switches
    double wall;
};

Usage now()
{
    struct rusage ru;
    getrusage(RUSAGE_SELF, &ru);
    Usage u;
    u.cpu = static_cast<double>(ru.ru_utime.tv_sec + ru.ru_stime.tv_sec) +
            static_cast<double>(ru.ru_utime.tv_usec + ru.ru_stime.tv_usec) / 1e6;
    u.switches = ru.ru_nvcsw + ru.ru_nivcsw;
    u.wall = std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
    return u;
}

void report(const char* what, const Usage& a, const Usage& b)
{
    const double wall = b.wall - a.wall;
    std::printf("%-24s %6.1f s  CPU %8.4f %% of one core  %8.1f wake-ups/s\n", what, wall,
                100.0 * (b.cpu - a.cpu) / wall, static_cast<double>(b.switches - a.switches) / wall);
}

struct Clock : UAgent {
    long fired = 0;
    void timerEvent(UTimerEvent*) override { ++fired; }
};

struct Stopper : UAgent {
    void event(UEvent*) override { UApplication::instance()->stop(); }
};

} // namespace

int main(int argc, char** argv)
{
    const bool clock = !(argc > 1 && std::strcmp(argv[1], "none") == 0);
    const double seconds = argc > 2 ? std::atof(argv[2]) : 20.0;
    const auto span = std::chrono::duration<double>(seconds);

    // Reference: a process that only sleeps.
    Usage r0 = now();
    std::thread([&] { std::this_thread::sleep_for(span); }).join();
    Usage r1 = now();

    UApplication app("idle", new MemoryScreen, UApplication::UIMode(0));
    Clock c;
    Stopper stopper;
    UTimer timer(&c, 1000);
    timer.start();
    if (!clock)
        timer.stop();
    // Let start-up settle, then measure the loop waiting.
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    app.eventLoop()->processPendingEvents();
    Usage u0 = now();
    std::thread stopAfter([&] {
        std::this_thread::sleep_for(span);
        UApplication::postThroughInstance(new UEvent(&stopper, 0));
    });
    app.run();
    Usage u1 = now();
    stopAfter.join();
    timer.stop();

    report("reference (sleep only)", r0, r1);
    report(clock ? "utk idle, 1 s clock" : "utk idle, no timer", u0, u1);
    std::printf("clock events delivered: %ld\n", c.fired);
    return 0;
}
