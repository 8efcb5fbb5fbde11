// UWidget: the base of every visible element. A widget is a UObject: it
// owns its children (newest first in the children list) and receives
// events. A widget without a parent is a top-level window, registered with
// the process's UWindowManager from its construction (or from the moment
// it loses its parent) until its destruction (or until it gets a parent).
//
// Visibility: a widget is visible when its own flag and those of all its
// ancestors are set and its top-level ancestor is the window manager's
// active window. Hiding a visible widget erases its rectangle at once with
// the background; showing one posts a paint event for it. Setters store and
// never repaint: the caller calls refresh().
//
// Positioning: one mode for the whole process. In Absolute mode every
// rectangle is in screen pixels. In Relative mode a child's rectangle is
// relative to the top-left corner of its parent's, and painting translates
// each widget's drawer by the sum of its ancestors' top-left corners. The
// erase on hide always uses the stored rectangle untranslated.
//
// Painting (handleUpdate), for a visible widget, with a fresh drawer:
// Inverted swaps pen and brush; Relative mode translates; Background fills
// the rectangle with the brush; Border outlines it with the pen; the font
// is the widget's, else the application's; then paintEvent(), the children
// front of the list first (each with its own fresh drawer), and
// postPaintEvent(). Children later in the list lie on top.
//
// Keys: keyEvent() offers the event to the visible child widgets, front of
// the children list first, and stops at the first that consumes it; a
// disabled widget offers it to none.
//
// Tree changes during a traversal: key routing and painting work on a
// snapshot of the children list, and skip an entry that has left the live
// list by the time its turn comes (destroyed or re-parented by an earlier
// sibling's handler); children added meanwhile wait for the next event.
//
// Borrowed entries: UWindowManager::bringToFront/pushToBack may put a
// widget into the active window's children list without making it that
// window's child. The widget's destructor takes itself out of every
// window's list, and a window's destructor drops the borrowed entries of
// its own list without destroying them, so such an entry neither dangles
// nor is destroyed twice.
//
// A widget must be created and destroyed while the application exists
// (its window manager is reached through UApplication::instance()); one
// destroyed after the application is gone skips the unregistration.
#ifndef UWIDGET_H
#define UWIDGET_H

#include "utkexport.h"

#include <cstdint>
#include <vector>

#include "uobject.h"
#include "upoint.h"
#include "urect.h"
#include "ustring.h"

class UDrawer;
class UPaintEvent;
class UKeyEvent;

class UTK_EXPORT UWidget : public UObject {
public:
    enum StyleFlag : uint8_t {
        Background = 1,
        Border = 2,
        Inverted = 4
    };

    enum PositioningMode : int32_t {
        Absolute = 0,
        Relative = 1
    };

    explicit UWidget(UWidget* parent);
    ~UWidget() override;

    bool keyEvent(UKeyEvent* event) override;

    virtual void paintEvent(UPaintEvent* event, UDrawer& drawer);
    virtual void postPaintEvent(UPaintEvent* event, UDrawer& drawer);
    virtual void setRect(const URect& rect);
    virtual void setCoordinates(unsigned char left, unsigned char top, unsigned char right,
                                unsigned char bottom);
    virtual void setParent(UWidget* parent);
    virtual UWidget* parentWidget() const;
    virtual void show();
    virtual void hide();
    virtual void setVisible(bool visible);
    virtual bool isVisible() const;
    virtual void setEnabled(bool enabled);
    virtual UString getFont() const;
    virtual void enableStyleFlag(StyleFlag flag);
    virtual void disableStyleFlag(StyleFlag flag);
    virtual bool getStyleFlag(StyleFlag flag) const;
    virtual void addWidget(UWidget* widget);
    virtual void removeWidget(UWidget* widget);
    virtual void moveChildren(unsigned short dx, unsigned short dy);
    virtual void setStatusMessageAvailable(bool available);

    URect getRect() const { return m_rect; }
    bool isEnabled() const { return m_enabled; }
    void setFont(const UString& font) { m_font = font; }
    void refresh();
    void mapToGlobal(UPoint& point);
    void handleUpdate(UPaintEvent* event);

    static void setPositioningMode(PositioningMode mode);
    static PositioningMode positioningMode() { return m_posmode; }

private:
    // The child widgets, in children-list order, as they are now.
    UTK_LOCAL std::vector<UWidget*> childWidgets() const;
    // Whether `child` is still in this object's children list.
    UTK_LOCAL bool hasChild(const UWidget* child) const;

    bool m_visible;
    URect m_rect;
    bool m_enabled;
    uint8_t m_styleFlags;
    UString m_font;

    static PositioningMode m_posmode;
};

#endif
