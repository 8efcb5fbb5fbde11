#include "utimermanager.h"

#include <cerrno>
#include <cstdio>
#include <mutex>
#include <time.h>

#include "utimer.h"

UTimerManager* UTimerManager::m_uniqueInstance = nullptr;

UTimerManager* UTimerManager::instance()
{
    // Created once, even when two threads ask first at the same time.
    static std::once_flag once;
    std::call_once(once, [] { m_uniqueInstance = new UTimerManager(); });
    return m_uniqueInstance;
}

UTimerManager::UTimerManager() : m_mutex(SysMutexUnlocked), m_ticks(0), m_paused(false)
{
    start();
}

UTimerManager::~UTimerManager()
{
    stop();
    join();
}

void UTimerManager::registerTimer(UTimer* timer)
{
    m_mutex.take();
    m_timers.push_back(timer);
    m_mutex.give();
}

void UTimerManager::deleteTimer(UTimer* timer)
{
    m_mutex.take();
    m_timers.remove(timer);
    m_mutex.give();
}

unsigned int UTimerManager::count()
{
    m_mutex.take();
    unsigned int n = static_cast<unsigned int>(m_timers.size());
    m_mutex.give();
    return n;
}

void UTimerManager::tick(unsigned long long ms)
{
    m_mutex.take();
    for (UTimer* t : m_timers) {
        if (t->isRunning())
            t->advance(ms);
    }
    m_mutex.give();
}

void UTimerManager::addTenMilliseconds(long long& sec, long long& nsec)
{
    nsec += 10000000LL;
    if (nsec > 999999999LL) {
        sec += 1;
        nsec -= 1000000000LL;
    }
}

void UTimerManager::run()
{
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    long long sec = now.tv_sec;
    long long nsec = now.tv_nsec;
    addTenMilliseconds(sec, nsec);
    while (!shouldStop()) {
        struct timespec deadline;
        deadline.tv_sec = static_cast<time_t>(sec);
        deadline.tv_nsec = static_cast<long>(nsec);
        int rc;
        while ((rc = clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &deadline, nullptr)) == EINTR) {
            if (shouldStop())
                return;
        }
        if (rc != 0) {
            // A bad clock or deadline cannot come from the arithmetic above;
            // should it happen, restart the schedule from now rather than
            // spinning on a deadline the system refuses.
            std::fprintf(stderr, "UTimerManager: clock_nanosleep failed %d\n", rc);
            clock_gettime(CLOCK_MONOTONIC, &now);
            sec = now.tv_sec;
            nsec = now.tv_nsec;
        }
        if (!m_paused.load())
            tick(10);
        m_ticks.fetch_add(1);
        addTenMilliseconds(sec, nsec);
    }
}
