#include "ustandardlistitem.h"

#include <cstdint>

#include "uapplication.h"
#include "udrawer.h"

UStandardListItem::UStandardListItem(UString text, unsigned short icon)
    : UListItem(), m_text(text), m_icon(icon)
{
}

UStandardListItem::~UStandardListItem() {}

void UStandardListItem::paintEvent(UPaintEvent*, UDrawer& drawer)
{
    if (m_icon != 0) {
        const UString font = drawer.font();
        drawer.setFont(UApplication::instance()->getIconFont());
        drawer.drawIcon(m_icon, 2, 2);
        drawer.setFont(font);
    }
    if (m_text.isEmpty())
        return;
    const unsigned short x =
        m_icon != 0 ? static_cast<uint16_t>(UDrawer::iconWidth(m_icon) + 2) : 2;
    drawer.drawText(m_text, x, 2, false);
}
