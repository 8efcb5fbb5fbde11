#include "uwidget.h"

#include <algorithm>

#include "uapplication.h"
#include "udrawer.h"
#include "ukeyevent.h"
#include "upaintevent.h"
#include "uwindowmanager.h"

UWidget::PositioningMode UWidget::m_posmode = UWidget::Absolute;

namespace {

UWindowManager* windowManager()
{
    UApplication* app = UApplication::instance();
    return app ? app->windowManager() : nullptr;
}

} // namespace

UWidget::UWidget(UWidget* parent)
    : UObject(parent), m_visible(true), m_rect(), m_enabled(true), m_styleFlags(0), m_font()
{
    if (!parent) {
        if (UWindowManager* wm = windowManager())
            wm->addWindow(this);
    }
}

UWidget::~UWidget()
{
    if (UWindowManager* wm = windowManager()) {
        if (!getParent())
            wm->removeWindow(this);
        // Entries put into a window's list by bringToFront/pushToBack
        // without re-parenting: take this widget out of every list but its
        // parent's (which UObject handles).
        for (UWidget* window : wm->windows()) {
            if (window != this && window != getParent())
                window->getChildren().remove(this);
        }
    }
    // Borrowed entries of this widget's own list are not its children: drop
    // them, so that the UObject part destroys only what it owns.
    getChildren().remove_if([this](UObject* child) { return child->getParent() != this; });
}

std::vector<UWidget*> UWidget::childWidgets() const
{
    std::vector<UWidget*> out;
    for (UObject* child : getChildren()) {
        if (UWidget* w = dynamic_cast<UWidget*>(child))
            out.push_back(w);
    }
    return out;
}

bool UWidget::hasChild(const UWidget* child) const
{
    const std::list<UObject*>& children = getChildren();
    return std::find(children.begin(), children.end(), child) != children.end();
}

void UWidget::paintEvent(UPaintEvent*, UDrawer&) {}

void UWidget::postPaintEvent(UPaintEvent*, UDrawer&) {}

void UWidget::setRect(const URect& rect)
{
    m_rect = rect;
}

void UWidget::setCoordinates(unsigned char left, unsigned char top, unsigned char right,
                             unsigned char bottom)
{
    const uint16_t width = static_cast<uint16_t>(right + 1 - left);
    const uint16_t height = static_cast<uint16_t>(bottom + 1 - top);
    setRect(URect(left, top, width, height));
}

void UWidget::setParent(UWidget* parent)
{
    UWidget* oldParent = parentWidget();
    UObject::setParent(parent);
    UWindowManager* wm = windowManager();
    if (!wm)
        return;
    if (!oldParent && parent)
        wm->removeWindow(this);
    else if (oldParent && !parent)
        wm->addWindow(this);
}

UWidget* UWidget::parentWidget() const
{
    return dynamic_cast<UWidget*>(getParent());
}

void UWidget::show()
{
    setVisible(true);
    if (!parentWidget()) {
        if (UWindowManager* wm = windowManager())
            wm->show(this);
    }
}

void UWidget::hide()
{
    setVisible(false);
    if (UWindowManager* wm = windowManager())
        wm->hide(this);
}

void UWidget::setVisible(bool visible)
{
    if (!visible && isVisible()) {
        UDrawer drawer;
        drawer.fillRect(getRect());
    }
    m_visible = visible;
    refresh();
}

bool UWidget::isVisible() const
{
    if (!m_visible)
        return false;
    UWidget* parent = parentWidget();
    if (!parent) {
        UWindowManager* wm = windowManager();
        return wm && wm->activeWindow() == this;
    }
    return parent->isVisible();
}

void UWidget::setEnabled(bool enabled)
{
    m_enabled = enabled;
}

UString UWidget::getFont() const
{
    return m_font;
}

void UWidget::enableStyleFlag(StyleFlag flag)
{
    m_styleFlags = static_cast<uint8_t>(m_styleFlags | flag);
}

void UWidget::disableStyleFlag(StyleFlag flag)
{
    m_styleFlags = static_cast<uint8_t>(m_styleFlags & ~static_cast<uint8_t>(flag));
}

bool UWidget::getStyleFlag(StyleFlag flag) const
{
    return (m_styleFlags & flag) != 0;
}

void UWidget::addWidget(UWidget* widget)
{
    widget->setParent(this);
    widget->setVisible(true);
    refresh();
}

void UWidget::removeWidget(UWidget* widget)
{
    widget->setVisible(false);
    widget->setParent(nullptr);
    refresh();
}

void UWidget::moveChildren(unsigned short dx, unsigned short dy)
{
    for (UWidget* child : childWidgets()) {
        URect r = child->getRect();
        r.translate(dx, dy);
        child->setRect(r);
    }
}

void UWidget::setStatusMessageAvailable(bool) {}

void UWidget::refresh()
{
    if (!isVisible())
        return;
    if (UApplication* app = UApplication::instance())
        app->postEvent(new UPaintEvent(this));
}

void UWidget::mapToGlobal(UPoint& point)
{
    UWidget* parent = parentWidget();
    if (!parent)
        return;
    point.moveBy(parent->getRect().getP1());
    parent->mapToGlobal(point);
}

bool UWidget::keyEvent(UKeyEvent* event)
{
    if (!m_enabled)
        return false;
    for (UWidget* child : childWidgets()) {
        if (!hasChild(child))
            continue;
        if (child->isVisible() && child->keyEvent(event))
            return true;
    }
    return false;
}

void UWidget::handleUpdate(UPaintEvent* event)
{
    if (!isVisible())
        return;
    UDrawer drawer;
    if (getStyleFlag(Inverted)) {
        const unsigned char pen = drawer.pen();
        drawer.setPen(drawer.brush());
        drawer.setBrush(pen);
    }
    if (m_posmode == Relative) {
        UPoint origin(0, 0);
        mapToGlobal(origin);
        drawer.translate(origin);
    }
    if (getStyleFlag(Background))
        drawer.fillRect(getRect());
    if (getStyleFlag(Border))
        drawer.drawRect(getRect());
    if (!m_font.isEmpty())
        drawer.setFont(m_font);
    else if (UApplication* app = UApplication::instance())
        drawer.setFont(app->getFont());

    paintEvent(event, drawer);
    for (UWidget* child : childWidgets()) {
        if (hasChild(child))
            child->handleUpdate(event);
    }
    postPaintEvent(event, drawer);
}

void UWidget::setPositioningMode(PositioningMode mode)
{
    m_posmode = mode;
}
