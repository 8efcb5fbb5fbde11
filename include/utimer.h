// UTimer: an agent that fires timer events (type 3) at its owner, its
// listener, every `interval` milliseconds, or once when single-shot. All
// timers advance together on the timer manager's 10 ms tick, so resolution
// is 10 ms and the average period equals the interval.
//
// A destroyed timer is removed from the manager, and any of its timer
// events still queued are dropped at delivery without reading the timer:
// the timer's liveness is tracked in a process-wide registry that the
// event consults under a lock.
#ifndef UTIMER_H
#define UTIMER_H

#include <atomic>

#include "sysmutex.h"
#include "uagent.h"

class UTimer : public UAgent {
public:
    UTimer(UAgent* owner, unsigned long long interval);
    ~UTimer() override;

    void start();
    void stop();
    void setInterval(unsigned long long ms);
    void setSingleShot(bool singleShot);
    bool isRunning() const { return m_running.load(); }
    bool isSingleShot() const { return m_singleShot.load(); }
    unsigned long long getElapsedTime() const { return m_elapsed.load(); }
    unsigned long long getIntervalTime() const { return m_interval.load(); }
    unsigned short id() const { return m_id; }

    void advance(unsigned long long ms);
    void trigger();
    void event(UEvent* e) override;

    static unsigned short generateIDForTheTimer();

    // True when `timer` is a live timer that is running; false for a timer
    // that is stopped or already destroyed. Safe from any thread.
    static bool isLiveAndRunning(const UAgent* timer);

private:
    SysMutex m_mutex;
    unsigned short m_id;
    std::atomic<unsigned long long> m_interval;
    std::atomic<unsigned long long> m_elapsed;
    std::atomic<bool> m_singleShot;
    std::atomic<bool> m_running;
};

#endif
