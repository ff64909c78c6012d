#include "tray.h"

#include "autostart.h"
#include "connectdialog.h"
#include "quitsignals.h"
#include "statusdialog.h"
#include "statusserver.h"

#include <QAction>
#include <QComboBox>
#include <QCoreApplication>
#include <QIcon>
#include <QMenu>
#include <QSettings>

Tray::Tray()
    : QDialog(nullptr)
{
    iconComboBox = new QComboBox;
    iconComboBox->addItem(QIcon(QStringLiteral(":/images/oxmerel.png")), tr("Oxmerel"));

    getLogsAction = new QAction(tr("&Get Logs"), this);
    connect(getLogsAction, &QAction::triggered, this, &Tray::getLogs);
    autoStartAction = new QAction(tr("&Auto-Start"), this);
    autoStartAction->setCheckable(true);
    connect(autoStartAction, &QAction::triggered, this, &Tray::setAutoStart);
    noAutoStartAction = new QAction(tr("&Do not Auto-Start"), this);
    noAutoStartAction->setCheckable(true);
    connect(noAutoStartAction, &QAction::triggered, this, &Tray::unsetAutoStart);
    openAction = new QAction(tr("&Open"), this);
    connect(openAction, &QAction::triggered, this, &Tray::open);
    quitAction = new QAction(tr("&Quit"), this);
    connect(quitAction, &QAction::triggered, this, &Tray::quit);

    trayIconMenu = new QMenu(this);
    QMenu* settingsMenu = trayIconMenu->addMenu(QStringLiteral("Settings"));
    settingsMenu->addAction(autoStartAction);
    settingsMenu->addAction(noAutoStartAction);
    trayIconMenu->addSeparator();
    trayIconMenu->addAction(getLogsAction);
    trayIconMenu->addAction(openAction);
    trayIconMenu->addAction(quitAction);

    trayIcon = new QSystemTrayIcon(this);
    trayIcon->setContextMenu(trayIconMenu);
    connect(trayIcon, &QSystemTrayIcon::activated, this, &Tray::iconActivated);

    setIcon(0);
    trayIcon->setVisible(true);

    runSettings = autostart::openRunSettings();
    if (checkAutoStart()) {
        autoStartAction->setChecked(true);
    } else {
        noAutoStartAction->setChecked(true);
    }

    // Before the window, whose automatic start may already launch robots.
    connect(new QuitSignals(this), &QuitSignals::quitRequested, this, &Tray::quit);
    connectDialog = new ConnectDialog(this);
    (new StatusServer(connectDialog->workspaces(), connectDialog))->listen();
    connect(connectDialog, SIGNAL(connected(QString)), this, SLOT(connected(QString)));
}

Tray::~Tray()
{
    delete statusDialog;
    delete connectDialog;
    delete runSettings;
    delete iconComboBox;
}

void Tray::setIcon(int index)
{
    const QIcon icon = iconComboBox->itemIcon(index);
    trayIcon->setIcon(icon);
    setWindowIcon(icon);
    trayIcon->setToolTip(iconComboBox->itemText(index));
}

void Tray::iconActivated(QSystemTrayIcon::ActivationReason reason)
{
    if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick) {
        connectDialog->show();
    }
}

void Tray::showMessage(QString title, QString Content)
{
    trayIcon->showMessage(title, Content, QSystemTrayIcon::Information, 3000);
}

void Tray::quit()
{
    // The menu and the end of the session may both ask; the robots are stopped once.
    if (quitting)
        return;
    quitting = true;
    connectDialog->exit();
}

void Tray::getLogs()
{
    // Nothing shows the status dialog, so it is built only when its logs folder is first asked for.
    if (!statusDialog)
        statusDialog = new StatusDialog(nullptr);
    statusDialog->handleOpenLogs();
}

void Tray::open()
{
    connectDialog->show();
}

void Tray::setAutoStart()
{
    autoStartAction->setChecked(true);
    noAutoStartAction->setChecked(false);
    autostart::enable(runSettings);
}

void Tray::unsetAutoStart()
{
    autoStartAction->setChecked(false);
    noAutoStartAction->setChecked(true);
    autostart::disable(runSettings);
}

bool Tray::checkAutoStart()
{
    return autostart::isEnabled(runSettings);
}

void Tray::connected(QString workspace)
{
    showMessage(tr("Oxmerel"), tr("Robot connected to ") + workspace);
}

void Tray::minimizedToTray() { }
