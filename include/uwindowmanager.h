// UWindowManager: the process's list of top-level widgets (windows) and its
// one active window, the only window that is visible and receives keys.
// The application creates it, calls init() and hands it out through
// UApplication::instance()->windowManager().
//
// Windows register themselves (UWidget construction, destruction and
// re-parenting). Each registration or unregistration makes the first
// window of the list the active one; only show(w) makes another window
// active, until the next registration or unregistration. The list does not
// own the widgets.
//
// requestFocus/releaseFocus show one or all children of the active window;
// bringToFront/pushToBack change the active window's children list
// directly (the back of the list is painted last, on top). Neither pair
// repaints anything beyond what the children's setVisible() posts.
//
// bringToFront/pushToBack insert the widget into the active window's list
// even when it is not that window's child, without changing its parent.
// Such a "borrowed" entry is never owned by the window: a widget that is
// destroyed takes itself out of every window's list, and a window that is
// destroyed drops the borrowed entries of its list instead of destroying
// them (see UWidget). A null widget, or the active window itself, is
// never inserted (a window in its own list would paint itself without end).
#ifndef UWINDOWMANAGER_H
#define UWINDOWMANAGER_H

#include "utkexport.h"

#include <list>

class UWidget;

class UTK_EXPORT UWindowManager {
public:
    UWindowManager();
    virtual ~UWindowManager();
    UWindowManager(const UWindowManager&) = delete;
    UWindowManager& operator=(const UWindowManager&) = delete;

    void init();

    std::list<UWidget*>::iterator find(UWidget* w);
    UWidget* activeWindow() const { return m_activeWindow; }
    const std::list<UWidget*>& windows() const { return m_windows; }

    void addWindow(UWidget* w);
    void removeWindow(UWidget* w);
    void show(UWidget* w);
    void hide(UWidget* w);
    void repaint();

    void requestFocus(UWidget* w);
    void releaseFocus();
    void bringToFront(UWidget* w);
    void pushToBack(UWidget* w);

    void clearScreen();
    void clearArea(unsigned short left, unsigned short top, unsigned short width,
                   unsigned short height);

private:
    std::list<UWidget*> m_windows;
    UWidget* m_activeWindow;
};

#endif
