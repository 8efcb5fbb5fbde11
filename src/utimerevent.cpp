#include "utimerevent.h"

#include "uagent.h"
#include "utimer.h"

UTimerEvent::~UTimerEvent() {}

void UTimerEvent::process()
{
    // The source is only consulted through the live-timer registry, so an
    // event whose timer has been destroyed is dropped like one whose timer
    // has stopped, without touching the freed timer.
    if (m_source && !UTimer::isLiveAndRunning(m_source, m_timerSerial))
        return;
    if (m_target)
        m_target->timerEvent(this);
}
