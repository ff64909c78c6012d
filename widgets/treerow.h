#pragma once

#include <QFont>
#include <QList>
#include <QString>

class QAction;
class QHBoxLayout;
class QLabel;
class QMenu;

// Pieces shared by the tree's header and robot rows.
namespace treerow {

// The row itself stays invisible: only its labels draw.
extern const QString rowStyleSheet;

// The row font: the semi-bold application font.
QFont rowFont();

// A label-holding row layout without margins, installed on the row.
QHBoxLayout* installRowLayout(QLabel* row);

// The row's context menu, built when it first opens: most rows never show theirs, and a menu is a styled widget.
QMenu* createMenu(const QList<QAction*>& actions);

// A parentless menu action; the row owns it.
QAction* createMenuAction(const QString& text);

} // namespace treerow
