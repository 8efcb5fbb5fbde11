#include "ulabel.h"

#include <cstdint>

#include "uapplication.h"
#include "udrawer.h"

ULabel::ULabel(UWidget* parent, TextAlignment alignment)
    : UWidget(parent), m_text(), m_icons(), m_alignment(alignment), m_marker(false)
{
}

ULabel::~ULabel() {}

void ULabel::paintEvent(UPaintEvent*, UDrawer& drawer)
{
    cleanRectBeforeDrawing(drawer);
    drawAligmentText(drawer);
}

void ULabel::setText(const UString& text, bool marker)
{
    m_text = text;
    m_marker = marker;
}

UString ULabel::getText() const
{
    return m_text;
}

void ULabel::setIcon(unsigned short code)
{
    m_icons = UString(code);
}

unsigned short ULabel::getIcon() const
{
    return m_icons.isEmpty() ? 0 : m_icons[0];
}

void ULabel::setIcons(const UString& icons)
{
    m_icons = icons;
}

UString ULabel::getIcons() const
{
    return m_icons;
}

void ULabel::cleanRectBeforeDrawing(UDrawer& drawer)
{
    drawer.fillRect(getRect());
}

void ULabel::drawAligmentText(UDrawer& drawer)
{
    const URect r = getRect();
    if (!m_text.isEmpty()) {
        const uint16_t x = static_cast<uint16_t>(r.getLeft() + getAlignmentXOffsetBasedOnCurrentText());
        const uint16_t y = static_cast<uint16_t>(r.getTop() + 1);
        drawer.drawText(m_text, x, y, m_marker);
    } else if (!m_icons.isEmpty()) {
        if (UApplication* app = UApplication::instance())
            drawer.setFont(app->getIconFont());
        const uint16_t x = static_cast<uint16_t>(r.getLeft() + getAlignmentXOffsetBasedOnCurrentIcons());
        const uint16_t y = static_cast<uint16_t>(r.getTop() + 2);
        drawer.drawText(m_icons, x, y, false);
    }
}

int ULabel::getRectWidthDiff(int width) const
{
    const int rectWidth = getRect().getWidth();
    return rectWidth > width ? rectWidth - width : 0;
}

int ULabel::getRightSideXOffset(int width) const
{
    const int diff = getRectWidthDiff(width);
    return diff > 1 ? diff - 1 : 0;
}

int ULabel::getAlignmentXOffsetBasedOnCurrentText() const
{
    const int width = UDrawer::textWidth(m_text);
    switch (m_alignment) {
    case AlignRight:
        return getRightSideXOffset(width);
    case AlignCenter:
    case AlignCenterShifted:
        return getRectWidthDiff(width) / 2;
    default:
        return 1;
    }
}

int ULabel::getAlignmentXOffsetBasedOnCurrentIcons() const
{
    const int width = m_icons.isEmpty()
                          ? 0
                          : static_cast<int>(UDrawer::iconWidth(m_icons[0])) *
                                static_cast<int>(m_icons.length());
    switch (m_alignment) {
    case AlignRight:
        return getRightSideXOffset(width);
    case AlignCenterShifted:
        return getRectWidthDiff(width) / 2 + 2;
    case AlignCenter:
        return getRectWidthDiff(width) / 2;
    default:
        return 1;
    }
}
