// Cooperative threads: start, stop, join, and owners that join before their
// members go.
#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include "uthreadable.h"

namespace {

class Worker : public UThreadable {
public:
    std::atomic<int> laps{0};
    std::atomic<bool> ran{false};
    ~Worker() override
    {
        stop();
        join();
    }
    using UThreadable::shouldStop;

protected:
    void run() override
    {
        ran = true;
        while (!shouldStop()) {
            laps.fetch_add(1);
            std::this_thread::yield();
        }
    }
};

} // namespace

TEST(Threadable, StopFlagAndJoin)
{
    Worker w;
    EXPECT_TRUE(w.shouldStop()); // not started: nothing keeps it running
    w.start();
    EXPECT_FALSE(w.shouldStop());
    while (w.laps.load() < 10)
        std::this_thread::yield();
    w.stop();
    w.join();
    EXPECT_TRUE(w.ran.load());
    int after = w.laps.load();
    EXPECT_EQ(after, w.laps.load()); // the thread has left run()
    w.join();                         // a second join returns at once
}

TEST(Threadable, DestroyingARunningWorkerJoinsItFirst)
{
    auto* w = new Worker;
    w->start();
    while (!w->ran.load())
        std::this_thread::yield();
    delete w; // ASan/TSan would see a thread on a freed object
}

TEST(Threadable, NeverStartedWorkerIsDestroyedCleanly)
{
    Worker w;
    w.stop();
    w.join();
}
