// The window's side of the credentials file: loading it at start, and the removals and sign-outs that rewrite it.
#include "connectdialog.h"
#include "ui_connectdialog.h"

#include "credential.h"
#include "credentialsstore.h"
#include "prochandler.h"
#include "robotinfo.h"
#include "session.h"
#include "treeitem.h"
#include "treewidget.h"
#include "workspace.h"
#include "yamlconvert.h"

#include <QAction>
#include <QByteArray>
#include <QLineEdit>
#include <QVBoxLayout>

#include <yaml-cpp/yaml.h>

#include <optional>

namespace {

// Passwords are kept as standard base64 of their UTF-8 bytes.
QString decodePassword(const QString& stored)
{
    return QString::fromUtf8(QByteArray::fromBase64(QByteArray::fromStdString(stored.toStdString())));
}

void fillSignInForm(Session* s, const QString& workspace, const QString& identity, const QString& password)
{
    s->workspaceEdit->setText(workspace);
    s->identityEdit->setText(identity);
    s->passwordEdit->setText(password);
}

} // namespace

void ConnectDialog::loadWorkspaces(bool autoConnect)
{
    // Errors of the YAML library are deliberately not caught here: a file the runtime cannot have written ends the
    // program rather than being half-read.
    const YAML::Node root = loadCredentials();
    const YAML::Node entries = root["credentials"];
    bool anyUsed = false;
    for (const auto& pair : entries) {
        const YAML::Node entry = pair.second;
        if (!entry["identity"].IsDefined() || !entry["password"].IsDefined()) {
            continue;
        }
        Workspace* ws = addConnect(-1);
        Session* s = ws->sessions.value(QString());
        fillSignInForm(s, pair.first.as<QString>(), entry["identity"].as<QString>(),
            decodePassword(entry["password"].as<QString>()));
        ws->robots = entry["robots"].as<QList<QString>>();
        if (autoConnect) {
            handleConnect(s, QString());
        }
        anyUsed = true;
    }
    if (!anyUsed) {
        addConnect(-1);
    }
}

void ConnectDialog::removeWorkspace(Workspace* ws, bool removeCredentials)
{
    workspacesById.remove(ws->id);
    workspaceOrder.removeAll(ws->id);

    Session* signIn = ws->sessions.value(QString());
    if (removeCredentials && signIn) {
        removeCredentialsEntry(signIn->workspaceEdit->text());
    }

    currentWorkspace = nullptr;
    if (!workspaceOrder.isEmpty()) {
        handleWSClicked(workspaceOrder.first());
    }

    ws->page->hide();
    ui->scroll_v_layout->removeWidget(ws->page);
    ws->page->setParent(nullptr);
    // Deferred: the removal may run from inside the workspace button's own menu.
    ws->page->deleteLater();
    ui->ws_v_layout->removeWidget(ws->tree);
    ws->tree->hide();
    ws->tree->deleteLater();
    if (shownTree == ws->tree) {
        shownTree = nullptr;
    }
    // The runtime processes are left running, but nothing of theirs may reach the records deleted below, including
    // robots of this workspace that were disconnected while their page stayed on screen.
    for (Session* s : std::as_const(ws->sessions)) {
        detachSession(s);
    }
    for (auto it = droppedSessions.begin(); it != droppedSessions.end();) {
        if ((*it)->workspace == ws) {
            detachSession(*it);
            delete *it;
            it = droppedSessions.erase(it);
        } else {
            ++it;
        }
    }
    delete ws;
}

void ConnectDialog::removeRobotFromCredentials(Session* s)
{
    if (!s || !s->robot) {
        return;
    }
    Workspace* ws = s->workspace;
    ws->robots.removeOne(s->robot->id);
    storeCredentialsRobots(s->workspaceEdit->text(), ws->robots);
}

void ConnectDialog::signOutWorkspace(Workspace* ws)
{
    updateHeaderActions(ws, false);
    const QList<Session*> sessions = ws->sessions.values();
    for (Session* s : sessions) {
        for (ProcHandler* handler : { s->runner, s->agent }) {
            if (handler) {
                handler->stop();
            }
        }
        if (s->robot && !s->robot->id.isEmpty() && s->connected) {
            if (TreeItem* row = rowWidget(s)) {
                row->disconnectAct->activate(QAction::Trigger);
            } else {
                doDisconnect(s, false);
            }
        }
    }

    const int position = ui->scroll_v_layout->indexOf(ws->page);
    // A copy: the workspace takes its credentials along.
    std::optional<Credential> previous;
    if (const Credential* current = ws->getCredentials()) {
        previous = *current;
    }
    if (previous) {
        workspacesByName.remove(previous->workspace);
    }
    removeWorkspace(ws, false);

    Workspace* fresh = addConnect(position);
    if (previous) {
        fillSignInForm(fresh->sessions.value(QString()), previous->workspace, previous->identity, previous->password);
    }
}
