#include "workspace.h"

#include "session.h"

#include <QHBoxLayout>
#include <QUuid>

Workspace::Workspace()
    : name(QStringLiteral("Workspace"))
    , id(QUuid::createUuid().toString())
{ }

Workspace::~Workspace()
{
    delete layout;
    qDeleteAll(sessions);
}
