#include "treewidget.h"

#include <QTreeWidgetItemIterator>

TreeWidget::~TreeWidget()
{
    qDeleteAll(waitingRows);
}

void TreeWidget::setRowWidget(QTreeWidgetItem* item, QWidget* row)
{
    if (isHidden())
        waitingRows.insert(item, row);
    else
        setItemWidget(item, 0, row);
}

QWidget* TreeWidget::rowWidget(QTreeWidgetItem* item) const
{
    if (QWidget* row = waitingRows.value(item))
        return row;
    return itemWidget(item, 0);
}

void TreeWidget::showEvent(QShowEvent* event)
{
    // In the items' order, as if each had been placed when it was made.
    for (QTreeWidgetItemIterator it(this); *it && !waitingRows.isEmpty(); ++it) {
        if (QWidget* row = waitingRows.take(*it))
            setItemWidget(*it, 0, row);
    }
    QTreeWidget::showEvent(event);
}
