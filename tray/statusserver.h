#pragma once

#include <QByteArray>
#include <QHash>
#include <QLocalServer>
#include <QMap>
#include <QObject>
#include <QString>

class QLocalSocket;
struct Workspace;

// Answers the local status socket of the running program: one read-only request (StatusRequest) gets the workspaces
// and their robots' live state as one line of JSON. The socket is per user and reachable by its owner only. Each
// connection carries one request; anything else gets an error line, and every connection is closed after its answer
// or after a short time, so that no client can hold the window's thread or its memory.
class StatusServer : public QObject
{
    Q_OBJECT

public:
    // Reads the window's workspaces, by reference, whenever a request arrives.
    StatusServer(const QMap<QString, Workspace*>& workspaces, QObject* parent);

    // Starts listening under statusSocketName(); answers whether it does.
    bool listen();
    // The answer to a status request.
    QByteArray statusAnswer() const;

private:
    void accept();
    void readRequest(QLocalSocket* socket);
    void finish(QLocalSocket* socket, const QByteArray& answer);

    const QMap<QString, Workspace*>& workspaces;
    QLocalServer server;
    QHash<QLocalSocket*, QByteArray> received;
};
