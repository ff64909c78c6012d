#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>

struct RobotInfo;

// One line of a runtime's standard output, parsed. Lines are JSON objects in the local 8-bit encoding; anything that
// is not a non-empty object (noise, arrays, half-lines glued together) is marked empty and dropped by the reader.
struct RuntimeMessage {
    enum class Status {
        Other,
        Connected,
        Connecting,
        Started,
        Stopped,
        AlreadyConnected,
        WaitingInput,
        LoggedIn,
        WaitingSelection,
    };

    // Parses one line (its trailing newline may be included). A document that is not an object leaves a debug line.
    static RuntimeMessage parse(const QByteArray& line);

    // Prompts, listings and the sign-in report are not log records; everything else is, with or without a status.
    bool isLogRecord() const;
    // "workspace" of a logged_in report.
    QString workspace() const;
    // A new RobotInfo per element of "items", in order (repeated ids included); empty when "items" is not an array.
    QList<RobotInfo*> listedRobots() const;

    bool empty = true;
    Status status = Status::Other;
    QString level;
    QString msg;
    QString time;
    // Kept for logged_in and waiting_selection only.
    QJsonObject object;
};
