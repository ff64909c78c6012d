// Connection control of one robot: connect from its row, the runtime's connected and exit reports, disconnect,
// lock mode kept as a marker file per robot, and the robot options of its page.
#include "connectdialog.h"

#include "credential.h"
#include "paths.h"
#include "prochandler.h"
#include "robotinfo.h"
#include "session.h"
#include "treeitem.h"
#include "treewidget.h"
#include "workspace.h"

#include <QAction>
#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QHBoxLayout>
#include <QItemSelectionModel>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QVBoxLayout>

namespace {

const QString optionStyle
    = QStringLiteral("QCheckBox{color: #c0cdda; font-size: 1em; spacing: 6px;} QToolTip{background: "
                     "#2f3136; color: #ecf2f5; padding: 2px; border: 1px solid #202225;}");

QString lockFilePath(const QString& robotId)
{
    return QStringLiteral("%1/%2.lock").arg(robotLocksDir(), robotId);
}

QCheckBox* makeOption(const QFont& font, const QString& text, const QString& toolTip, bool checked, bool* flag)
{
    auto* box = new QCheckBox(text);
    box->setFont(font);
    box->setToolTip(toolTip);
    box->setStyleSheet(optionStyle);
    box->setChecked(checked);
    // Read only when the runtime's command line is built, so a change counts from the robot's next connect.
    QObject::connect(box, &QCheckBox::toggled, box, [flag](bool on) { *flag = on; });
    return box;
}

} // namespace

bool ConnectDialog::isRobotLocked(const QString& robotId)
{
    return QFile::exists(robotLocksDir() + QStringLiteral("/%1.lock").arg(robotId));
}

void ConnectDialog::buildRobotPage(Session* s)
{
    s->offlineWidget = new QWidget;
    s->offlineWidget->setStyleSheet(QStringLiteral("background-color: #36393f;"));
    auto* column = new QVBoxLayout(s->offlineWidget);
    column->addStretch();

    auto* image = new QLabel;
    image->setPixmap(QPixmap(QStringLiteral(":/images/robot_offline.png"))
                         .scaled(72, 121, Qt::KeepAspectRatio, Qt::SmoothTransformation));
    image->setAlignment(Qt::AlignCenter);
    image->setStyleSheet(QStringLiteral("margin: 0; margin-bottom: 36px;"));
    column->addWidget(image);

    // The sign-in session's page says that nothing is connected yet; a robot's page says that it is offline.
    if (s->robot->id.isEmpty()) {
        auto* empty = new QLabel(tr("There are no robots connected."));
        empty->setFont(regularFont);
        empty->setAlignment(Qt::AlignCenter);
        empty->setStyleSheet(QStringLiteral("color: #fff; font-size: 1em; margin-bottom: 12px;"));
        column->addWidget(empty);
    } else {
        auto* offline = new QLabel(tr("This robot is currently offline.\nPlease connect it or select another one."));
        offline->setFont(regularFont);
        offline->setWordWrap(true);
        offline->setAlignment(Qt::AlignCenter);
        offline->setStyleSheet(QStringLiteral("color: #fff; font-size: 1em; margin-bottom: 12px;"));
        column->addWidget(offline);
    }
    column->addStretch();
    s->page->layout()->addWidget(s->offlineWidget);

    s->sendCrashDumpBox = makeOption(regularFont, tr("Send crash dump report"),
        tr("Help us resolve issues when robot crashes"), s->sendCrashDump, &s->sendCrashDump);
    s->noDesignerAttachBox = makeOption(regularFont, tr("Do not attach to designer"),
        tr("You won't see the debug messages and the node colorings in the Flow "
           "Designer but robot speed will not be throttled"),
        s->noDesignerAttach, &s->noDesignerAttach);
    auto* options = new QWidget;
    options->setStyleSheet(QStringLiteral("background-color: #2f3136;"));
    auto* row = new QHBoxLayout(options);
    row->setContentsMargins(12, 6, 12, 6);
    row->setSpacing(18);
    row->addWidget(s->sendCrashDumpBox);
    row->addWidget(s->noDesignerAttachBox);
    row->addStretch();
    options->setVisible(!s->robot->id.isEmpty());
    s->page->layout()->addWidget(options);
}

void ConnectDialog::doConnectRobot(Session* s, QString id, QModelIndex index)
{
    if (!s)
        return;
    Workspace* ws = s->workspace;
    ws->selectedItem = ws->tree->itemFromIndex(index);
    ws->tree->selectionModel()->select(index, QItemSelectionModel::ClearAndSelect);
    ws->currentRobotId = id;

    Session* robotSession = ws->sessions.value(id);
    if (!robotSession) {
        auto* row = qobject_cast<TreeItem*>(ws->tree->rowWidget(ws->selectedItem));
        robotSession = createSession(ws, new RobotInfo(id, row ? row->nameLabel->text() : QString()), index);
    }

    if (const Credential* credentials = ws->getCredentials()) {
        robotSession->workspaceEdit->setText(credentials->workspace);
        robotSession->identityEdit->setText(credentials->identity);
        robotSession->passwordEdit->setText(credentials->password);
    }

    if (!robotSession->connected) {
        handleConnect(robotSession, id);
        if (robotSession->runner) {
            robotSession->runner->setRobotId(id);
            robotSession->agent->setRobotId(id);
        }
        ws->robots.append(id);
    }

    showLogPane(robotSession);
    if (ws == currentWorkspace)
        showSessionPage(ws, robotSession);
}

void ConnectDialog::robotConnected(Session* s, RobotInfo* /*robot: always null, the runtime names no robot here*/)
{
    TreeItem* row = rowWidget(s);
    if (row)
        row->setConnected(true);
    s->connected = true;
    if (row)
        row->setLocked(isRobotLocked(s->robot->id));
}

void ConnectDialog::robotExited(Session* s, int /*exitCode*/, QProcess::ExitStatus /*exitStatus*/)
{
    if (!s || !s->connected)
        return;
    // Through the row's action, so that its menu goes back to the idle state as well.
    if (TreeItem* row = rowWidget(s))
        row->disconnectAct->activate(QAction::Trigger);
    else
        doDisconnect(s, false);
}

void ConnectDialog::doDisconnect(Session* s, bool exiting)
{
    if (!s)
        return;
    const bool wasConnected = s->connected;
    s->connected = false;
    if (s->runner)
        s->runner->stop();
    // The connection has ended; its page may stay on screen a while longer, its handlers need not.
    releaseHandlers(s);

    Workspace* ws = s->workspace;
    if (QTreeWidgetItem* item = ws->tree->itemFromIndex(s->index))
        item->setForeground(0, QBrush(QColor(0xFF0000)));
    ws->sessions.remove(s->robot->id);

    if (TreeItem* row = rowWidget(s)) {
        row->setConnected(false);
        row->setLocked(isRobotLocked(s->robot->id));
    }
    // Quitting keeps the remembered robots, so they reconnect at the next automatic start.
    if (!exiting && s->robot && wasConnected)
        removeRobotFromCredentials(s);

    droppedSessions.append(s);
    releaseDroppedPages();
}

void ConnectDialog::releaseDroppedPages()
{
    // A dropped session can no longer be reached through its workspace; once its page is off screen, the session
    // goes with its page.
    for (auto it = droppedSessions.begin(); it != droppedSessions.end();) {
        Session* s = *it;
        if (s->page && s->page == shownPage) {
            ++it;
            continue;
        }
        detachSession(s);
        delete s;
        it = droppedSessions.erase(it);
    }
}

void ConnectDialog::detachSession(Session* s)
{
    releaseHandlers(s);
    if (s->page) {
        if (shownPage == s->page)
            shownPage = nullptr;
        s->page->hide();
        s->page->deleteLater();
    }
}

void ConnectDialog::releaseHandlers(Session* s)
{
    // A handler whose runtime still runs (a removed workspace leaves it running) lives on until the runtime ends, but
    // nothing of it may reach the session any more.
    for (ProcHandler* handler : { s->runner, s->agent }) {
        if (handler) {
            handler->disconnect(this);
            handler->deleteWhenEnded();
        }
    }
    s->runner = nullptr;
    s->agent = nullptr;
}

void ConnectDialog::doLockRobot(Session* s, bool locked)
{
    if (!s || !s->robot)
        return;
    QDir().mkpath(robotLocksDir());
    const QString path = lockFilePath(s->robot->id);
    if (locked) {
        QFile marker(path);
        marker.open(QIODevice::WriteOnly | QIODevice::Truncate);
    } else {
        QFile::remove(path);
    }

    if (!s->connected) {
        if (TreeItem* row = rowWidget(s))
            row->setLocked(locked);
        return;
    }
    const QString text = locked
        ? tr("The robot has to be restarted in order to enable lock mode. Do you want to restart now?")
        : tr("The robot has to be restarted in order to disable lock mode. Do you want to restart now?");
    // The answer comes later: look the row up again then rather than keeping pointers that may have gone.
    const QString wsId = s->workspace->getId();
    const QString robotId = s->robot->id;
    showConfirmDialog(1, tr("Lock Mode"), text, [this, wsId, robotId](bool restart) {
        Workspace* ws = workspacesById.value(wsId);
        QTreeWidgetItem* item = ws ? robotRow(ws, robotId) : nullptr;
        auto* row = item ? qobject_cast<TreeItem*>(ws->tree->rowWidget(item)) : nullptr;
        if (!restart || !row)
            return;
        row->disconnectAct->activate(QAction::Trigger);
        row->connectAct->activate(QAction::Trigger);
    });
}
