// UEvent: a heap record carrying a target, a source and a 16-bit type. The
// event loop owns every posted event and destroys it after process().
//
// Type codes used by the toolkit: 0 plain, 1 key, 2 paint, 3 timer, 4 line
// edit delete on empty text, 5 list current row changed, 6 list row
// selected, 7 application hides its active window, 8 application shows it,
// 255 a single-shot timer's self event. Applications may use other codes.
#ifndef UEVENT_H
#define UEVENT_H

#include "utkexport.h"

#include <cstdint>

class UAgent;

class UTK_EXPORT UEvent {
public:
    enum Type : unsigned short {
        None = 0,
        Key = 1,
        Paint = 2,
        Timer = 3,
        LineEditDelete = 4,
        ListCurrentChanged = 5,
        ListSelected = 6,
        AppHide = 7,
        AppShow = 8,
        TimerSelf = 255
    };

    UEvent();
    explicit UEvent(UAgent* target);
    UEvent(UAgent* target, unsigned short type);
    UEvent(UAgent* target, UAgent* source, unsigned short type);
    virtual ~UEvent();

    virtual void process();
    // A plain UEvent with the same target, source, type and reserved word;
    // the kinds' own fields are not copied.
    virtual UEvent* clone();

    UAgent* getTarget() const { return m_target; }
    UAgent* getSource() const { return m_source; }
    unsigned short getType() const { return m_type; }
    void setTarget(UAgent* target) { m_target = target; }
    void setSource(UAgent* source) { m_source = source; }
    void setType(unsigned short type) { m_type = type; }

    UAgent* m_target;
    UAgent* m_source;
    unsigned short m_type;
    uint32_t m_reserved;
};

#endif
