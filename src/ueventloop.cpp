#include "ueventloop.h"

#include "uagent.h"
#include "uevent.h"

UEventLoop::UEventLoop()
    : m_mutex(SysMutexUnlocked), m_semaphore(SysSemaphore::NOT_AVAILABLE, 65535, false),
      m_stopped(false)
{
}

UEventLoop::~UEventLoop()
{
    // Events never processed still belong to the loop: release them.
    m_mutex.take();
    std::deque<UEvent*> left;
    left.swap(m_queue);
    m_mutex.give();
    for (UEvent* e : left)
        delete e;
}

void UEventLoop::postEvent(UEvent* event)
{
    if (!event)
        return;
    m_mutex.take();
    m_queue.push_back(event);
    m_mutex.give();
    m_semaphore.give();
}

UEvent* UEventLoop::takeFront()
{
    m_mutex.take();
    if (m_queue.empty()) {
        m_mutex.give();
        return nullptr;
    }
    UEvent* e = m_queue.front();
    m_queue.pop_front();
    m_mutex.give();
    // Keep the count in step with the queue. Taking without waiting also
    // copes with gives dropped at the semaphore's maximum count (more than
    // 65535 events queued): no event is ever left behind.
    (void)m_semaphore.take(0);
    return e;
}

void UEventLoop::run()
{
    if (m_stopped.load())
        return;
    for (;;) {
        UEvent* e = takeFront();
        if (!e) {
            // Blocks until an event is posted; never polls.
            m_semaphore.take(-1);
            continue;
        }
        e->process();
        delete e;
        if (m_stopped.load())
            return;
    }
}

unsigned int UEventLoop::processPendingEvents(unsigned int max)
{
    unsigned int done = 0;
    while (done < max) {
        UEvent* e = takeFront();
        if (!e)
            break;
        e->process();
        delete e;
        ++done;
    }
    return done;
}

void UEventLoop::stop()
{
    m_stopped.store(true);
}

void UEventLoop::removeEventByTarget(UAgent* target)
{
    m_mutex.take();
    for (UEvent* e : m_queue) {
        if (e->m_target == target)
            e->m_target = nullptr;
    }
    m_mutex.give();
}

unsigned int UEventLoop::pending()
{
    m_mutex.take();
    unsigned int n = static_cast<unsigned int>(m_queue.size());
    m_mutex.give();
    return n;
}
