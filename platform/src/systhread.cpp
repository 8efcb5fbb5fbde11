#include "systhread.h"

#include <functional>
#include <system_error>

SysThreadable::SysThreadable() = default;

SysThreadable::~SysThreadable()
{
    waitForThreadCompletion();
}

int SysThreadable::getThreadPriorityForPlatform() { return SysThreadPriorityNormal; }

std::string SysThreadable::type() { return "SysThreadable"; }

void SysThreadable::waitForThreadCompletion()
{
    if (m_thread.joinable() && m_thread.get_id() != std::this_thread::get_id())
        m_thread.join();
}

SysThreader::SysThreader() = default;
SysThreader::~SysThreader() = default;

int SysThreader::spawn(SysThreadId* id, SysThreadable* body, const std::string& /*name*/,
                       SysThreadPriority /*priority*/, int /*flags*/)
{
    if (!body || body->m_thread.joinable())
        return -1;
    try {
        body->m_thread = std::thread([body] { body->run(); });
    } catch (const std::system_error&) {
        return -1;
    }
    if (id)
        *id = static_cast<SysThreadId>(std::hash<std::thread::id>()(body->m_thread.get_id()));
    return 0;
}
