// UListItem: one row of a UListWidget. A row is an ordinary widget: it is a
// top-level window from its construction until a list adopts it, and it
// paints within the list's rectangle, which the list hands it.
//
// Applications derive their own rows from it (UStandardListItem is the
// ready-made one) and paint them in paintEvent().
//
// Destroying a row takes it out of every list that still holds it, whether
// the row is a child of that list or a window that stepping has left
// behind; see UListWidget for how the current index is kept.
#ifndef ULISTITEM_H
#define ULISTITEM_H

#include "utkexport.h"

#include "uwidget.h"

class UTK_EXPORT UListItem : public UWidget {
public:
    UListItem();
    ~UListItem() override;
};

#endif
