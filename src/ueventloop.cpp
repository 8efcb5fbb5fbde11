#include "ueventloop.h"

#include "uagent.h"
#include "uevent.h"

UEventLoop::UEventLoop()
    : m_mutex(SysMutexUnlocked), m_semaphore(SysSemaphore::NOT_AVAILABLE, 65535, false),
      m_stopped(false), m_waiting(false), m_batchOwner(std::thread::id())
{
}

UEventLoop::~UEventLoop()
{
    // Events never processed still belong to the loop: release them.
    m_mutex.take();
    std::deque<UEvent*> left;
    left.swap(m_queue);
    m_mutex.give();
    for (UEvent* e : m_batch)
        delete e;
    for (UEvent* e : left)
        delete e;
}

void UEventLoop::postEvent(UEvent* event)
{
    if (!event)
        return;
    m_mutex.take();
    m_queue.push_back(event);
    const bool wake = m_waiting;
    m_waiting = false;
    m_mutex.give();
    if (wake)
        m_semaphore.give();
}

UEvent* UEventLoop::next(bool sleepWhenEmpty)
{
    if (m_batch.empty()) {
        m_mutex.take();
        if (m_queue.empty()) {
            if (sleepWhenEmpty)
                m_waiting = true;
            m_mutex.give();
            return nullptr;
        }
        // Everything queued so far, in one go; later posts wait in m_queue.
        m_batch.swap(m_queue);
        m_mutex.give();
    }
    UEvent* e = m_batch.front();
    m_batch.pop_front();
    return e;
}

void UEventLoop::putBack()
{
    if (m_batch.empty())
        return;
    // The batch's rest goes in front of what was posted meanwhile: append
    // the queue to the batch and swap the two (push_back is already there
    // for posting; a range insert at the front would add 2 KB of code).
    m_mutex.take();
    for (UEvent* e : m_queue)
        m_batch.push_back(e);
    m_queue.swap(m_batch);
    m_mutex.give();
    m_batch.clear();
}

void UEventLoop::run()
{
    if (m_stopped.load())
        return;
    const std::thread::id outer = m_batchOwner.exchange(std::this_thread::get_id());
    for (;;) {
        UEvent* e = next(false);
        if (!e) {
            // Queue empty. A poster on another core is often about to add
            // more: let it run once before going to sleep, which saves a
            // sleep and a wake-up per event in a burst.
            std::this_thread::yield();
            e = next(true);
        }
        if (!e) {
            // Blocks until a post sees m_waiting and gives; never polls.
            m_semaphore.take(-1);
            continue;
        }
        e->process();
        delete e;
        if (m_stopped.load())
            break;
    }
    putBack();
    m_batchOwner.store(outer);
}

unsigned int UEventLoop::processPendingEvents(unsigned int max)
{
    const std::thread::id outer = m_batchOwner.exchange(std::this_thread::get_id());
    unsigned int done = 0;
    while (done < max) {
        UEvent* e = next(false);
        if (!e)
            break;
        e->process();
        delete e;
        ++done;
    }
    putBack();
    m_batchOwner.store(outer);
    return done;
}

void UEventLoop::stop()
{
    m_stopped.store(true);
}

void UEventLoop::removeEventByTarget(UAgent* target)
{
    const bool dispatcher = m_batchOwner.load() == std::this_thread::get_id();
    m_mutex.take();
    for (UEvent* e : m_queue) {
        if (e->m_target == target)
            e->m_target = nullptr;
    }
    m_mutex.give();
    if (dispatcher) {
        for (UEvent* e : m_batch) {
            if (e->m_target == target)
                e->m_target = nullptr;
        }
    }
}

unsigned int UEventLoop::pending()
{
    const bool dispatcher = m_batchOwner.load() == std::this_thread::get_id();
    m_mutex.take();
    unsigned int n = static_cast<unsigned int>(m_queue.size());
    m_mutex.give();
    return n + (dispatcher ? static_cast<unsigned int>(m_batch.size()) : 0);
}
