// UStandardListItem: the ready-made list row: an optional glyph of the
// application's icon font (code 0 for none) at (2, 2), followed by a text
// at y 2, starting at x 2 without an icon and at the icon's width + 2 with
// one. The coordinates are those of the row's drawer: the list's top-left
// corner in Relative positioning mode, the screen's in Absolute mode. The
// row does not clear its rectangle: give it the Background style flag when
// it must cover what lies below.
#ifndef USTANDARDLISTITEM_H
#define USTANDARDLISTITEM_H

#include "utkexport.h"

#include "ulistitem.h"
#include "ustring.h"

class UTK_EXPORT UStandardListItem : public UListItem {
public:
    explicit UStandardListItem(UString text, unsigned short icon = 0);
    ~UStandardListItem() override;

    void paintEvent(UPaintEvent* event, UDrawer& drawer) override;

    UString text() const { return m_text; }
    unsigned short icon() const { return m_icon; }

private:
    UString m_text;
    unsigned short m_icon;
};

#endif
