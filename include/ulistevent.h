// UListEvent: what a UListWidget tells its listener. Type 5
// (UEvent::ListCurrentChanged) when the current row changed or the list was
// cleared, type 6 (UEvent::ListSelected) when the select key was released
// on a current row. It carries the list's current row and current index at
// the moment of sending (a null row and index 0xFFFFFFFF after clear()).
//
// The row is not owned, and the event is delivered later through the event
// loop: a listener must not dereference a row that the application may have
// destroyed in between (compare it, or look it up in the list again).
#ifndef ULISTEVENT_H
#define ULISTEVENT_H

#include "utkexport.h"

#include "uevent.h"

class UListItem;

class UTK_EXPORT UListEvent : public UEvent {
public:
    UListEvent(unsigned short type, UListItem* item, unsigned int index);
    UListEvent(UAgent* target, UAgent* source, unsigned short type, UListItem* item,
               unsigned int index);
    ~UListEvent() override;

    UListItem* item() const { return m_item; }
    unsigned int index() const { return m_index; }

    UListItem* m_item;
    unsigned int m_index;
};

#endif
