#include "focusring.h"

#include <QApplication>
#include <QFocusEvent>
#include <QPainter>
#include <QWidget>

namespace {

constexpr int ringWidth = 2;

// Drawn over the window's other children and invisible to the mouse.
class RingWidget : public QWidget
{
public:
    explicit RingWidget(QWidget* window)
        : QWidget(window)
    {
        setAttribute(Qt::WA_TransparentForMouseEvents);
        setAttribute(Qt::WA_NoSystemBackground);
        setFocusPolicy(Qt::NoFocus);
    }

protected:
    void paintEvent(QPaintEvent* /*event*/) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(QColor(0xc0cdda), ringWidth));
        painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 4, 4);
    }
};

bool fromKeyboard(Qt::FocusReason reason)
{
    return reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason || reason == Qt::ShortcutFocusReason;
}

} // namespace

FocusRing::FocusRing(QObject* parent)
    : QObject(parent)
{ }

void FocusRing::install()
{
    if (!qApp->findChild<FocusRing*>(QString(), Qt::FindDirectChildrenOnly))
        qApp->installEventFilter(new FocusRing(qApp));
}

bool FocusRing::eventFilter(QObject* watched, QEvent* event)
{
    switch (event->type()) {
    case QEvent::FocusIn:
        if (auto* widget = qobject_cast<QWidget*>(watched); widget && !widget->isWindow()) {
            const Qt::FocusReason reason = static_cast<QFocusEvent*>(event)->reason();
            // Coming back from a menu or another window, the focus is where it was and so is the ring.
            const bool returning = reason == Qt::PopupFocusReason || reason == Qt::ActiveWindowFocusReason;
            follow(fromKeyboard(reason) || (returning && widget == target) ? widget : nullptr);
        }
        break;
    case QEvent::MouseButtonPress:
        follow(nullptr);
        break;
    case QEvent::Move:
    case QEvent::Resize:
    case QEvent::Show:
    case QEvent::Hide:
        if (watched == target)
            place();
        break;
    default:
        break;
    }
    return false;
}

void FocusRing::follow(QWidget* widget)
{
    target = widget;
    if (!widget) {
        if (ring)
            ring->hide();
        return;
    }
    // The ring lives in the focused widget's window and goes with it.
    if (!ring || ring->window() != widget->window()) {
        delete ring;
        ring = new RingWidget(widget->window());
    }
    place();
}

void FocusRing::place()
{
    if (!target || !ring || !target->isVisible()) {
        if (ring)
            ring->hide();
        return;
    }
    const QPoint topLeft = target->mapTo(ring->parentWidget(), QPoint(0, 0));
    ring->setGeometry(QRect(topLeft, target->size()).adjusted(-ringWidth, -ringWidth, ringWidth, ringWidth));
    ring->raise();
    ring->show();
}
