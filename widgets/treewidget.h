#pragma once

#include <QHash>
#include <QTreeWidget>

// The robots tree; its own type lets style sheets and tests tell it apart from other trees.
class TreeWidget : public QTreeWidget
{
    Q_OBJECT

public:
    ~TreeWidget() override;

    // Makes `row` the item widget of the item's column 0. A widget placed in a tree is styled, polished and laid out
    // at once, which costs far more than building it, so while the tree is hidden the row waits (owned by the tree)
    // until the tree is next shown: the robots of workspaces nobody looks at cost little.
    void setRowWidget(QTreeWidgetItem* item, QWidget* row);
    // The item's widget of column 0, placed or still waiting.
    QWidget* rowWidget(QTreeWidgetItem* item) const;

protected:
    void showEvent(QShowEvent* event) override;

private:
    QHash<QTreeWidgetItem*, QWidget*> waitingRows;
};
