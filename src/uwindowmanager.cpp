#include "uwindowmanager.h"

#include <algorithm>
#include <vector>

#include "uapplication.h"
#include "udrawer.h"
#include "upaintevent.h"
#include "urect.h"
#include "uwidget.h"

UWindowManager::UWindowManager() : m_windows(), m_activeWindow(nullptr) {}

UWindowManager::~UWindowManager()
{
    m_windows.clear();
    m_activeWindow = nullptr;
}

void UWindowManager::init() {}

std::list<UWidget*>::iterator UWindowManager::find(UWidget* w)
{
    return std::find(m_windows.begin(), m_windows.end(), w);
}

void UWindowManager::addWindow(UWidget* w)
{
    if (find(w) == m_windows.end())
        m_windows.push_back(w);
    if (!m_windows.empty())
        m_activeWindow = m_windows.front();
}

void UWindowManager::removeWindow(UWidget* w)
{
    auto it = find(w);
    if (it != m_windows.end())
        m_windows.erase(it);
    m_activeWindow = m_windows.empty() ? nullptr : m_windows.front();
}

void UWindowManager::show(UWidget* w)
{
    if (find(w) == m_windows.end())
        return;
    w->setVisible(true);
    m_activeWindow = w;
    repaint();
}

void UWindowManager::hide(UWidget*) {}

void UWindowManager::repaint()
{
    if (!m_activeWindow) {
        clearScreen();
        return;
    }
    if (UApplication* app = UApplication::instance())
        app->postEvent(new UPaintEvent(m_activeWindow));
}

void UWindowManager::requestFocus(UWidget* w)
{
    if (!m_activeWindow || m_activeWindow->getChildren().empty())
        return;
    const std::vector<UObject*> children(m_activeWindow->getChildren().begin(),
                                         m_activeWindow->getChildren().end());
    bool found = false;
    for (UObject* child : children) {
        UWidget* widget = dynamic_cast<UWidget*>(child);
        if (!widget)
            continue;
        if (widget == w) {
            widget->setVisible(true);
            found = true;
        } else {
            widget->setVisible(false);
        }
    }
    if (!found) {
        if (UWidget* last = dynamic_cast<UWidget*>(children.back()))
            last->setVisible(true);
    }
}

void UWindowManager::releaseFocus()
{
    if (!m_activeWindow || m_activeWindow->getChildren().empty())
        return;
    const std::vector<UObject*> children(m_activeWindow->getChildren().begin(),
                                         m_activeWindow->getChildren().end());
    for (UObject* child : children) {
        if (UWidget* widget = dynamic_cast<UWidget*>(child))
            widget->setVisible(true);
    }
}

// A window never goes into its own children list: it would paint itself
// without end.
void UWindowManager::bringToFront(UWidget* w)
{
    if (!m_activeWindow || !w || w == m_activeWindow)
        return;
    std::list<UObject*>& children = m_activeWindow->getChildren();
    if (children.empty())
        return;
    children.remove(w);
    children.push_back(w);
}

void UWindowManager::pushToBack(UWidget* w)
{
    if (!m_activeWindow || !w || w == m_activeWindow)
        return;
    std::list<UObject*>& children = m_activeWindow->getChildren();
    children.remove(w);
    children.push_front(w);
}

void UWindowManager::clearScreen()
{
    UDrawer drawer;
    drawer.fillRect(URect(0, 0, 198, 30));
}

void UWindowManager::clearArea(unsigned short left, unsigned short top, unsigned short width,
                               unsigned short height)
{
    UDrawer drawer;
    drawer.fillRect(URect(left, top, width, height));
}
