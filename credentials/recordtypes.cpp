#include "recordtypes.h"

#include "robotinfo.h"
#include "session.h"
#include "workspace.h"

#include <QMetaType>

void registerRecordMetaTypes()
{
    qRegisterMetaType<Workspace*>("Workspace*");
    qRegisterMetaType<Session*>("Session*");
    qRegisterMetaType<RobotInfo*>("RobotInfo*");
    qRegisterMetaType<QList<RobotInfo*>>("QList<RobotInfo*>");
}
