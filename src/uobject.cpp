#include "uobject.h"

#include <algorithm>

UObject::UObject(UObject* parent) : UAgent(nullptr), m_parent(parent)
{
    if (m_parent)
        m_parent->addChild(this);
}

UObject::~UObject()
{
    // A child's destructor removes it from this list; read the next
    // position before destroying it.
    for (auto it = m_children.begin(); it != m_children.end();) {
        UObject* child = *it;
        ++it;
        delete child;
    }
    if (m_parent)
        m_parent->removeChild(this);
    m_children.clear();
}

void UObject::addChild(UObject* child)
{
    if (std::find(m_children.begin(), m_children.end(), child) != m_children.end())
        return;
    m_children.push_front(child);
}

void UObject::removeChild(UObject* child)
{
    m_children.remove(child);
}

void UObject::setParent(UObject* parent)
{
    if (m_parent)
        m_parent->removeChild(this);
    m_parent = parent;
    if (m_parent)
        m_parent->addChild(this);
}
