#pragma once

#include <QList>
#include <QMetaType>
#include <QString>

// One robot as the runtime lists it. A listing's records are its handler's; a session owns its own.
struct RobotInfo {
    RobotInfo(const QString& robotId, const QString& robotName)
        : id(robotId)
        , name(robotName)
    { }

    QString id;
    QString name;
};

Q_DECLARE_METATYPE(RobotInfo*)
Q_DECLARE_METATYPE(QList<RobotInfo*>)
