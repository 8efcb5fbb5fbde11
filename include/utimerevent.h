// UTimerEvent: type 3, posted by a firing UTimer to its owner. Delivery is
// dropped when the source timer has stopped, or has been destroyed, since
// the event was posted.
#ifndef UTIMEREVENT_H
#define UTIMEREVENT_H

#include "uevent.h"

class UTimerEvent : public UEvent {
public:
    UTimerEvent() : UEvent(nullptr, nullptr, UEvent::Timer), m_timerId(0) {}
    explicit UTimerEvent(unsigned short timerId)
        : UEvent(nullptr, nullptr, UEvent::Timer), m_timerId(timerId) {}
    ~UTimerEvent() override;

    void process() override;

    unsigned short m_timerId;
};

#endif
