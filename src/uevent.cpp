#include "uevent.h"

#include "uagent.h"

UEvent::UEvent() : m_target(nullptr), m_source(nullptr), m_type(0), m_reserved(0) {}

UEvent::UEvent(UAgent* target) : m_target(target), m_source(nullptr), m_type(0), m_reserved(0) {}

UEvent::UEvent(UAgent* target, unsigned short type)
    : m_target(target), m_source(nullptr), m_type(type), m_reserved(0)
{
}

UEvent::UEvent(UAgent* target, UAgent* source, unsigned short type)
    : m_target(target), m_source(source), m_type(type), m_reserved(0)
{
}

UEvent::~UEvent() {}

void UEvent::process()
{
    if (m_target)
        m_target->event(this);
}

UEvent* UEvent::clone()
{
    UEvent* copy = new UEvent(m_target, m_source, m_type);
    copy->m_reserved = m_reserved;
    return copy;
}
