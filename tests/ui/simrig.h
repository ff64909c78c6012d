#pragma once

// Also the headers every window test reads the window through.
#include "connectdialog.h"
#include "logview.h"
#include "paths.h"
#include "processes.h"
#include "qloadingbutton.h"
#include "session.h"
#include "tempfiles.h"
#include "treeitem.h"
#include "treewidget.h"
#include "workspace.h"

#include <QAction>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <vector>

using namespace Qt::StringLiterals;
using testsupport::alive;

extern const QString testWorkspace;
extern const QString testIdentity;
extern const QString testPassword;

// One start of a simulated runtime program and the lines it has read on its standard input so far.
struct SimStart {
    qint64 pid = 0;
    QStringList argv;
    QStringList input;
};

QTreeWidgetItem* rowItem(Workspace* ws, const QString& id);
TreeItem* rowOf(Workspace* ws, const QString& id);
bool isConnected(Workspace* ws, const QString& id);
// Selects the robot's row, as a click would, and returns the robot's session.
Session* openRobot(Workspace* ws, const QString& id);
// Types the texts into an empty sign-in form.
void fillForm(Session* s, const QString& workspace = testWorkspace);
// The label texts of the application's modal dialog, joined by "|"; then clicks its button `click`, if given.
QString answerModal(const QString& click = QString());
QString credentialsText();
// Two entries: "acme.oxmerel.cloud" with the test identity and password, the given robots and a vault secret
// "kept-secret"; "globex.oxmerel.cloud" with robots [r1] and a key "extra: kept" that the program does not know.
QString credentialsFile(const QString& acmeRobots);
// A runner that signs in (password prompt, workspaceName, robots r1 "Invoices" and r2 "Reports"), then waits for a
// robot id, reports it connected and goes on with `afterConnected`; an agent that stays up.
QString signInScenario(const QString& afterConnected = u"hang"_s, const QString& workspaceName = u"Acme"_s);

// Test access to the window's records and private helpers (the window declares this class a friend).
class ConnectDialogProbe
{
public:
    Workspace* current() const { return d->currentWorkspace; }
    QList<Workspace*> workspaces() const
    {
        QList<Workspace*> result;
        for (const QString& id : d->workspaceOrder)
            result.append(d->workspacesById.value(id));
        return result;
    }
    QWidget* shownPage() const { return d->shownPage; }
    Workspace* addConnect() { return d->addConnect(); }
    void selectWorkspace(Workspace* ws) { d->handleWSClicked(ws->getId()); }
    // The robot's session with its log page on screen, as when it is connected.
    Session* showLog(const QString& id)
    {
        Session* s = openRobot(d->currentWorkspace, id);
        d->showLogPane(s);
        return s;
    }
    LogView* logView(Session* s) { return d->logPane(s); }
    void logLine(Session* s, const QString& msg, const QString& level = u"info"_s)
    {
        d->receivedLog(s, u"t"_s, level, msg);
    }

protected:
    void mergeListedRobots(Workspace* ws, const QList<RobotInfo*>& robots) { d->mergeListedRobots(ws, robots); }

    ConnectDialog* d = nullptr;
};

// Owns the window under test and runs it against the runtime simulator, first on PATH and recording each start and
// stdin line. Ending the rig quits the window, kills leftover runtimes and removes what the test left on disk.
class SimRig : public ConnectDialogProbe
{
public:
    SimRig();
    ~SimRig();

    // Opens the window and returns its current workspace.
    Workspace* open();
    ConnectDialog* dialog() const { return d; }
    // Writes credentialsFile(acmeRobots), opens the window and signs in to its "acme" entry with one click; returns
    // that workspace once the agent has started and the robots are listed.
    Workspace* signIn(const QString& acmeRobots = u"[]"_s);
    // Merges a listing of robots named "Robot <id>" into the current workspace, opening the window first if needed.
    Workspace* list(const QStringList& ids);
    void useScenario(const QString& text);
    QList<SimStart> runners() const { return starts(u"oxmerel-runner"_s); }
    QList<SimStart> agents() const { return starts(u"oxmerel-agent"_s); }

private:
    QList<SimStart> starts(const QString& program) const;

    QTemporaryDir dir;
    QString recordPath;
    // The window never frees listed robots.
    std::vector<std::unique_ptr<RobotInfo>> listed;
    std::unique_ptr<ConnectDialog> window;
};
