#include "ulistwidget.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <vector>

#include "udrawer.h"
#include "ukeyevent.h"
#include "ukeys.h"
#include "ulistevent.h"
#include "ulistitem.h"

namespace {

// Every UListWidget between its constructor and its destructor. Reached
// from the main thread only. Never destroyed, so a row destroyed during
// process exit still finds it.
std::vector<UListWidget*>& liveLists()
{
    static std::vector<UListWidget*>* lists = new std::vector<UListWidget*>;
    return *lists;
}

} // namespace

UListWidget::UListWidget(UWidget* parent)
    : UWidget(parent), m_paintArrowState(true), m_items(), m_currentIndex(NoIndex)
{
    liveLists().push_back(this);
}

UListWidget::~UListWidget()
{
    std::vector<UListWidget*>& lists = liveLists();
    lists.erase(std::remove(lists.begin(), lists.end(), this), lists.end());
    m_items.clear();
}

void UListWidget::itemDestroyed(UListItem* item)
{
    const UObject* parent = item->getParent();
    // Forgetting sends nothing and destroys nothing, so the registry does
    // not change while it is walked.
    for (UListWidget* list : liveLists()) {
        if (static_cast<UObject*>(list) == parent)
            list->removeItem(item);
    }
    for (UListWidget* list : liveLists())
        list->forgetItem(item);
}

void UListWidget::forgetItem(UListItem* item)
{
    unsigned int pos = 0;
    unsigned int before = 0;
    bool removed = false;
    for (auto it = m_items.begin(); it != m_items.end(); ++pos) {
        if (*it == item) {
            if (m_currentIndex != NoIndex && pos < m_currentIndex)
                ++before;
            it = m_items.erase(it);
            removed = true;
        } else {
            ++it;
        }
    }
    if (!removed || m_currentIndex == NoIndex)
        return;
    m_currentIndex -= before;
    if (m_currentIndex >= count())
        m_currentIndex = m_items.empty() ? NoIndex : count() - 1;
}

void UListWidget::appendItem(UListItem* item)
{
    if (!item || std::find(m_items.begin(), m_items.end(), item) != m_items.end())
        return;
    m_items.push_back(item);
    item->setRect(getRect());
    item->setParent(this);
    if (count() == 1)
        m_currentIndex = 0;
}

void UListWidget::insertItem(unsigned int index, UListItem* item)
{
    if (index >= count()) {
        appendItem(item);
        return;
    }
    if (!item)
        return;
    m_items.insert(std::next(m_items.begin(), index), item);
    item->setRect(getRect());
    item->setParent(this);
    if (m_currentIndex >= index && m_currentIndex != NoIndex)
        ++m_currentIndex;
}

UListItem* UListWidget::removeItem(unsigned int index)
{
    if (index >= count())
        return nullptr;
    if (count() == 1) {
        UListItem* only = m_items.front();
        m_items.clear();
        m_currentIndex = NoIndex;
        return only;
    }
    UListItem* removed = item(index);
    if (index == m_currentIndex) {
        if (index != count() - 1)
            selectNext();
        else
            selectPrevious();
    }
    m_items.erase(std::next(m_items.begin(), index));
    if (m_currentIndex != NoIndex && m_currentIndex > index)
        --m_currentIndex;
    return removed;
}

void UListWidget::removeItem(UListItem* item)
{
    m_items.remove(item);
}

UListItem* UListWidget::replaceItem(unsigned int index, UListItem* item)
{
    if (index >= count())
        return nullptr;
    UListItem* removed = removeItem(index);
    insertItem(index, item);
    return removed;
}

void UListWidget::clear()
{
    m_currentIndex = NoIndex;
    m_items.clear();
    emitCurrentChanged();
    refresh();
}

void UListWidget::clearAndDeleteItems()
{
    m_currentIndex = NoIndex;
    while (!m_items.empty()) {
        UListItem* last = m_items.back();
        m_items.pop_back();
        // The UObject form: the row leaves the children without becoming
        // a window. Its destructor drops any further occurrence of it.
        last->UObject::setParent(nullptr);
        delete last;
    }
}

int UListWidget::getItemIndex(UListItem* item)
{
    int pos = 0;
    for (UListItem* entry : m_items) {
        if (entry == item)
            return pos;
        ++pos;
    }
    return -1;
}

UListItem* UListWidget::item(unsigned int index)
{
    if (index >= count())
        return nullptr;
    return *std::next(m_items.begin(), index);
}

UListItem* UListWidget::currentItem()
{
    return item(m_currentIndex);
}

void UListWidget::setCurrentItem(unsigned int index)
{
    if (index >= count())
        return;
    m_currentIndex = index;
    refresh();
}

void UListWidget::selectPrevious()
{
    if (m_currentIndex == 0 || m_currentIndex == NoIndex)
        return;
    if (UListItem* old = currentItem())
        removeWidget(old);
    --m_currentIndex;
    if (UListItem* now = currentItem())
        addWidget(now);
    emitCurrentChanged();
}

void UListWidget::selectNext()
{
    if (m_currentIndex >= count() - 1)
        return;
    if (UListItem* old = currentItem())
        removeWidget(old);
    ++m_currentIndex;
    if (UListItem* now = currentItem())
        addWidget(now);
    emitCurrentChanged();
}

void UListWidget::emitCurrentChanged()
{
    emit(new UListEvent(UEvent::ListCurrentChanged, currentItem(), m_currentIndex));
}

void UListWidget::emitItemSelected()
{
    emit(new UListEvent(UEvent::ListSelected, currentItem(), m_currentIndex));
}

bool UListWidget::keyEvent(UKeyEvent* event)
{
    if (event->m_state != KEY_RELEASED)
        return false;
    switch (event->m_key) {
    case KEY_UP:
        if (m_currentIndex == NoIndex || m_currentIndex == 0)
            return false;
        selectPrevious();
        return true;
    case KEY_DOWN:
        if (m_currentIndex >= count() - 1)
            return false;
        selectNext();
        return true;
    case KEY_SELECT:
        if (m_currentIndex >= count())
            return false;
        emitItemSelected();
        return true;
    default:
        return false;
    }
}

void UListWidget::paintEvent(UPaintEvent*, UDrawer& drawer)
{
    if (count() >= 2)
        paintScrollArrows(drawer);
}

void UListWidget::paintScrollArrows(UDrawer& d)
{
    const URect r = getRect();
    const uint16_t w = r.getWidth();
    const uint16_t x0 = static_cast<uint16_t>(w + (w <= 197 ? 1 : 0));
    const uint16_t top = r.getTop();
    const uint16_t bottom = r.getBottom();
    auto at = [](unsigned a, unsigned b) { return static_cast<uint16_t>(a - b); };
    auto plus = [](unsigned a, unsigned b) { return static_cast<uint16_t>(a + b); };
    const URect downBox(at(x0, 5), at(bottom, 4), 5, 3);
    const URect upBox(at(x0, 5), plus(top, 3), 5, 3);

    d.setBrush(255);
    if (!m_paintArrowState) {
        d.fillRect(downBox);
        d.fillRect(upBox);
        return;
    }
    URect column = r;
    column.setLeft(193);
    column.setRight(198);
    d.fillRect(column);

    // Rows of 1, 3 and 5 pixels, pointing away from the list's middle.
    if (m_currentIndex < count() - 1) {
        for (unsigned row = 0; row < 3; ++row)
            for (unsigned i = 0; i <= 2 * row; ++i)
                d.drawPixel(at(x0, 3 + row - i), at(bottom, 2 + row));
    } else {
        d.fillRect(downBox);
    }
    if (m_currentIndex != 0) {
        for (unsigned row = 0; row < 3; ++row)
            for (unsigned i = 0; i <= 2 * row; ++i)
                d.drawPixel(at(x0, 3 + row - i), plus(top, 3 + row));
    } else {
        d.fillRect(upBox);
    }
}
