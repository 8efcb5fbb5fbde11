#include "utimermanager.h"

#include <algorithm>
#include <thread>

#include "uappcomms.h"
#include "uapplication.h"
#include "uevent.h"
#include "utimer.h"

namespace {

const std::chrono::milliseconds kTick(10);
// The longest single sleep, in ticks (1000 s): keeps deadline arithmetic
// small for timers with huge intervals; waking then only credits ticks.
const unsigned long long kMaxSleepTicks = 100000;
// Early returns in a row, without a wake request, taken as a failing wait.
const int kFailedWaitLimit = 100;

// True on a thread that is posting events built by a tick: a timer it
// destroys meanwhile must not wait for itself.
thread_local bool t_posting = false;

} // namespace

std::atomic<UTimerManager*> UTimerManager::m_uniqueInstance{nullptr};

UTimerManager* UTimerManager::instance()
{
    // Created once, even when two threads ask first at the same time.
    static std::once_flag once;
    std::call_once(once, [] { m_uniqueInstance.store(new UTimerManager()); });
    return m_uniqueInstance.load();
}

UTimerManager::UTimerManager()
    : m_mutex(SysMutexUnlocked), m_origin(Clock::now() + kTick), m_accounted(0),
      m_sleepTarget(NONE), m_paused(false), m_wakeUps(0), m_wakeRequested(false), m_posting(0)
{
    start();
}

UTimerManager::~UTimerManager()
{
    stop();
    wake();
    join();
}

unsigned long long UTimerManager::clockTick() const
{
    const Clock::time_point now = Clock::now();
    if (now < m_origin)
        return 0;
    return static_cast<unsigned long long>((now - m_origin) / kTick) + 1;
}

unsigned long long UTimerManager::dueTick() const
{
    unsigned long long best = NONE;
    std::vector<const UTimer*> seen;
    for (const UTimer* t : m_timers) {
        if (!t->m_running.load())
            continue;
        // A timer registered twice advances twice a tick: plan every tick.
        if (std::find(seen.begin(), seen.end(), t) != seen.end())
            return m_accounted + 1;
        seen.push_back(t);
        const unsigned long long interval = t->m_interval.load();
        const unsigned long long elapsed = t->m_elapsed.load();
        // The first k >= 1 with elapsed + 10 k >= interval.
        unsigned long long k = 1;
        if (elapsed < interval) {
            const unsigned long long gap = interval - elapsed;
            k = gap / 10 + (gap % 10 != 0 ? 1 : 0);
        }
        best = std::min(best, k);
    }
    return best == NONE ? NONE : m_accounted + best;
}

void UTimerManager::creditSkippedTicks()
{
    const unsigned long long now = clockTick();
    if (now <= m_accounted)
        return;
    if (m_paused.load()) {
        m_accounted = now; // the grid goes on, the timers do not
        return;
    }
    const unsigned long long due = dueTick();
    const unsigned long long upTo = due == NONE ? now : std::min(now, due - 1);
    if (upTo <= m_accounted)
        return;
    const unsigned long long ms = 10 * (upTo - m_accounted);
    for (UTimer* t : m_timers) {
        if (t->m_running.load())
            t->credit(ms);
    }
    m_accounted = upTo;
}

void UTimerManager::runTick(unsigned long long ms, std::vector<UEvent*>& out)
{
    for (UTimer* t : m_timers) {
        if (t->m_running.load())
            t->step(ms, out);
    }
}

void UTimerManager::wakeIfDueSooner()
{
    if (m_paused.load())
        return;
    const unsigned long long due = dueTick();
    if (due != NONE && due < m_sleepTarget)
        wake();
}

void UTimerManager::wake()
{
    {
        std::lock_guard<std::mutex> lock(m_wakeMutex);
        m_wakeRequested = true;
    }
    m_wakeCv.notify_one();
}

// Called with m_mutex held; releases it, then posts the events gathered
// under it. The posting count goes up before the release, so a waiter in
// waitForPosting() cannot slip between the release and the posts.
void UTimerManager::releaseAndPost(std::vector<UEvent*>& events)
{
    if (events.empty()) {
        m_mutex.give();
        return;
    }
    {
        std::lock_guard<std::mutex> lock(m_postMutex);
        ++m_posting;
    }
    m_mutex.give();
    t_posting = true;
    for (UEvent* e : events)
        UApplication::postThroughInstance(e);
    events.clear();
    t_posting = false;
    std::lock_guard<std::mutex> lock(m_postMutex);
    --m_posting;
    m_postCv.notify_all();
}

void UTimerManager::waitForPosting()
{
    std::unique_lock<std::mutex> lock(m_postMutex);
    m_postCv.wait(lock, [this] { return m_posting - (t_posting ? 1 : 0) <= 0; });
}

void UTimerManager::registerTimer(UTimer* timer)
{
    m_mutex.take();
    creditSkippedTicks();
    m_timers.push_back(timer);
    wakeIfDueSooner();
    m_mutex.give();
}

void UTimerManager::deleteTimer(UTimer* timer)
{
    m_mutex.take();
    creditSkippedTicks();
    m_timers.remove(timer);
    m_mutex.give();
}

void UTimerManager::restartTimer(UTimer* timer)
{
    m_mutex.take();
    creditSkippedTicks();
    timer->resetElapsed();
    wakeIfDueSooner();
    m_mutex.give();
}

void UTimerManager::changeInterval(UTimer* timer, unsigned long long ms)
{
    m_mutex.take();
    creditSkippedTicks();
    timer->storeInterval(ms);
    wakeIfDueSooner();
    m_mutex.give();
}

unsigned long long UTimerManager::elapsedOf(const UTimer* timer)
{
    m_mutex.take();
    creditSkippedTicks();
    const unsigned long long elapsed = timer->m_elapsed.load();
    m_mutex.give();
    return elapsed;
}

unsigned int UTimerManager::count()
{
    m_mutex.take();
    unsigned int n = static_cast<unsigned int>(m_timers.size());
    m_mutex.give();
    return n;
}

unsigned long long UTimerManager::ticks()
{
    m_mutex.take();
    creditSkippedTicks();
    // While something is overdue the thread is about to run it: count the
    // passed deadlines as accounted, as a thread on every tick would have.
    const unsigned long long n = std::max(m_accounted, clockTick());
    m_mutex.give();
    return n;
}

void UTimerManager::setPaused(bool paused)
{
    m_mutex.take();
    creditSkippedTicks();
    m_paused.store(paused);
    m_mutex.give();
    wake();
}

void UTimerManager::tick(unsigned long long ms)
{
    std::vector<UEvent*> events;
    m_mutex.take();
    creditSkippedTicks();
    runTick(ms, events);
    releaseAndPost(events);
}

void UTimerManager::run()
{
    std::vector<UEvent*> events;
    int earlyReturns = 0;
    while (!shouldStop()) {
        m_mutex.take();
        const unsigned long long now = clockTick();
        if (m_paused.load()) {
            m_accounted = std::max(m_accounted, now);
        } else {
            // Credit the quiet ticks, then run each due tick that has come,
            // one by one, until the schedule is level with the clock.
            while (m_accounted < now) {
                creditSkippedTicks();
                if (m_accounted >= now)
                    break;
                runTick(10, events);
                ++m_accounted;
            }
        }
        unsigned long long target = m_paused.load() ? NONE : dueTick();
        if (target != NONE)
            target = std::min(target, m_accounted + kMaxSleepTicks);
        m_sleepTarget = target;
        releaseAndPost(events);

        std::unique_lock<std::mutex> lock(m_wakeMutex);
        if (!m_wakeRequested && !shouldStop()) {
            if (target == NONE) {
                m_wakeCv.wait(lock);
            } else {
                const Clock::time_point deadline =
                    m_origin + kTick * static_cast<long long>(target - 1);
                m_wakeCv.wait_until(lock, deadline);
                // Back before the deadline without being asked: spurious, or
                // a wait that fails. Either way the loop reads the clock
                // again; only a run of them is taken as a failing wait.
                if (!m_wakeRequested && Clock::now() < deadline) {
                    if (++earlyReturns >= kFailedWaitLimit) {
                        earlyReturns = 0;
                        UAppComms::writeLine("UTimerManager: sleep failed, napping 10 ms");
                        lock.unlock();
                        std::this_thread::sleep_for(kTick);
                        lock.lock();
                    }
                } else {
                    earlyReturns = 0;
                }
            }
        }
        m_wakeRequested = false;
        m_wakeUps.fetch_add(1);
    }
}
