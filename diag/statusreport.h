#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>

class QTextStream;

// The status command: what the files say (signed-in workspaces, remembered and locked robots) and, when the program
// runs, what its status socket says about each robot's live state and unread lines.
class StatusReport
{
public:
    enum ExitCode { Running = 0, Unreadable = 2, NotRunning = 3 };

    // Gathers everything; the socket is given a few seconds at most.
    StatusReport();
    void print(QTextStream& out, bool json) const;
    // Unreadable files are reported to err.
    int exitCode(QTextStream& err) const;

private:
    void readCredentials();
    void readLocks();
    void askProgram();
    QJsonObject toJson() const;

    QJsonArray workspaces; // host, identity, rememberedRobots
    QStringList lockedRobots;
    bool running = false;
    QJsonArray live; // the program's answer
    QStringList unreadable;
    QString programProblem;
};
