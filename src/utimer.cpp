#include "utimer.h"

#include <mutex>
#include <unordered_map>

#include "uapplication.h"
#include "uevent.h"
#include "utimerevent.h"
#include "utimermanager.h"

namespace {

unsigned short s_lastTimerId = 0;

SysMutex& timerIdMutex()
{
    static SysMutex* m = new SysMutex(SysMutexUnlocked);
    return *m;
}

// Every timer between the end of its constructor and the start of its
// destructor, with the serial of its lifetime. Timer events look their
// source up here before reading it.
struct LiveTimers {
    std::mutex mutex;
    unsigned long long lastSerial = 0;
    std::unordered_map<const UAgent*, unsigned long long> timers;
};

LiveTimers& liveTimers()
{
    static LiveTimers* live = new LiveTimers;
    return *live;
}

} // namespace

UTimer::UTimer(UAgent* owner, unsigned long long interval)
    : UAgent(owner), m_mutex(SysMutexUnlocked), m_id(generateIDForTheTimer()), m_serial(0),
      m_interval(interval), m_elapsed(0), m_singleShot(false), m_running(false)
{
    LiveTimers& live = liveTimers();
    std::lock_guard<std::mutex> lock(live.mutex);
    m_serial = ++live.lastSerial;
    live.timers[this] = m_serial;
}

UTimer::~UTimer()
{
    {
        LiveTimers& live = liveTimers();
        std::lock_guard<std::mutex> lock(live.mutex);
        live.timers.erase(this);
    }
    // Once deleteTimer() returns the manager's thread will not advance this
    // timer again; once waitForPosting() returns, events it built from this
    // timer are in the queue, where the owner's cleanup can find them.
    UTimerManager* manager = UTimerManager::instance();
    manager->deleteTimer(this);
    manager->waitForPosting();
}

bool UTimer::isLiveAndRunning(const UAgent* timer, unsigned long long serial)
{
    LiveTimers& live = liveTimers();
    std::lock_guard<std::mutex> lock(live.mutex);
    auto it = live.timers.find(timer);
    if (it == live.timers.end() || (serial != 0 && it->second != serial))
        return false;
    return static_cast<const UTimer*>(timer)->isRunning();
}

void UTimer::start()
{
    m_mutex.take();
    if (m_running.load()) {
        m_mutex.give();
        // Restarting the period goes through the manager, which first
        // credits the ticks it skipped while asleep.
        UTimerManager::instance()->restartTimer(this);
        return;
    }
    if (m_interval.load() == 0) {
        m_mutex.give();
        trigger();
        return;
    }
    m_running.store(true);
    m_elapsed.store(0);
    m_mutex.give();
    UTimerManager::instance()->registerTimer(this);
}

void UTimer::stop()
{
    m_mutex.take();
    m_running.store(false);
    m_elapsed.store(0);
    m_mutex.give();
    UTimerManager::instance()->deleteTimer(this);
}

void UTimer::setInterval(unsigned long long ms)
{
    // A running timer's elapsed time is brought up to date before the new
    // interval applies; the manager then exists already.
    if (m_running.load()) {
        if (UTimerManager* manager = UTimerManager::existing()) {
            manager->changeInterval(this, ms);
            return;
        }
    }
    storeInterval(ms);
}

void UTimer::setSingleShot(bool singleShot)
{
    m_mutex.take();
    m_singleShot.store(singleShot);
    m_mutex.give();
}

unsigned long long UTimer::getElapsedTime() const
{
    if (m_running.load()) {
        if (UTimerManager* manager = UTimerManager::existing())
            return manager->elapsedOf(this);
    }
    return m_elapsed.load();
}

void UTimer::resetElapsed()
{
    m_mutex.take();
    m_elapsed.store(0);
    m_mutex.give();
}

void UTimer::storeInterval(unsigned long long ms)
{
    m_mutex.take();
    m_interval.store(ms);
    m_mutex.give();
}

void UTimer::credit(unsigned long long ms)
{
    m_mutex.take();
    m_elapsed.store(m_elapsed.load() + ms);
    m_mutex.give();
}

void UTimer::step(unsigned long long ms, std::vector<UEvent*>& out)
{
    m_mutex.take();
    const unsigned long long elapsed = m_elapsed.load() + ms;
    const unsigned long long interval = m_interval.load();
    const bool fire = elapsed >= interval;
    m_elapsed.store(fire ? elapsed - interval : elapsed);
    m_mutex.give();
    if (fire)
        buildFiring(out);
}

void UTimer::advance(unsigned long long ms)
{
    std::vector<UEvent*> events;
    step(ms, events);
    for (UEvent* e : events)
        UApplication::postThroughInstance(e);
}

void UTimer::buildFiring(std::vector<UEvent*>& out)
{
    // The same events as emit(new UTimerEvent) and emit(TimerSelf, this).
    if (UAgent* owner = getListener()) {
        UTimerEvent* e = new UTimerEvent(m_id);
        e->m_source = this;
        e->m_target = owner;
        e->m_timerSerial = m_serial;
        out.push_back(e);
    }
    if (m_singleShot.load())
        out.push_back(new UEvent(this, this, UEvent::TimerSelf));
}

void UTimer::trigger()
{
    std::vector<UEvent*> events;
    buildFiring(events);
    for (UEvent* e : events)
        UApplication::postThroughInstance(e);
}

void UTimer::event(UEvent* e)
{
    if (e && e->m_type == UEvent::TimerSelf)
        UTimerManager::instance()->deleteTimer(this);
}

unsigned short UTimer::generateIDForTheTimer()
{
    SysMutex& m = timerIdMutex();
    m.take();
    s_lastTimerId = static_cast<unsigned short>(s_lastTimerId + 1);
    unsigned short id = s_lastTimerId;
    m.give();
    return id;
}
