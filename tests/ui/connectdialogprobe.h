#pragma once

#include "connectdialog.h"
#include "session.h"
#include "workspace.h"

#include <QList>

// Test access to the window's records and private helpers (the window declares this class a friend).
class ConnectDialogProbe
{
public:
    explicit ConnectDialogProbe(ConnectDialog* dialog)
        : d(dialog)
    { }

    Workspace* current() const { return d->currentWorkspace; }
    QList<Workspace*> workspaces() const
    {
        QList<Workspace*> result;
        for (const QString& id : d->workspaceOrder)
            result.append(d->workspacesById.value(id));
        return result;
    }
    bool messageOpen() const { return d->messageOpen; }
    QWidget* shownPage() const { return d->shownPage; }

    Workspace* addConnect() { return d->addConnect(); }
    void selectWorkspace(Workspace* ws) { d->handleWSClicked(ws->getId()); }
    void listRobots(Session* s, const QList<RobotInfo*>& robots) { d->robotsListed(s, robots); }
    void mergeListedRobots(Workspace* ws, const QList<RobotInfo*>& robots) { d->mergeListedRobots(ws, robots); }
    Session* createSession(Workspace* ws, RobotInfo* robot, const QModelIndex& index)
    {
        return d->createSession(ws, robot, index);
    }
    void receivedLog(Session* s, const QString& time, const QString& level, const QString& msg)
    {
        d->receivedLog(s, time, level, msg);
    }
    void showLogPage(Session* s) { d->showPageContent(s, s->logPage); }
    void exit() { d->exit(); }

private:
    ConnectDialog* d;
};
