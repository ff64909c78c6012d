#pragma once

#include <QDialog>
#include <QString>
#include <QSystemTrayIcon>

class ConnectDialog;
class QAction;
class QComboBox;
class QMenu;
class QSettings;
class StatusDialog;

// The program's root object: a dialog that is never shown, owning the tray icon and its menu, the main window and the
// status dialog, and switching the start at log-on.
class Tray : public QDialog
{
    Q_OBJECT

public:
    Tray();
    ~Tray() override;

public slots:
    void setIcon(int index);
    void iconActivated(QSystemTrayIcon::ActivationReason reason);
    void showMessage(QString title, QString Content);
    void quit();
    void getLogs();
    void open() override;
    void setAutoStart();
    void unsetAutoStart();
    bool checkAutoStart();
    void connected(QString workspace);
    void minimizedToTray();

private:
    QAction* quitAction;
    QAction* autoStartAction;
    QAction* noAutoStartAction;
    QAction* openAction;
    QAction* getLogsAction;
    QComboBox* iconComboBox;
    QSystemTrayIcon* trayIcon;
    QMenu* trayIconMenu;
    // The registry's Run key on Windows; the other desktops keep their auto-start entry elsewhere and leave it null.
    QSettings* runSettings;
    ConnectDialog* connectDialog;
    StatusDialog* statusDialog = nullptr;
    bool quitting = false;
};
