#include "returnkeyguard.h"

#include <QEvent>
#include <QKeyEvent>

ReturnKeyGuard::ReturnKeyGuard(QObject* parent)
    : QObject(parent)
{ }

bool ReturnKeyGuard::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Return || key == Qt::Key_Enter)
            return true;
    }
    return QObject::eventFilter(watched, event);
}
