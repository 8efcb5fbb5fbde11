// UTimerManager: the one thread that drives every timer of the process.
// Timers advance on an absolute 10 ms grid of the monotonic clock: tick k
// falls at origin + (k - 1) * 10 ms, where the origin is 10 ms after the
// thread started, and every tick advances each running timer by exactly
// 10 ms, in registration order, whatever the real spacing of the wake-ups.
// Load therefore never makes timers drift.
//
// Sleeping until something is due. The thread does not wake on every tick.
// Between two wake-ups no timer can fire except on the tick at which the
// earliest running timer reaches its interval (its "due tick"); the ticks
// before it only add 10 ms to each running timer's elapsed time. The
// thread therefore sleeps until the deadline of the earliest due tick (not
// at all, without a deadline, while no timer runs), then credits the
// skipped ticks in one step and runs the due tick exactly as a 10 ms tick,
// firing what reaches its interval; ticks whose deadline passed while it
// slept are caught up one after the other as before. An interval below 10
// is due on every tick, so such a timer still fires on every tick.
//
// What a timer's owner sees is unchanged:
// - the firing ticks: a timer fires on the same grid tick as when every
//   tick was run (the carried remainder and the below-10 surplus follow
//   from the same per-tick arithmetic);
// - getElapsedTime(): skipped ticks are credited to every running timer
//   before anything reads or changes a timer through the manager (start,
//   stop, setInterval, registration, getElapsedTime itself), up to the last
//   tick whose deadline has passed, so the value is the one a 10 ms tick
//   thread would have produced, and a change applies from the next tick;
// - the order of events: the events of one tick, and of caught-up ticks,
//   are posted in tick order and, within a tick, in registration order.
// Registering or restarting a timer, or changing its interval, wakes the
// thread early when that makes something due sooner than it planned to
// wake; stopping one never needs an early wake (the thread finds nothing
// due at its planned wake-up and sleeps again).
//
// Locks. The manager's lock guards the list and the tick bookkeeping and
// is held while timers are advanced; a timer's lock is taken inside it. No
// lock is held while events are posted: a tick builds its events under the
// lock and posts them after releasing it, so an overriding postEvent() may
// start, stop or destroy timers. A timer being destroyed on another thread
// waits until events built from it have been posted (so its owner's queue
// cleanup comes after them).
//
// The sleep is a condition-variable wait with an absolute monotonic
// deadline; an interrupted or failed wait simply returns early, and the
// thread reads the clock again and plans its next sleep from there: the
// grid is never moved. Should the wait keep returning early without cause
// (a broken clock), the thread writes the line "UTimerManager: sleep
// failed, napping 10 ms" and naps 10 ms between attempts instead of
// spinning.
//
// Created by the first instance() call and never destroyed: it lives until
// the process exits.
#ifndef UTIMERMANAGER_H
#define UTIMERMANAGER_H

#include "utkexport.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <list>
#include <mutex>
#include <vector>

#include "sysmutex.h"
#include "uthreadable.h"

class UTimer;
class UEvent;

class UTK_EXPORT UTimerManager : private UThreadable {
public:
    static UTimerManager* instance();

    void registerTimer(UTimer* timer);
    void deleteTimer(UTimer* timer);

    // One tick: advance every registered running timer by `ms`, in
    // registration order, then post the events of the timers that fired.
    // The thread runs a 10 ms tick on each due grid tick; tests call it to
    // drive timers deterministically.
    void tick(unsigned long long ms = 10);
    // While paused, the grid goes on but no timer is advanced by it; time
    // is then driven by tick() alone. For deterministic tests and for
    // simulators that freeze time.
    void setPaused(bool paused);
    bool isPaused() const { return m_paused.load(); }
    // Number of registered entries (for diagnostics and tests).
    unsigned int count();
    // Number of grid ticks accounted for (run or credited) since the
    // thread started, up to the last one whose deadline has passed.
    unsigned long long ticks();
    // Number of times the thread has woken up (for the idle benchmark).
    unsigned long long wakeUps() const { return m_wakeUps.load(); }

private:
    friend class UTimer;
    typedef std::chrono::steady_clock Clock;
    static const unsigned long long NONE = ~0ULL;

    UTK_LOCAL UTimerManager();
    UTK_LOCAL ~UTimerManager() override;
    void run() override;

    // The manager when it exists, without creating it.
    static UTimerManager* existing() { return m_uniqueInstance.load(); }
    // For UTimer: restart a running timer's period, change its interval,
    // read its elapsed time, each after crediting skipped ticks.
    UTK_LOCAL void restartTimer(UTimer* timer);
    UTK_LOCAL void changeInterval(UTimer* timer, unsigned long long ms);
    UTK_LOCAL unsigned long long elapsedOf(const UTimer* timer);
    // Waits until no other thread is posting events built by a tick.
    UTK_LOCAL void waitForPosting();

    // All below run under m_mutex.
    UTK_LOCAL unsigned long long clockTick() const;
    UTK_LOCAL void creditSkippedTicks();
    UTK_LOCAL unsigned long long dueTick() const;
    UTK_LOCAL void runTick(unsigned long long ms, std::vector<UEvent*>& out);
    UTK_LOCAL void wakeIfDueSooner();
    UTK_LOCAL void releaseAndPost(std::vector<UEvent*>& events);

    UTK_LOCAL void wake();

    UTK_LOCAL static std::atomic<UTimerManager*> m_uniqueInstance;
    std::list<UTimer*> m_timers;
    SysMutex m_mutex;
    Clock::time_point m_origin;              // deadline of tick 1
    unsigned long long m_accounted;          // ticks run or credited
    unsigned long long m_sleepTarget;        // tick the thread sleeps towards
    std::atomic<bool> m_paused;
    std::atomic<unsigned long long> m_wakeUps;

    std::mutex m_wakeMutex;
    std::condition_variable m_wakeCv;
    bool m_wakeRequested;

    std::mutex m_postMutex;
    std::condition_variable m_postCv;
    int m_posting;                           // threads posting tick events
};

#endif
