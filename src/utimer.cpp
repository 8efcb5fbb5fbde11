#include "utimer.h"

#include <mutex>
#include <unordered_set>

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
// destructor. Timer events look their source up here before reading it.
struct LiveTimers {
    std::mutex mutex;
    std::unordered_set<const UAgent*> timers;
};

LiveTimers& liveTimers()
{
    static LiveTimers* live = new LiveTimers;
    return *live;
}

} // namespace

UTimer::UTimer(UAgent* owner, unsigned long long interval)
    : UAgent(owner), m_mutex(SysMutexUnlocked), m_id(generateIDForTheTimer()),
      m_interval(interval), m_elapsed(0), m_singleShot(false), m_running(false)
{
    LiveTimers& live = liveTimers();
    std::lock_guard<std::mutex> lock(live.mutex);
    live.timers.insert(this);
}

UTimer::~UTimer()
{
    {
        LiveTimers& live = liveTimers();
        std::lock_guard<std::mutex> lock(live.mutex);
        live.timers.erase(this);
    }
    // Once deleteTimer() returns, the manager's thread is not inside this
    // timer and never will be again.
    UTimerManager::instance()->deleteTimer(this);
}

bool UTimer::isLiveAndRunning(const UAgent* timer)
{
    LiveTimers& live = liveTimers();
    std::lock_guard<std::mutex> lock(live.mutex);
    if (live.timers.find(timer) == live.timers.end())
        return false;
    return static_cast<const UTimer*>(timer)->isRunning();
}

void UTimer::start()
{
    m_mutex.take();
    if (m_running.load()) {
        m_elapsed.store(0);
        m_mutex.give();
        return;
    }
    if (m_interval.load() == 0) {
        trigger();
        m_mutex.give();
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
    m_mutex.take();
    m_interval.store(ms);
    m_mutex.give();
}

void UTimer::setSingleShot(bool singleShot)
{
    m_mutex.take();
    m_singleShot.store(singleShot);
    m_mutex.give();
}

void UTimer::advance(unsigned long long ms)
{
    m_mutex.take();
    unsigned long long elapsed = m_elapsed.load() + ms;
    const unsigned long long interval = m_interval.load();
    if (elapsed >= interval) {
        m_elapsed.store(elapsed - interval);
        m_mutex.give();
        trigger();
        return;
    }
    m_elapsed.store(elapsed);
    m_mutex.give();
}

void UTimer::trigger()
{
    emit(new UTimerEvent(m_id));
    if (m_singleShot.load())
        emit(UEvent::TimerSelf, this);
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
