// UListWidget: a sequence of rows (UListItem) shown one at a time in the
// list's rectangle, with 5 x 3 pixel arrows at the right edge telling
// whether rows lie before and after the current one.
//
// Rows and children. Every row gets the list's whole rectangle. A row is
// painted while it is a visible child of the list: appending or inserting
// makes a row a child (so freshly added rows are all painted, one over the
// other, until stepping or the application hides them); stepping takes the
// old current row out of the children (hidden, and a top-level window from
// then on) and makes the new one a visible child. Being in the sequence and
// being a child are independent.
//
// Keys act on release only (state KEY_RELEASED): KEY_UP steps back, KEY_DOWN
// forward, KEY_SELECT reports the current row. Keys are not offered to the
// rows. Each step sends a UListEvent of type 5 with the new current row and
// index; KEY_SELECT sends type 6. clear() sends type 5 with a null row and
// index NoIndex.
//
// Indexes are unsigned 32-bit; NoIndex (0xFFFFFFFF) means no current row
// and compares greater than any position.
//
// Removal. removeItem(index) on the current row first steps to the row
// after it (or, for the last row, the one before), sending type 5 with the
// index as it was before the removal; the current index then keeps naming
// the same row. removeItem(UListItem*) only drops the row's occurrences
// from the sequence; it touches neither the current index, nor the
// children, nor the screen. Neither destroys the row; clearAndDeleteItems()
// destroys every row of the sequence (a row inserted twice only once).
//
// Ownership and row destruction. Rows that are children of the list are
// destroyed with it; a row that stepping turned into a window is not, and
// the application owns it. Every list registers itself, while it lives, in
// a process-wide registry of live lists (main thread only, no lock). A
// row's destructor consults that registry, never a possibly half-destroyed
// parent:
//   - when its parent is a live list, that list's removeItem(row) runs, as
//     for any row removed through its parent;
//   - then every live list that still holds the row (a window left behind
//     by stepping, or a row held by another list) forgets it: its
//     occurrences leave the sequence and the current index is moved down by
//     the number of occurrences that stood before it, so it keeps naming
//     the same row; should it name the destroyed row itself (possible only
//     after setCurrentItem), it then names the row that followed it, or
//     the last row, or none when the sequence is empty. No event is sent
//     and nothing is repainted.
// So the sequence never keeps a pointer to a destroyed row. A list that is
// destroyed leaves the registry first; the windows it leaves behind are
// the application's to destroy.
//
// Stepping when the current index does not name a row (it can be left
// beyond the end by removeItem(UListItem*)) still moves the index; the
// missing row is simply not hidden or shown.
//
// All operations run on the main thread.
#ifndef ULISTWIDGET_H
#define ULISTWIDGET_H

#include "utkexport.h"

#include <list>

#include "uwidget.h"

class UListItem;

class UTK_EXPORT UListWidget : public UWidget {
public:
    static constexpr unsigned int NoIndex = 0xFFFFFFFFu;

    explicit UListWidget(UWidget* parent);
    ~UListWidget() override;

    bool keyEvent(UKeyEvent* event) override;
    void paintEvent(UPaintEvent* event, UDrawer& drawer) override;

    void appendItem(UListItem* item);
    void insertItem(unsigned int index, UListItem* item);
    UListItem* removeItem(unsigned int index);
    void removeItem(UListItem* item);
    UListItem* replaceItem(unsigned int index, UListItem* item);
    void clear();
    void clearAndDeleteItems();

    unsigned int count() const { return static_cast<unsigned int>(m_items.size()); }
    unsigned int currentIndex() const { return m_currentIndex; }
    int getItemIndex(UListItem* item);
    UListItem* item(unsigned int index);
    UListItem* currentItem();
    void setCurrentItem(unsigned int index);

    void selectPrevious();
    void selectNext();
    void emitCurrentChanged();
    void emitItemSelected();

    void setPaintArrowState(bool on) { m_paintArrowState = on; }
    bool getPaintArrowState() const { return m_paintArrowState; }
    void paintScrollArrows(UDrawer& drawer);

private:
    friend class UListItem;
    // Called by ~UListItem: takes `item` out of every live list.
    UTK_LOCAL static void itemDestroyed(UListItem* item);
    // Drops every occurrence of `item`, keeping the current index on the
    // same row (see the header comment).
    UTK_LOCAL void forgetItem(UListItem* item);

    bool m_paintArrowState;
    std::list<UListItem*> m_items;
    unsigned int m_currentIndex;
};

#endif
