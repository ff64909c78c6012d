#pragma once

#include "robotinfo.h"

#include <QDialog>
#include <QFont>
#include <QList>
#include <QMap>
#include <QModelIndex>
#include <QProcess>
#include <QString>
#include <QStringList>

#include <functional>

class LogView;
class QLineEdit;
class QTreeWidgetItem;
class QVBoxLayout;
class QWidget;
class TreeItem;
class TreeWidget;
struct Session;
struct Workspace;

namespace Ui {
class ConnectDialog;
}

// The main window: workspaces in a side column, the selected workspace's robots tree, and on the right the sign-in
// form or the log page of the selected robot. Split by concern over several source files:
// connectdialog.cpp (construction, exit, message dialogs), connectdialog_tree.cpp (workspaces and rows),
// connectdialog_signin.cpp (session pages and sign-in), connectdialog_robots.cpp (connection control and lock mode),
// connectdialog_logs.cpp (log view), connectdialog_credentials.cpp (loading and rewriting the credentials file).
class ConnectDialog : public QDialog
{
    Q_OBJECT

public:
    // tray receives minimizeToTray() in its minimizedToTray() slot; the tray passes itself (this library cannot see its
    // class, which depends on this window), so the compiler makes the conversion where the tray's type is complete.
    explicit ConnectDialog(QObject* tray);
    ~ConnectDialog() override;

    // The workspaces by id, for readers outside the window such as the status socket.
    const QMap<QString, Workspace*>& workspaces() const { return workspacesById; }

    void showMessageDialog(int kind, const QString& title, const QString& text);
    void showConfirmDialog(
        int kind, const QString& title, const QString& text, const std::function<void(bool)>& onAnswer);

signals:
    void connected(QString workspace);
    void minimizeToTray();

public slots:
    void exit();
    void doHide();

private slots:
    void handleConnect(Session* session, QString robotId);
    Workspace* addConnect(int insertIndex = -1);
    void handleWSClicked(QString workspace);
    void receivedLog(Session* s, QString time, QString level, QString msg);
    void authFailed(Session* session);
    void robotSelected(Session* session, RobotInfo* robot);
    void robotsListed(Session* session, QList<RobotInfo*> robots);
    void robotSelectionChanged(Workspace* ws);
    void robotConnected(Session* s, RobotInfo* robot);
    // The row handlers below take the robot's own session, or null when it has none (nothing happens then).
    void doOpenLogs(Session* s);
    void doClearLogs(Session* s);
    void doLockRobot(Session* s, bool locked);
    void doDisconnect(Session* s, bool exiting);
    // `s` may be any session of the row's workspace (the sign-in session when the robot has none yet).
    void doConnectRobot(Session* s, QString id, QModelIndex index);
    void robotExited(Session* s, int exitCode, QProcess::ExitStatus exitStatus);

private:
    // connectdialog_credentials.cpp
    void loadWorkspaces(bool autoConnect);
    void removeWorkspace(Workspace* ws, bool removeCredentials);
    void removeRobotFromCredentials(Session* s);
    void signOutWorkspace(Workspace* ws);

    // connectdialog_signin.cpp
    // Also builds s->page and places it, hidden, in the right-hand area beside the form's placeholder page, so
    // showing a session only swaps which page is visible. The session takes `robot` over.
    Session* createSession(Workspace* ws, RobotInfo* robot, const QModelIndex& index);
    void buildSignInPane(Session* s);
    void validateField(QLineEdit* field);
    void submitFromKeyboard();
    Session* currentSession() const;
    void startRuntime(Session* s);
    void stopBusy(Session* s);
    void showPageContent(Session* s, QWidget* content);

    // connectdialog_tree.cpp
    void connectAll(Workspace* ws);
    void disconnectAll(Workspace* ws);
    void confirmRemoveWorkspace(Workspace* ws);
    void mergeListedRobots(Workspace* ws, const QList<RobotInfo*>& robots);
    void addRobotRow(Workspace* ws, RobotInfo* robot);
    void updateHeaderActions(Workspace* ws, bool signedIn);
    void showSessionPage(Workspace* ws, Session* s);
    QTreeWidgetItem* robotRow(Workspace* ws, const QString& robotId) const;
    TreeItem* rowWidget(Session* s) const;
    Session* sessionOf(Workspace* ws, const QString& robotId) const;

    // connectdialog_robots.cpp
    void buildRobotPage(Session* s);
    static bool isRobotLocked(const QString& robotId);
    void releaseDroppedPages();
    void detachSession(Session* s);
    void releaseHandlers(Session* s);

    // connectdialog_logs.cpp
    // The log pane is built when it first comes on screen (or something needs its view); until then lines wait in
    // the session, bounded as the view is.
    void showLogPane(Session* s);
    void revealLogPane(Session* s);
    LogView* logPane(Session* s);
    void searchLog(Session* s, bool backward);
    static void openLogFolder(const QString& workspaceName, const QString& robotName);

    friend class ConnectDialogProbe; // tests

    Ui::ConnectDialog* ui;
    QFont regularFont;
    QFont semiBoldFont;

    Workspace* currentWorkspace = nullptr;
    QMap<QString, Workspace*> workspacesById;
    QMap<QString, Workspace*> workspacesByName;
    QStringList workspaceOrder;

    // The tree and right-hand page currently shown; they start as the form's placeholders.
    QWidget* shownTree = nullptr;
    QWidget* shownPage = nullptr;

    bool messageOpen = false;
    // Sessions dropped by a disconnect; their pages go once they are off screen.
    QList<Session*> droppedSessions;
    // Raised by the runtime's own warnings (already connected robot), independent of messageOpen.
    bool warningOpen = false;
};
