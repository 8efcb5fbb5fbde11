// UKeyEvent: a key press, release or repeat, type 1. Its producers fill in
// the target, the key code (see ukeys.h) and the state.
#ifndef UKEYEVENT_H
#define UKEYEVENT_H

#include "utkexport.h"

#include <cstdint>

#include "uevent.h"

class UTK_EXPORT UKeyEvent : public UEvent {
public:
    UKeyEvent() : UEvent(), m_key(0), m_state(0) {}
    explicit UKeyEvent(UAgent* target) : UEvent(target), m_key(0), m_state(0) {}
    UKeyEvent(UAgent* target, unsigned short type) : UEvent(target, type), m_key(0), m_state(0) {}
    UKeyEvent(UAgent* target, UAgent* source, unsigned short type)
        : UEvent(target, source, type), m_key(0), m_state(0) {}

    // Calls the target's keyEvent() when there is a target.
    void process() override;

    unsigned short m_key;
    int32_t m_state;
};

#endif
