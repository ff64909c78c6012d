#pragma once

#include <QFont>
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

QMenu* createMenu();

// Adds a parentless action to the menu; the row owns it.
QAction* addMenuAction(QMenu* menu, const QString& text);

} // namespace treerow
