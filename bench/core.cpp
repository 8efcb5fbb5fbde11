// Event throughput of the toolkit's loop against a bare mutex +
// condition-variable + deque queue doing the same work (heap events with a
// virtual process() and delete) and, when Qt 5 is installed, against Qt's
// own posted events (QCoreApplication::postEvent, delivered by
// sendPostedEvents on one thread and by a running QEventLoop across
// threads); and the timer manager's drift.
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include <benchmark/benchmark.h>

#include "medianreporter.h"
#include "memoryscreen.h"
#include "uapplication.h"
#include "uevent.h"
#include "ueventloop.h"
#include "utimer.h"
#include "utimerevent.h"
#include "utimermanager.h"

#ifdef UTK_BENCH_WITH_QT
#include <QCoreApplication>
#include <QEvent>
#include <QEventLoop>
#include <QObject>
#endif

namespace {

const int kBatch = 1000;

struct Counter : UAgent {
    long long n = 0;
    long long timerFires = 0;
    bool stopAtEnd = false;
    long long end = 0;
    void event(UEvent*) override
    {
        if (++n == end && stopAtEnd)
            UApplication::instance()->stop();
    }
    void timerEvent(UTimerEvent*) override { ++timerFires; }
};

// The reference: the simplest correct cross-thread queue.
struct RefEvent {
    virtual ~RefEvent() {}
    virtual void process(long long& n) { ++n; }
};
struct RefQueue {
    std::mutex m;
    std::condition_variable cv;
    std::deque<RefEvent*> q;
    void post(RefEvent* e)
    {
        {
            std::lock_guard<std::mutex> l(m);
            q.push_back(e);
        }
        cv.notify_one();
    }
    void postBatch()
    {
        for (int i = 0; i < kBatch; ++i)
            post(new RefEvent);
    }
    void runBatch(long long& n)
    {
        for (int i = 0; i < kBatch; ++i) {
            RefEvent* e = take();
            e->process(n);
            delete e;
        }
    }
    RefEvent* take()
    {
        std::unique_lock<std::mutex> l(m);
        cv.wait(l, [this] { return !q.empty(); });
        RefEvent* e = q.front();
        q.pop_front();
        return e;
    }
};

void BM_Utk_SameThread(benchmark::State& state)
{
    UApplication app("bench", new MemoryScreen, UApplication::UIMode(0));
    Counter c;
    for (auto _ : state) {
        for (int i = 0; i < kBatch; ++i)
            app.postEvent(new UEvent(&c, 0));
        app.eventLoop()->processPendingEvents();
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(BM_Utk_SameThread)->Repetitions(5)->ReportAggregatesOnly(true);

void BM_Ref_SameThread(benchmark::State& state)
{
    RefQueue q;
    long long n = 0;
    for (auto _ : state) {
        q.postBatch();
        q.runBatch(n);
    }
    benchmark::DoNotOptimize(n);
    state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(BM_Ref_SameThread)->Repetitions(5)->ReportAggregatesOnly(true);

// A second thread posts; the main thread runs the loop until the last one.
void BM_Utk_CrossThread(benchmark::State& state)
{
    for (auto _ : state) {
        state.PauseTiming();
        UApplication* app = new UApplication("bench", new MemoryScreen, UApplication::UIMode(0));
        Counter c;
        c.stopAtEnd = true;
        c.end = kBatch;
        state.ResumeTiming();
        std::thread producer([&] {
            for (int i = 0; i < kBatch; ++i)
                app->postEvent(new UEvent(&c, 0));
        });
        app->run();
        producer.join();
        state.PauseTiming();
        delete app;
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(BM_Utk_CrossThread)->Repetitions(5)->ReportAggregatesOnly(true)->UseRealTime();

void BM_Ref_CrossThread(benchmark::State& state)
{
    for (auto _ : state) {
        RefQueue q;
        long long n = 0;
        std::thread producer([&] { q.postBatch(); });
        q.runBatch(n);
        producer.join();
        benchmark::DoNotOptimize(n);
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(BM_Ref_CrossThread)->Repetitions(5)->ReportAggregatesOnly(true)->UseRealTime();

#ifdef UTK_BENCH_WITH_QT
struct QtCounter : QObject {
    long long n = 0;
    long long end = 0;
    QEventLoop* loop = nullptr;
    bool event(QEvent* e) override
    {
        if (e->type() != QEvent::User)
            return QObject::event(e);
        if (++n == end && loop)
            loop->quit();
        return true;
    }
};

void BM_Qt_SameThread(benchmark::State& state)
{
    QtCounter c;
    for (auto _ : state) {
        for (int i = 0; i < kBatch; ++i)
            QCoreApplication::postEvent(&c, new QEvent(QEvent::User));
        QCoreApplication::sendPostedEvents();
    }
    benchmark::DoNotOptimize(c.n);
    state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(BM_Qt_SameThread)->Repetitions(5)->ReportAggregatesOnly(true);

void BM_Qt_CrossThread(benchmark::State& state)
{
    for (auto _ : state) {
        QEventLoop loop;
        QtCounter c;
        c.end = kBatch;
        c.loop = &loop;
        std::thread producer([&] {
            for (int i = 0; i < kBatch; ++i)
                QCoreApplication::postEvent(&c, new QEvent(QEvent::User));
        });
        loop.exec();
        producer.join();
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(BM_Qt_CrossThread)->Repetitions(5)->ReportAggregatesOnly(true)->UseRealTime();
#endif

// Runs the manager for `seconds` and reports how far its tick count fell
// behind the monotonic clock (ticks expected minus ticks run, in ms), and
// how far a 1000 ms timer's firings are from one per second.
void BM_TimerDrift(benchmark::State& state)
{
    const double seconds = static_cast<double>(state.range(0));
    UApplication app("bench", new MemoryScreen, UApplication::UIMode(0));
    Counter c;
    UTimer timer(&c, 1000);
    UTimerManager* m = UTimerManager::instance();
    for (auto _ : state) {
        c.timerFires = 0;
        unsigned long long t0 = m->ticks();
        unsigned long long w0 = m->wakeUps();
        auto start = std::chrono::steady_clock::now();
        timer.start();
        while (std::chrono::steady_clock::now() - start < std::chrono::duration<double>(seconds)) {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            app.eventLoop()->processPendingEvents();
        }
        double elapsedMs = std::chrono::duration<double, std::milli>(
                               std::chrono::steady_clock::now() - start).count();
        unsigned long long ran = m->ticks() - t0;
        timer.stop();
        state.counters["tick_lag_ms"] = elapsedMs - 10.0 * static_cast<double>(ran);
        state.counters["thread_wakeups"] = static_cast<double>(m->wakeUps() - w0);
        state.counters["timer_fires"] = static_cast<double>(c.timerFires);
        state.counters["expected_fires"] = static_cast<double>(static_cast<long long>(elapsedMs / 1000.0));
    }
}
BENCHMARK(BM_TimerDrift)->Arg(10)->Iterations(1)->Unit(benchmark::kSecond)->UseRealTime();

} // namespace

int main(int argc, char** argv)
{
#ifdef UTK_BENCH_WITH_QT
    QCoreApplication qtApp(argc, argv);
#endif
    const int rc = runBenchmarksWithRatios(argc, argv, {
        {"BM_Utk_SameThread", "BM_Ref_SameThread"},
        {"BM_Utk_CrossThread", "BM_Ref_CrossThread"},
        {"BM_Utk_SameThread", "BM_Qt_SameThread"},
        {"BM_Utk_CrossThread", "BM_Qt_CrossThread"}});
    return rc;
}
