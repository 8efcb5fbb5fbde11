// UPaintEvent: repaints one widget tree (type 2). Posted by
// UWidget::refresh() and UWindowManager::repaint(); the event loop runs it
// on the main thread and destroys it afterwards.
//
// process() runs the target's painting traversal (UWidget::handleUpdate)
// and then flushes the screen to the display once. It replaces
// UEvent::process(), so a paint event never reaches the target's event()
// handler. Paint events are not merged. An event without a target (built
// with a null widget, or whose widget was destroyed while the event waited
// in the queue) does nothing, not even the flush; so does one whose target
// was changed to an agent that is not a widget.
#ifndef UPAINTEVENT_H
#define UPAINTEVENT_H

#include "utkexport.h"

#include "uevent.h"

class UWidget;

class UTK_EXPORT UPaintEvent : public UEvent {
public:
    explicit UPaintEvent(UWidget* widget);
    ~UPaintEvent() override;

    void process() override;
};

#endif
