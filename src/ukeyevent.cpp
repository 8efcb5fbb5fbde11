#include "ukeyevent.h"

#include "uagent.h"

void UKeyEvent::process()
{
    if (m_target)
        (void)m_target->keyEvent(this);
}
