#pragma once

#include <QTreeWidget>

// The robots tree; its own type lets style sheets and tests tell it apart from other trees.
class TreeWidget : public QTreeWidget
{
    Q_OBJECT
};
