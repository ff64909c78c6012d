#include "titlebar.h"
#include "ui_titlebar.h"

#include "appglobals.h"
#include "qbutton.h"

#include <QIcon>
#include <QMouseEvent>
#include <QSettings>

Titlebar::Titlebar(QWidget* parent)
    : QWidget(parent)
    , ui(new Ui::Titlebar)
    , pressPos(0, 0)
{
    ui->setupUi(this);
    const QString grey = QStringLiteral("#292b2f");
    const QString dark = QStringLiteral("#202225");
    addButton(grey, dark, QStringLiteral(":/images/minimize_icon_24x24.png"), tr("Minimize"), this,
        SLOT(btn_minimize_clicked()));
    addButton(grey, dark, QStringLiteral(":/images/maximize_icon_24x24.png"), tr("Maximize"), this,
        SLOT(btn_maximize_clicked()));
    // Closing only hides the window to the tray.
    addButton(QStringLiteral("#c00"), QStringLiteral("#f00"), QStringLiteral(":/images/close_icon_24x24.png"),
        tr("Close"), parent, SLOT(doHide()));
    restoreWindowState();
}

Titlebar::~Titlebar()
{
    delete ui;
}

void Titlebar::addButton(const QString& hoverColor, const QString& focusColor, const QString& icon,
    const QString& toolTip, QObject* receiver, const char* slot)
{
    const QString transparent = QStringLiteral("transparent");
    auto* button = new QButton({ transparent, transparent, hoverColor, focusColor }, { QStringLiteral("#fff") },
        { QStringLiteral("2px") }, transparent, QStringLiteral("0px"), QStringLiteral("4px"), QStringLiteral("0px"),
        QStringLiteral("0px"));
    button->setIcon(QIcon(icon));
    button->setToolTip(toolTip);
    button->setAccessibleName(toolTip);
    connect(button, SIGNAL(onClicked()), receiver, slot);
    ui->h_title_layout_2->addWidget(button);
}

void Titlebar::restoreWindowState()
{
    const QVariant fullscreen = traySettings->value(QStringLiteral("fullscreen"));
    if (fullscreen.isValid() && fullscreen.toBool())
        btn_maximize_clicked();

    const QStringList keys
        = { QStringLiteral("x"), QStringLiteral("y"), QStringLiteral("width"), QStringLiteral("height") };
    for (const QString& key : keys) {
        if (!traySettings->contains(key))
            return;
    }
    const int x = qMax(0, traySettings->value(keys[0]).toInt());
    const int y = qMax(0, traySettings->value(keys[1]).toInt());
    window()->setGeometry(x, y, traySettings->value(keys[2]).toInt(), traySettings->value(keys[3]).toInt());
}

void Titlebar::btn_minimize_clicked()
{
    window()->showMinimized();
}

void Titlebar::btn_maximize_clicked()
{
    QWidget* w = window();
    if (w->isMaximized())
        w->showNormal();
    else
        w->showMaximized();
    traySettings->setValue(QStringLiteral("fullscreen"), w->isMaximized());
}

void Titlebar::mousePressEvent(QMouseEvent* event)
{
    pressPos = event->position().toPoint();
}

void Titlebar::mouseReleaseEvent(QMouseEvent*)
{
    pressPos = QPoint(-1, -1);
    if (mapToGlobal(pos()).y() < 0)
        btn_maximize_clicked();
    traySettings->setValue(QStringLiteral("x"), window()->x());
    traySettings->setValue(QStringLiteral("y"), window()->y());
}

void Titlebar::mouseDoubleClickEvent(QMouseEvent*)
{
    btn_maximize_clicked();
}

void Titlebar::mouseMoveEvent(QMouseEvent* event)
{
    QWidget* w = window();
    const QPointF at = event->position();
    if (w->isMaximized()) {
        // Shift the grab point so that the restored, narrower window stays under the cursor.
        w->showNormal();
        pressPos.setX(static_cast<int>(pressPos.x() - 0.5 * at.x()));
        traySettings->setValue(QStringLiteral("fullscreen"), false);
        return;
    }
    if (pressPos.x() < 0 || pressPos.y() < 0)
        return;
    const int dx = static_cast<int>(at.x() - pressPos.x());
    const int dy = static_cast<int>(at.y() - pressPos.y());
    w->move(w->pos() + QPoint(dx, dy));
}
