#include "systhread.h"

#include <functional>
#include <system_error>

SysThreadable::SysThreadable() = default;

SysThreadable::~SysThreadable()
{
    std::thread t;
    {
        std::lock_guard<std::mutex> lock(m_handleMutex);
        if (!m_thread.joinable())
            return;
        if (m_thread.get_id() == std::this_thread::get_id()) {
            // run() is destroying its own body: the thread goes on without it.
            m_thread.detach();
            return;
        }
        t = std::move(m_thread);
    }
    t.join();
}

int SysThreadable::getThreadPriorityForPlatform() { return SysThreadPriorityNormal; }

std::string SysThreadable::type() { return "SysThreadable"; }

void SysThreadable::waitForThreadCompletion()
{
    std::thread t;
    {
        std::lock_guard<std::mutex> lock(m_handleMutex);
        if (!m_thread.joinable() || m_thread.get_id() == std::this_thread::get_id())
            return;
        t = std::move(m_thread);
    }
    // Joined outside the lock: a thread that has not yet passed its start
    // handshake needs the lock to get going.
    t.join();
}

bool SysThreadable::isThreadRunning() const
{
    std::lock_guard<std::mutex> lock(m_handleMutex);
    return m_thread.joinable() && m_finished && !m_finished->load();
}

SysThreader::SysThreader() = default;
SysThreader::~SysThreader() = default;

int SysThreader::spawn(SysThreadId* id, SysThreadable* body, const std::string& /*name*/,
                       SysThreadPriority /*priority*/, int /*flags*/)
{
    if (!body)
        return -1;
    std::unique_lock<std::mutex> lock(body->m_handleMutex);
    if (body->m_thread.joinable()) {
        if (!body->m_finished->load() || body->m_thread.get_id() == std::this_thread::get_id())
            return -1;
        // The previous run() has returned: reap its thread and run again.
        body->m_thread.join();
    }
    auto finished = std::make_shared<std::atomic<bool>>(false);
    try {
        body->m_thread = std::thread([body, finished] {
            // Wait until spawn() has stored the handle.
            { std::lock_guard<std::mutex> started(body->m_handleMutex); }
            body->run();
            // The body may be gone by now: only the shared flag is touched.
            finished->store(true);
        });
    } catch (const std::system_error&) {
        return -1;
    }
    body->m_finished = finished;
    if (id)
        *id = static_cast<SysThreadId>(std::hash<std::thread::id>()(body->m_thread.get_id()));
    return 0;
}
