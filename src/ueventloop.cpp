#include "ueventloop.h"

#include "uagent.h"
#include "uevent.h"

UEventLoop::UEventLoop()
    : m_mutex(SysMutexUnlocked), m_semaphore(SysSemaphore::NOT_AVAILABLE, 65535, false),
      m_stopped(false), m_waiting(false)
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
    const bool wake = m_waiting;
    m_waiting = false;
    m_mutex.give();
    if (wake)
        m_semaphore.give();
}

UEvent* UEventLoop::takeFront(bool sleepWhenEmpty)
{
    m_mutex.take();
    if (m_queue.empty()) {
        if (sleepWhenEmpty)
            m_waiting = true;
        m_mutex.give();
        return nullptr;
    }
    UEvent* e = m_queue.front();
    m_queue.pop_front();
    m_mutex.give();
    return e;
}

void UEventLoop::run()
{
    if (m_stopped.load())
        return;
    for (;;) {
        UEvent* e = takeFront(true);
        if (!e) {
            // Blocks until a post sees m_waiting and gives; never polls.
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
        UEvent* e = takeFront(false);
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
