#include "syssemaphore.h"

#include <chrono>

SysSemaphore::SysSemaphore(int initialCount, int maxCount, bool /*fifo*/)
    : m_count(initialCount < 0 ? 0 : initialCount), m_max(maxCount < 1 ? 1 : maxCount)
{
    if (m_count > m_max)
        m_count = m_max;
}

SysSemaphore::~SysSemaphore() = default;

int SysSemaphore::take(int timeoutMs)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (timeoutMs < 0) {
        m_cond.wait(lock, [this] { return m_count > 0; });
    } else if (!m_cond.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                                [this] { return m_count > 0; })) {
        return TIMED_OUT;
    }
    --m_count;
    return OK;
}

void SysSemaphore::give()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_count >= m_max)
            return;
        ++m_count;
    }
    m_cond.notify_one();
}

int SysSemaphore::count() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_count;
}

// Out-of-line definitions, so the constants may be bound to references
// (e.g. by test assertions) without an undefined symbol at link time.
const int SysSemaphore::NOT_AVAILABLE;
const int SysSemaphore::OK;
const int SysSemaphore::TIMED_OUT;
