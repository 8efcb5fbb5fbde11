// UTimerEvent: type 3, posted by a firing UTimer to its owner. Delivery is
// dropped when the source timer has stopped, or has been destroyed, since
// the event was posted. m_timerSerial names the lifetime of the timer that
// fired (see utimer.h), so a timer built later at the same address does not
// take the event as its own; 0 (events built by hand) skips that check.
#ifndef UTIMEREVENT_H
#define UTIMEREVENT_H

#include "utkexport.h"

#include "uevent.h"

class UTK_EXPORT UTimerEvent : public UEvent {
public:
    UTimerEvent() : UEvent(nullptr, nullptr, UEvent::Timer), m_timerId(0), m_timerSerial(0) {}
    explicit UTimerEvent(unsigned short timerId)
        : UEvent(nullptr, nullptr, UEvent::Timer), m_timerId(timerId), m_timerSerial(0) {}
    ~UTimerEvent() override;

    void process() override;

    unsigned short m_timerId;
    unsigned long long m_timerSerial;
};

#endif
