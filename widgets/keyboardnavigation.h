#pragma once

#include <QList>
#include <QObject>
#include <QPointer>

class QWidget;

// Keyboard access to a window built of panes: Tab and Shift+Tab walk the panes in the given order and, inside each,
// its controls in reading order; Up and Down move between the buttons of a list pane; Space and Enter press a styled
// button and leave the focus on it; the context-menu key and Shift+F10 open the
// focused control's menu, in a tree the menu of its current row.
class KeyboardNavigation : public QObject
{
    Q_OBJECT

public:
    // `panes` in tab order; a null entry stands for whatever lies in none of the others. `listPane` holds buttons that
    // the arrow keys walk.
    KeyboardNavigation(QWidget* window, const QList<QWidget*>& panes, QWidget* listPane);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QList<QWidget*> tabChain() const;
    int paneOf(const QWidget* widget) const;
    bool moveFocus(QWidget* from, bool forward);
    bool moveInList(QWidget* from, bool down);
    static bool openRowMenu(QWidget* tree);
    static void requestMenu(QWidget* widget);

    QWidget* window;
    QList<QPointer<QWidget>> panes;
    QPointer<QWidget> listPane;
};
