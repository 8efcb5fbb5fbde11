#include "ulistitem.h"

#include "ulistwidget.h"

UListItem::UListItem() : UWidget(nullptr) {}

UListItem::~UListItem()
{
    UListWidget::itemDestroyed(this);
}
