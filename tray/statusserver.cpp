#include "statusserver.h"

#include "credential.h"
#include "paths.h"
#include "robotinfo.h"
#include "session.h"
#include "statusrequest.h"
#include "treeitem.h"
#include "treewidget.h"
#include "workspace.h"

#include <QAction>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QLocalSocket>
#include <QTimer>
#include <QTreeWidgetItem>

#include <algorithm>

namespace {

// A connection still open after this time is dropped.
constexpr int requestTimeoutMs = 2000;
// More clients at once than a script would ever open are turned away at once.
constexpr int maxConnections = 16;

QString workspaceHost(const Workspace* ws)
{
    if (ws->credentials) {
        return ws->credentials->workspace;
    }
    const Session* signIn = ws->sessions.value(QString());
    return signIn && signIn->workspaceEdit ? signIn->workspaceEdit->text() : QString();
}

QString workspaceIdentity(const Workspace* ws)
{
    if (ws->credentials) {
        return ws->credentials->identity;
    }
    const Session* signIn = ws->sessions.value(QString());
    return signIn && signIn->identityEdit ? signIn->identityEdit->text() : QString();
}

QJsonArray robotsOf(const Workspace* ws)
{
    QJsonArray robots;
    const QTreeWidgetItem* root = ws->tree ? ws->tree->topLevelItem(0) : nullptr;
    for (int i = 0; root && i < root->childCount(); ++i) {
        QTreeWidgetItem* item = root->child(i);
        const QString id = item->data(0, Qt::UserRole).toString();
        // The placeholder row has no id; a robot no longer listed keeps a hidden row.
        if (id.isEmpty() || item->isHidden()) {
            continue;
        }
        const auto* row = qobject_cast<TreeItem*>(ws->tree->rowWidget(item));
        const Session* s = ws->sessions.value(id);
        robots.append(QJsonObject {
            { QStringLiteral("id"), id },
            { QStringLiteral("name"), row ? row->nameLabel->text() : QString() },
            { QStringLiteral("state"), s && s->connected ? QStringLiteral("connected") : QStringLiteral("idle") },
            { QStringLiteral("locked"), QFile::exists(robotLocksDir() + QStringLiteral("/%1.lock").arg(id)) },
            { QStringLiteral("unread"), row ? row->unreadCount() : 0 },
        });
    }
    return robots;
}

} // namespace

StatusServer::StatusServer(const QMap<QString, Workspace*>& workspacesById, QObject* parent)
    : QObject(parent)
    , workspaces(workspacesById)
{
    server.setSocketOptions(QLocalServer::UserAccessOption);
    server.setMaxPendingConnections(maxConnections);
    connect(&server, &QLocalServer::newConnection, this, &StatusServer::accept);
}

bool StatusServer::listen()
{
    // The single-instance guard is already ours, so a socket left by a crashed run is stale.
    QLocalServer::removeServer(statusSocketName());
    return server.listen(statusSocketName());
}

QByteArray StatusServer::statusAnswer() const
{
    QList<const Workspace*> ordered(workspaces.cbegin(), workspaces.cend());
    std::sort(ordered.begin(), ordered.end(),
        [](const Workspace* a, const Workspace* b) { return workspaceHost(a) < workspaceHost(b); });
    QJsonArray list;
    for (const Workspace* ws : std::as_const(ordered)) {
        list.append(QJsonObject {
            { QStringLiteral("host"), workspaceHost(ws) },
            { QStringLiteral("identity"), workspaceIdentity(ws) },
            { QStringLiteral("name"), ws->name },
            { QStringLiteral("signedIn"), ws->signOutAction && ws->signOutAction->isEnabled() },
            { QStringLiteral("robots"), robotsOf(ws) },
        });
    }
    return QJsonDocument(QJsonObject { { QStringLiteral("workspaces"), list } }).toJson(QJsonDocument::Compact) + '\n';
}

void StatusServer::accept()
{
    while (QLocalSocket* socket = server.nextPendingConnection()) {
        if (received.size() >= maxConnections) {
            socket->abort();
            socket->deleteLater();
            continue;
        }
        received.insert(socket, QByteArray());
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] { readRequest(socket); });
        connect(socket, &QLocalSocket::disconnected, this, [this, socket] {
            received.remove(socket);
            socket->deleteLater();
        });
        // Whatever state it is in by then, even still sending its answer to a client that does not read.
        QTimer::singleShot(requestTimeoutMs, socket, [this, socket] {
            received.remove(socket);
            socket->abort();
        });
        // Bytes may have arrived with the connection.
        readRequest(socket);
    }
}

void StatusServer::readRequest(QLocalSocket* socket)
{
    auto buffered = received.find(socket);
    if (buffered == received.end()) {
        return;
    }
    buffered->append(socket->read(StatusRequest::maxSize + 1 - buffered->size()));
    const StatusRequest::Parsed request = StatusRequest::parse(*buffered);
    if (request.kind == StatusRequest::Kind::Status) {
        finish(socket, statusAnswer());
    } else if (request.kind == StatusRequest::Kind::Error) {
        finish(socket,
            QJsonDocument(QJsonObject { { QStringLiteral("error"), QString::fromLatin1(request.error) } })
                    .toJson(QJsonDocument::Compact)
                + '\n');
    }
}

void StatusServer::finish(QLocalSocket* socket, const QByteArray& answer)
{
    if (!received.contains(socket)) {
        return;
    }
    // No more reading: what the client sends after its request is dropped with the connection.
    received.remove(socket);
    disconnect(socket, &QLocalSocket::readyRead, this, nullptr);
    if (!answer.isEmpty()) {
        socket->write(answer);
    }
    socket->disconnectFromServer();
    if (socket->state() == QLocalSocket::UnconnectedState) {
        socket->deleteLater();
    }
}
