// UObject: an agent with a parent and an owned list of children, newest
// child first. Destroying an object destroys its children, newest first.
#ifndef UOBJECT_H
#define UOBJECT_H

#include "utkexport.h"

#include <list>

#include "uagent.h"

class UTK_EXPORT UObject : public UAgent {
public:
    explicit UObject(UObject* parent = nullptr);
    ~UObject() override;

    virtual void addChild(UObject* child);
    virtual void removeChild(UObject* child);

    void setParent(UObject* parent);
    UObject* getParent() const { return m_parent; }
    std::list<UObject*>& getChildren() { return m_children; }
    const std::list<UObject*>& getChildren() const { return m_children; }

private:
    std::list<UObject*> m_children;
    UObject* m_parent;
};

#endif
