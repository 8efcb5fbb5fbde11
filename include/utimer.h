// UTimer: an agent that fires timer events (type 3) at its owner, its
// listener, every `interval` milliseconds, or once when single-shot. All
// timers advance together on the timer manager's 10 ms grid, so resolution
// is 10 ms and the average period equals the interval (see
// utimermanager.h for how the manager sleeps between due ticks without
// changing any of this).
//
// Lifetimes. Every timer gets a serial number for its lifetime, carried by
// each timer event it fires. A destroyed timer is removed from the manager,
// and its timer events still queued are dropped at delivery without reading
// the timer: delivery looks the source up in a process-wide registry of
// live timers and accepts the event only when the timer living at that
// address has the event's serial. So a new timer built at the address of a
// destroyed one (std::optional::emplace, a member re-created in place)
// never receives the old timer's events.
//
// Locks. start() with a zero interval fires after releasing the timer's
// lock, and no lock is held while the events of a tick are posted, so an
// application's postEvent() may start and stop timers.
#ifndef UTIMER_H
#define UTIMER_H

#include "utkexport.h"

#include <atomic>
#include <vector>

#include "sysmutex.h"
#include "uagent.h"

class UTimerManager;

class UTK_EXPORT UTimer : public UAgent {
public:
    UTimer(UAgent* owner, unsigned long long interval);
    ~UTimer() override;

    void start();
    void stop();
    void setInterval(unsigned long long ms);
    void setSingleShot(bool singleShot);
    bool isRunning() const { return m_running.load(); }
    bool isSingleShot() const { return m_singleShot.load(); }
    unsigned long long getElapsedTime() const;
    unsigned long long getIntervalTime() const { return m_interval.load(); }
    unsigned short id() const { return m_id; }

    // What one tick does to this timer: adds `ms` and fires when the
    // interval is reached (one firing at most, the remainder carries).
    void advance(unsigned long long ms);
    void trigger();
    void event(UEvent* e) override;

    static unsigned short generateIDForTheTimer();

    // True when a live timer with the given lifetime serial is at `timer`
    // and is running; false for a stopped or destroyed timer, or another
    // timer's lifetime at the same address. Serial 0 accepts any lifetime
    // (events built by hand). Safe from any thread.
    static bool isLiveAndRunning(const UAgent* timer, unsigned long long serial = 0);

private:
    friend class UTimerManager;
    // Under the manager's lock (UTimerManager only).
    UTK_LOCAL void step(unsigned long long ms, std::vector<UEvent*>& out);
    UTK_LOCAL void credit(unsigned long long ms);
    UTK_LOCAL void resetElapsed();
    UTK_LOCAL void storeInterval(unsigned long long ms);
    // The events one firing posts, in posting order.
    UTK_LOCAL void buildFiring(std::vector<UEvent*>& out);

    SysMutex m_mutex;
    unsigned short m_id;
    unsigned long long m_serial;
    std::atomic<unsigned long long> m_interval;
    std::atomic<unsigned long long> m_elapsed;
    std::atomic<bool> m_singleShot;
    std::atomic<bool> m_running;
};

#endif
