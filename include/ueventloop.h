// UEventLoop: the process's single first-in first-out event queue, drained
// by the main thread. postEvent() may be called from any thread; the lock is
// held only for one push or pop, never while an event is processed.
//
// Events still queued when the loop is destroyed are destroyed with it
// (without being processed), so nothing posted is leaked.
//
// Waking. The loop sleeps on the platform semaphore only when it finds the
// queue empty, and says so under the queue's lock (m_waiting); a post gives
// the semaphore only when it clears that flag. So a busy loop costs no
// semaphore operation at all, every sleep is matched by exactly one give,
// and no event can be left behind: the flag and the queue are read and
// written under the same lock, so either the loop sees the new event before
// it sleeps or the poster sees the sleeping loop and wakes it.
//
// Batches. The dispatching thread takes everything queued at once, under
// one lock, into a batch of its own and processes it event by event;
// events posted meanwhile queue behind it, so the order is the order of
// posting. When the loop stops, what is left of the batch goes back to the
// front of the queue. removeEventByTarget() also clears the batch when it
// is called on the dispatching thread, which is where agents are destroyed
// (uagent.h); called on another thread it reaches only the queue.
#ifndef UEVENTLOOP_H
#define UEVENTLOOP_H

#include "utkexport.h"

#include <atomic>
#include <deque>
#include <thread>

#include "sysmutex.h"
#include "syssemaphore.h"

class UAgent;
class UEvent;

class UTK_EXPORT UEventLoop {
public:
    UEventLoop();
    ~UEventLoop();
    UEventLoop(const UEventLoop&) = delete;
    UEventLoop& operator=(const UEventLoop&) = delete;

    void postEvent(UEvent* event);
    void run();
    void stop();
    void removeEventByTarget(UAgent* target);

    bool isStopped() const { return m_stopped.load(); }
    // Processes queued events on the calling thread without waiting, until
    // the queue is empty (events posted meanwhile included) or `max`
    // events have been processed; returns how many were. Ignores the stop
    // flag. For tests and tools that drive the loop step by step.
    unsigned int processPendingEvents(unsigned int max = 0xFFFFFFFFu);
    // Number of queued events (for diagnostics and tests).
    unsigned int pending();

private:
    // The next event to process: from the batch, refilled from the queue
    // when empty. Null when both are empty; then, with sleepWhenEmpty,
    // m_waiting is set so that the next post gives the semaphore.
    UTK_LOCAL UEvent* next(bool sleepWhenEmpty);
    // Returns what is left of the batch to the front of the queue.
    UTK_LOCAL void putBack();

    std::deque<UEvent*> m_queue;
    SysMutex m_mutex;
    SysSemaphore m_semaphore;
    std::atomic<bool> m_stopped;
    bool m_waiting;   // the loop is asleep or about to be; under m_mutex
    std::deque<UEvent*> m_batch;                 // dispatching thread only
    std::atomic<std::thread::id> m_batchOwner;   // the dispatching thread
};

#endif
