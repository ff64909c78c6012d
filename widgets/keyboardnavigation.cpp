#include "keyboardnavigation.h"

#include "qbutton.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QScrollArea>
#include <QTreeWidget>

#include <algorithm>
#include <tuple>

namespace {

// Controls whose middles lie this close count as one row.
constexpr int rowHeight = 16;

} // namespace

KeyboardNavigation::KeyboardNavigation(QWidget* target, const QList<QWidget*>& paneList, QWidget* list)
    : QObject(target)
    , window(target)
    , listPane(list)
{
    for (QWidget* pane : paneList)
        panes.append(pane);
    qApp->installEventFilter(this);
}

bool KeyboardNavigation::eventFilter(QObject* watched, QEvent* event)
{
    // Every event of the application passes here: sort out the few that matter first.
    if (event->type() != QEvent::KeyPress && event->type() != QEvent::ContextMenu)
        return false;
    auto* widget = qobject_cast<QWidget*>(watched);
    if (!widget || widget->window() != window)
        return false;
    if (event->type() == QEvent::ContextMenu) {
        const auto* request = static_cast<QContextMenuEvent*>(event);
        return request->reason() == QContextMenuEvent::Keyboard && openRowMenu(widget);
    }
    // Before anything has the focus, keys go to the window itself.
    QWidget* focus = QApplication::focusWidget();
    if (widget != (focus ? focus : window))
        return false;
    const auto* key = static_cast<QKeyEvent*>(event);
    const Qt::KeyboardModifiers modifiers = key->modifiers() & ~Qt::KeypadModifier;
    switch (key->key()) {
    case Qt::Key_Tab:
        return modifiers == Qt::NoModifier && moveFocus(focus, true);
    case Qt::Key_Backtab:
        return moveFocus(focus, false);
    case Qt::Key_Up:
    case Qt::Key_Down:
        return modifiers == Qt::NoModifier && moveInList(widget, key->key() == Qt::Key_Down);
    case Qt::Key_Menu:
    case Qt::Key_F10:
        if (modifiers != (key->key() == Qt::Key_Menu ? Qt::NoModifier : Qt::ShiftModifier))
            return false;
        requestMenu(widget);
        return true;
    case Qt::Key_Space:
    case Qt::Key_Return:
    case Qt::Key_Enter:
        // A styled button drops the focus when it is let go of, which suits the mouse only.
        if (auto* button = qobject_cast<QButton*>(widget); button && modifiers == Qt::NoModifier) {
            const QPointer<QButton> pressed(button);
            button->click();
            if (pressed && pressed->isVisible() && pressed->isEnabled())
                pressed->setFocus(Qt::TabFocusReason);
            return true;
        }
        return false;
    default:
        return false;
    }
}

int KeyboardNavigation::paneOf(const QWidget* widget) const
{
    int rest = static_cast<int>(panes.size());
    for (int i = 0; i < panes.size(); ++i) {
        if (!panes.at(i))
            rest = i;
        else if (panes.at(i)->isAncestorOf(widget))
            return i;
    }
    return rest;
}

QList<QWidget*> KeyboardNavigation::tabChain() const
{
    QList<QWidget*> chain;
    for (QWidget* next = window->nextInFocusChain(); next != window; next = next->nextInFocusChain()) {
        // Scroll areas that only hold other controls are no stop of their own.
        const bool container = qobject_cast<QScrollArea*>(next);
        if (next->isVisible() && next->isEnabled() && (next->focusPolicy() & Qt::TabFocus) && !next->focusProxy()
            && !container)
            chain.append(next);
    }
    // Pane by pane, inside a pane row by row and left to right; a control inside another (a line edit's buttons)
    // right after its owner.
    const auto place = [this, &chain](QWidget* widget) {
        QWidget* owner = widget;
        int depth = 0;
        for (QWidget* up = widget->parentWidget(); up && up != window; up = up->parentWidget()) {
            if (chain.contains(up)) {
                owner = up;
                ++depth;
            }
        }
        const QRect box(owner->mapTo(window, QPoint(0, 0)), owner->size());
        return std::make_tuple(
            paneOf(owner), box.center().y() / rowHeight, box.x(), depth, widget->mapTo(window, QPoint(0, 0)).x());
    };
    std::stable_sort(chain.begin(), chain.end(), [&place](QWidget* a, QWidget* b) { return place(a) < place(b); });
    return chain;
}

bool KeyboardNavigation::moveFocus(QWidget* from, bool forward)
{
    const QList<QWidget*> chain = tabChain();
    if (chain.isEmpty())
        return false;
    // A control inside another (a line edit's buttons) counts as its owner's place.
    const QWidget* anchor = from;
    while (anchor && !chain.contains(anchor))
        anchor = anchor->parentWidget();
    const qsizetype at = anchor ? chain.indexOf(anchor) : -1;
    const qsizetype size = chain.size();
    const qsizetype next = at < 0 ? (forward ? 0 : size - 1) : (at + (forward ? 1 : size - 1)) % size;
    chain.at(next)->setFocus(forward ? Qt::TabFocusReason : Qt::BacktabFocusReason);
    return true;
}

bool KeyboardNavigation::moveInList(QWidget* from, bool down)
{
    if (!listPane || !listPane->isAncestorOf(from) || !qobject_cast<QPushButton*>(from))
        return false;
    QList<QPushButton*> buttons;
    for (QPushButton* button : listPane->findChildren<QPushButton*>()) {
        if (button->isVisible() && button->isEnabled() && (button->focusPolicy() & Qt::TabFocus))
            buttons.append(button);
    }
    std::sort(buttons.begin(), buttons.end(), [this](QPushButton* a, QPushButton* b) {
        return a->mapTo(window, QPoint(0, 0)).y() < b->mapTo(window, QPoint(0, 0)).y();
    });
    // Only the focus moves: Space or Enter selects, and the list's first button adds a workspace.
    const qsizetype at = buttons.indexOf(static_cast<QPushButton*>(from)) + (down ? 1 : -1);
    if (at >= 0 && at < buttons.size())
        buttons.at(at)->setFocus(Qt::TabFocusReason);
    return true;
}

bool KeyboardNavigation::openRowMenu(QWidget* widget)
{
    QTreeWidget* tree = qobject_cast<QTreeWidget*>(widget);
    if (!tree && widget->parentWidget())
        tree = qobject_cast<QTreeWidget*>(widget->parentWidget());
    if (!tree || !tree->currentItem())
        return false;
    QWidget* row = tree->itemWidget(tree->currentItem(), 0);
    if (!row || !row->isEnabled())
        return true;
    requestMenu(row);
    return true;
}

void KeyboardNavigation::requestMenu(QWidget* widget)
{
    const QPoint centre = widget->rect().center();
    if (widget->contextMenuPolicy() == Qt::CustomContextMenu) {
        emit widget->customContextMenuRequested(centre);
        return;
    }
    QContextMenuEvent request(QContextMenuEvent::Keyboard, centre, widget->mapToGlobal(centre));
    QCoreApplication::sendEvent(widget, &request);
}
