#include "qgrip.h"
#include "ui_qgrip.h"

#include "appglobals.h"

#include <QMouseEvent>
#include <QSettings>

namespace {

bool onTopSide(int position)
{
    return position == 0 || position == 4 || position == 5;
}

bool onBottomSide(int position)
{
    return position == 2 || position == 6 || position == 7;
}

bool onLeftSide(int position)
{
    return position == 3 || position == 4 || position == 6;
}

bool onRightSide(int position)
{
    return position == 1 || position == 5 || position == 7;
}

} // namespace

QGrip::QGrip(int gripKind, int gripPosition, QString fill, QString border)
    : QLabel(nullptr)
    , ui(new Ui::QGrip)
    , kind(gripKind)
    , position(gripPosition)
    , borderColor(std::move(border))
    , backgroundColor(std::move(fill))
    , pressPos(0, 0)
{
    ui->setupUi(this);
    applyShape();
    setStyleSheet(QStringLiteral("background-color: %1; border: 1px solid %2; %3;")
                      .arg(backgroundColor, borderColor, borderFragment()));
}

QGrip::~QGrip()
{
    delete ui;
}

void QGrip::applyShape()
{
    switch (kind) {
    case 0:
        setCursor(Qt::SizeVerCursor);
        setFixedHeight(gripHeight);
        break;
    case 1:
        setCursor(Qt::SizeHorCursor);
        setFixedWidth(gripWidth);
        break;
    case 2:
        if (position == 4 || position == 7)
            setCursor(Qt::SizeFDiagCursor);
        else if (position == 5 || position == 6)
            setCursor(Qt::SizeBDiagCursor);
        setFixedSize(gripWidth, gripHeight);
        break;
    default:
        break;
    }
}

// Only the border line that faces out of the window is drawn.
QString QGrip::borderFragment() const
{
    switch (position) {
    case 0:
        return QStringLiteral("border-bottom: 0; border-left: 0; border-right: 0");
    case 1:
        return QStringLiteral("border-left: 0; border-bottom: 0; border-top: 0");
    case 2:
        return QStringLiteral("border-top: 0; border-left: 0; border-right: 0");
    case 3:
        return QStringLiteral("border-right: 0; border-bottom: 0; border-top: 0");
    case 4:
        return QStringLiteral("border-right: 0; border-bottom: 0; border-top-left-radius: 4px;");
    case 5:
        return QStringLiteral("border-left: 0; border-bottom: 0; border-top-right-radius: 4px;");
    case 6:
        return QStringLiteral("border-right: 0; border-top: 0; border-bottom-left-radius: 4px;");
    case 7:
        return QStringLiteral("border-left: 0; border-top: 0; border-bottom-right-radius: 4px;");
    default:
        return QString();
    }
}

void QGrip::mousePressEvent(QMouseEvent* event)
{
    pressPos = event->position().toPoint();
}

void QGrip::mouseReleaseEvent(QMouseEvent*)
{
    pressPos = QPoint(-1, -1);
    const QWidget* w = window();
    traySettings->setValue(QStringLiteral("x"), w->x());
    traySettings->setValue(QStringLiteral("y"), w->y());
    traySettings->setValue(QStringLiteral("width"), w->width());
    traySettings->setValue(QStringLiteral("height"), w->height());
}

void QGrip::mouseMoveEvent(QMouseEvent* event)
{
    if (pressPos.x() < 0 || pressPos.y() < 0)
        return;
    QWidget* w = window();
    const QPointF at = event->position();
    const int dx = static_cast<int>(at.x() - pressPos.x());
    const int dy = static_cast<int>(at.y() - pressPos.y());
    int x = w->x();
    int y = w->y();
    int width = w->width();
    int height = w->height();
    if (onTopSide(position)) {
        height -= dy;
        y += dy;
    }
    if (onBottomSide(position))
        height += dy;
    if (onLeftSide(position)) {
        width -= dx;
        x += dx;
    }
    if (onRightSide(position))
        width += dx;
    // At a size limit the edge being dragged stops and the opposite edge keeps its place.
    if (height < w->minimumHeight() || height > w->maximumHeight()) {
        height = qBound(w->minimumHeight(), height, w->maximumHeight());
        y = w->y();
    }
    if (width < w->minimumWidth() || width > w->maximumWidth()) {
        width = qBound(w->minimumWidth(), width, w->maximumWidth());
        x = w->x();
    }
    w->setGeometry(x, y, width, height);
}
