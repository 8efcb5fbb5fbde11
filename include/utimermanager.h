// UTimerManager: the one thread that drives every timer of the process. It
// wakes every 10 ms on an absolute schedule of the monotonic clock and
// advances each running timer by 10 ms, so load never makes timers drift.
//
// Created by the first instance() call and never destroyed: it lives until
// the process exits. Its thread never touches the application or the
// event loop except through the timers' emit, which drops events when no
// application exists.
#ifndef UTIMERMANAGER_H
#define UTIMERMANAGER_H

#include <list>

#include "sysmutex.h"
#include "uthreadable.h"

class UTimer;

class UTimerManager : private UThreadable {
public:
    static UTimerManager* instance();

    void registerTimer(UTimer* timer);
    void deleteTimer(UTimer* timer);

    // One tick: advance every registered running timer by `ms`, in
    // registration order, under the manager's lock. The thread calls it
    // every 10 ms; tests call it to drive timers deterministically.
    void tick(unsigned long long ms = 10);
    // While paused, the thread keeps its schedule but advances no timer;
    // time is then driven by tick() alone. For deterministic tests and for
    // simulators that freeze time.
    void setPaused(bool paused) { m_paused.store(paused); }
    bool isPaused() const { return m_paused.load(); }
    // Number of registered entries (for diagnostics and tests).
    unsigned int count();
    // Number of 10 ms ticks run by the thread since it started.
    unsigned long long ticks() const { return m_ticks.load(); }

    // Adds 10 ms to a monotonic deadline in place, normalising the
    // nanoseconds into [0, 1e9).
    static void addTenMilliseconds(long long& sec, long long& nsec);

private:
    UTimerManager();
    ~UTimerManager() override;
    void run() override;

    static UTimerManager* m_uniqueInstance;
    std::list<UTimer*> m_timers;
    SysMutex m_mutex;
    std::atomic<unsigned long long> m_ticks;
    std::atomic<bool> m_paused;
};

#endif
