// Cooperative threads: stop flag, join, running the body again, and the
// refusal while the body is still inside run().
#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include "uthreadable.h"

namespace {
struct Worker : UThreadable {
    std::atomic<int> runs{0};
    std::atomic<bool> inside{false};
    ~Worker() override
    {
        stop();
        join();
    }
    void run() override
    {
        inside = true;
        ++runs;
        while (!shouldStop())
            std::this_thread::yield();
        inside = false;
    }
};
} // namespace

TEST(Threadable, StopJoinAndStartAgain)
{
    Worker w;
    w.start();
    while (!w.inside.load())
        std::this_thread::yield();
    testing::internal::CaptureStdout();
    w.start(); // while run() goes on: no second thread, and a line
    EXPECT_EQ("UThreadable: start() ignored, the thread is still running\n",
              testing::internal::GetCapturedStdout());
    w.stop();
    while (w.inside.load())
        std::this_thread::yield();
    // run() has returned but nobody joined: start() runs the body again
    // (retried while the old thread is still between run() and its end).
    testing::internal::CaptureStdout();
    while (w.runs.load() < 2) {
        w.start();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    testing::internal::GetCapturedStdout();
    w.stop();
    w.join();
    EXPECT_EQ(2, w.runs.load());
    EXPECT_FALSE(w.inside.load());
}
