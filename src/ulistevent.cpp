#include "ulistevent.h"

UListEvent::UListEvent(unsigned short type, UListItem* item, unsigned int index)
    : UEvent(nullptr, nullptr, type), m_item(item), m_index(index)
{
}

UListEvent::UListEvent(UAgent* target, UAgent* source, unsigned short type, UListItem* item,
                       unsigned int index)
    : UEvent(target, source, type), m_item(item), m_index(index)
{
}

UListEvent::~UListEvent() {}
