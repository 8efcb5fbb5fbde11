#include "upaintevent.h"

#include "udrawer.h"
#include "uwidget.h"

UPaintEvent::UPaintEvent(UWidget* widget) : UEvent(widget, UEvent::Paint) {}

UPaintEvent::~UPaintEvent() {}

void UPaintEvent::process()
{
    UWidget* widget = dynamic_cast<UWidget*>(getTarget());
    if (!widget)
        return;
    widget->handleUpdate(this);
    UDrawer drawer;
    drawer.sync();
}
