#include "uagent.h"

#include <vector>

#include "uapplication.h"
#include "uevent.h"

UAgent::UAgent(UAgent* listener) : m_listener(nullptr)
{
    UAgent::setListener(listener);
}

UAgent::~UAgent()
{
    UApplication::removeQueuedEventsFor(this);
    if (m_listener) {
        m_listener->removeEmitter(this);
        m_listener = nullptr;
    }
    // Each removeListener() call erases its agent from m_emitters through
    // removeEmitter(); step past it before the call.
    for (auto it = m_emitters.begin(); it != m_emitters.end();) {
        UAgent* emitter = *it;
        ++it;
        emitter->removeListener(this);
    }
    m_emitters.clear();
}

void UAgent::setListener(UAgent* listener)
{
    if (m_listener)
        removeListener(m_listener);
    m_listener = listener;
    if (m_listener)
        m_listener->m_emitters.insert(this);
}

void UAgent::removeListener(UAgent* listener)
{
    if (listener != m_listener || !listener)
        return;
    listener->removeEmitter(this);
    m_listener = nullptr;
}

void UAgent::removeEmitter(UAgent* emitter)
{
    m_emitters.erase(emitter);
}

void UAgent::event(UEvent*) {}

bool UAgent::keyEvent(UKeyEvent*) { return false; }

void UAgent::timerEvent(UTimerEvent*) {}

void UAgent::post(UEvent* event)
{
    UApplication::postThroughInstance(event);
}

void UAgent::emit(unsigned short type)
{
    if (!m_listener)
        return;
    post(new UEvent(m_listener, this, type));
}

void UAgent::emit(unsigned short type, UAgent* target)
{
    if (!target)
        return;
    post(new UEvent(target, this, type));
}

void UAgent::emit(UEvent* event)
{
    if (!event)
        return;
    if (!m_listener) {
        delete event;
        return;
    }
    event->m_source = this;
    event->m_target = m_listener;
    post(event);
}

void UAgent::emit(UEvent* event, UAgent* target)
{
    if (!event)
        return;
    if (!target) {
        delete event;
        return;
    }
    event->m_source = this;
    event->m_target = target;
    post(event);
}
